" KSL: what a header opens stands two blanks further right, until its END.
if exists('b:did_indent')
  finish
endif
let b:did_indent = 1
setlocal indentexpr=KslIndent() indentkeys=o,O,0=END
let b:undo_indent = 'setlocal indentexpr< indentkeys<'

if exists('*KslIndent')
  finish
endif

function! KslIndent() abort
  let before = prevnonblank(v:lnum - 1)
  if before == 0
    return 0
  endif
  let indent = indent(before)
  let text = substitute(getline(before), '#.*', '', '')
  if text =~# ':' && text !~# '=' && text !~# '^\s*>'
    let indent += shiftwidth()
  elseif text =~# '\\$' && getline(before - 1) !~# '\\$'
    let indent += shiftwidth()
  elseif text !~# '\\$' && getline(before - 1) =~# '\\$'
    let indent -= shiftwidth()
  endif
  if getline(v:lnum) =~# '^\s*END\>'
    let indent -= shiftwidth()
  endif
  return max([indent, 0])
endfunction
