" KSL: settings of a buffer.
if exists('b:did_ftplugin')
  finish
endif
let b:did_ftplugin = 1
setlocal commentstring=#\ %s comments=:# expandtab shiftwidth=2 softtabstop=2
setlocal suffixesadd=.ksl iskeyword+=-
" gq and = on the whole file: the style of "ksl fmt".
setlocal formatprg=ksl\ fmt\ -
let b:undo_ftplugin = 'setlocal commentstring< comments< expandtab< shiftwidth< softtabstop< suffixesadd< iskeyword< formatprg<'
