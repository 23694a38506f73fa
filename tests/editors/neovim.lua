-- Neovim and "ksl lsp": opens, writes a wrong value, sees what is said of it, completes, renames over two files, formats.
--   KSL_BIN=KSL nvim --headless --clean --cmd 'set rtp^=ROOT/editors/vim' -c 'luafile tests/editors/neovim.lua'
local function run()
  vim.g.ksl_program = vim.env.KSL_BIN
  vim.cmd("filetype plugin indent on | syntax on | runtime! plugin/ksl.lua ftdetect/ksl.vim")

  local folder = vim.fn.tempname()
  vim.fn.mkdir(folder, "p")
  local function put(name, lines)
    vim.fn.writefile(lines, folder .. "/" .. name)
    return folder .. "/" .. name
  end
  local function require_that(good, what)
    if not good then
      error(what .. "\n" .. vim.inspect(vim.diagnostic.get()) .. "\n" .. vim.inspect(vim.api.nvim_buf_get_lines(0, 0, -1, false)))
    end
  end
  local function wait_for(what, ready)
    require_that(vim.wait(10000, ready, 20), what)
  end
  local function ask(method, params)
    local answers = assert(vim.lsp.buf_request_sync(0, method, params, 10000))
    for _, answer in pairs(answers) do
      assert(not answer.err, vim.inspect(answer.err))
      return answer.result
    end
  end
  local function lines()
    return table.concat(vim.api.nvim_buf_get_lines(0, 0, -1, false), "|")
  end

  local cut = put("cut.ksl", { "CUT: Mid", "  Axis = X", "END" })
  local band = put("band.ksl", { "BAND: b", "  Location = Mid", "END" })

  vim.cmd("edit " .. band)
  vim.cmd("edit " .. cut)
  local buffer = vim.api.nvim_get_current_buf()
  require_that(vim.bo.filetype == "ksl", "the file type")
  local function group_at(line, column)
    return vim.fn.synIDattr(vim.fn.synID(line, column, 1), "name")
  end
  require_that(group_at(1, 1) == "kslType" and group_at(2, 3) == "kslParameter" and group_at(3, 1) == "kslEnd", "highlighting")
  vim.fn.setline(3, "    END")
  vim.cmd("normal! 3G==")
  require_that(lines() == "CUT: Mid|  Axis = X|END", "the indentation of END")

  wait_for("the server", function()
    local clients = vim.lsp.buf_get_clients(0)
    return vim.tbl_count(clients) == 1 and clients[next(clients)].initialized
  end)
  vim.fn.setline(2, "  Axis = W")
  wait_for("what is said of a wrong value", function()
    local said = vim.diagnostic.get(buffer)
    return #said == 1 and said[1].lnum == 1 and said[1].col == 9 and said[1].message:find("cannot have value 'W'", 1, true)
  end)
  vim.fn.setline(2, "  Axis = ")
  vim.api.nvim_win_set_cursor(0, { 2, 9 })
  local offered = {}
  for _, item in ipairs(ask("textDocument/completion", vim.lsp.util.make_position_params()).items) do
    table.insert(offered, item.label)
  end
  require_that(table.concat(offered, " ") == "X Y Z", "completion: " .. table.concat(offered, " "))
  vim.fn.setline(2, "  Axis=Y")
  wait_for("silence about what is right", function()
    return #vim.diagnostic.get() == 0
  end)

  vim.api.nvim_win_set_cursor(0, { 1, 6 })
  vim.lsp.buf.rename("Off")
  wait_for("the new name in both files", function()
    local other = vim.fn.bufnr(band)
    return lines() == "CUT: Off|  Axis=Y|END" and vim.api.nvim_buf_get_lines(other, 1, 2, false)[1] == "  Location = Off"
  end)
  vim.lsp.buf.formatting_sync(nil, 10000)
  require_that(lines() == "CUT: Off|  Axis = Y|END", "formatting")
end

local good, failure = xpcall(run, debug.traceback)
print(good and "neovim: all as it should be\n" or failure .. "\n")
vim.cmd(good and "qa!" or "cq!")
