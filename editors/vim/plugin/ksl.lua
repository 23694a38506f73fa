-- Neovim starts "ksl lsp" for KSL files; one server serves all files of a folder. Vim does not read this file.
--   vim.g.ksl_program   the program, "ksl" without it
--   vim.g.ksl_library   a list of definition libraries in place of the built-in ones
--   vim.g.ksl_lsp       false starts nothing
if vim.g.ksl_lsp == false or vim.g.loaded_ksl_lsp then
  return
end
vim.g.loaded_ksl_lsp = true

local servers = {} -- by folder

-- The folder that holds a project: one with a repository, else that of the file.
local function folder_of(file)
  local marks = vim.fs and vim.fs.find(".git", { upward = true, path = vim.fn.fnamemodify(file, ":p:h") }) or {}
  if #marks > 0 then
    return vim.fn.fnamemodify(marks[1], ":h")
  end
  local git = vim.fn.finddir(".git", vim.fn.escape(vim.fn.fnamemodify(file, ":p:h"), " ,;\\") .. ";")
  return git ~= "" and vim.fn.fnamemodify(git, ":p:h:h") or vim.fn.fnamemodify(file, ":p:h")
end

local function command()
  local words = { vim.g.ksl_program or "ksl", "lsp" }
  for _, library in ipairs(vim.g.ksl_library or {}) do
    vim.list_extend(words, { "--library", library })
  end
  return words
end

local function attach(buffer)
  local file = vim.api.nvim_buf_get_name(buffer)
  local words = command()
  if file == "" or vim.fn.executable(words[1]) == 0 then
    return
  end
  local root = folder_of(file)
  local server = servers[root]
  if not server then
    local uri = vim.uri_from_fname(root)
    server = vim.lsp.start_client({
      name = "ksl",
      cmd = words,
      root_dir = root,
      workspace_folders = { { uri = uri, name = root } },
      on_exit = function()
        servers[root] = nil
      end,
    })
    servers[root] = server
  end
  if server then
    vim.lsp.buf_attach_client(buffer, server)
    vim.bo[buffer].omnifunc = "v:lua.vim.lsp.omnifunc"
    vim.bo[buffer].formatexpr = "v:lua.vim.lsp.formatexpr()"
  end
end

vim.api.nvim_create_autocmd("FileType", {
  pattern = "ksl",
  callback = function(event)
    attach(event.buf)
  end,
})
