" KSL: blocks of parameters, and action lines.
if exists('b:current_syntax')
  finish
endif
syntax case match

" What is none of the others; those defined later win.
syntax match kslFault /^\s*[^#[:space:]].*$/ contains=kslComment
syntax match kslComment /#.*\%(\\\n.*\)*/ contains=@Spell
syntax match kslContinuation /\\$/ contained
syntax region kslString start=/"/ end=/"/ oneline contained
syntax match kslUnit /\[[^]]*\]/ contained
syntax match kslNumber /\%(\w\|\.\)\@<!\%(0[xX]\x\+\|\%(\d\+\.\?\d*\|\.\d\+\)\%([eE][-+]\?\d\+\)\?\)\%(\w\|\.\)\@!/ contained
syntax match kslPath /\/\u[[:alnum:]_ ]*\%(:[^\/,#\\]*\)\?\%(\/\u[[:alnum:]_ ]*\%(:[^\/,#\\]*\)\?\)*/ contained
syntax match kslFunction /\<\%(a\?\%(sin\|cos\|tan\)\|atan2\|\%(sin\|cos\|tan\)h\|exp\|log\|log10\|sqrt\|abs\|min\|max\|mod\|int\|floor\|ceil\|if\)\ze\s*(/ contained
syntax keyword kslWord On Off true false contained

syntax region kslValue matchgroup=kslAssign start=/=/ skip=/\\$/ end=/$/ contained contains=kslComment,kslContinuation,kslString,kslUnit,kslNumber,kslPath,kslFunction,kslWord keepend
syntax match kslParameter /^\s*[^=:#>&\\[:space:]][^=:#\\]*=\@=/ nextgroup=kslValue
syntax match kslHeader /^\s*\%(&replace\>\s*\)\?[^:=#>&][^:=#]*:[^=#]*\ze\%(#.*\)\?$/ contains=kslReplace,kslType,kslContinuation nextgroup=kslComment
syntax match kslReplace /&replace\>/ contained
syntax match kslType /\%(^\s*\%(&replace\s*\)\?\)\@<=[^:&[:space:]][^:]*:\@=/ contained
syntax match kslEnd /^\s*END\s*\ze\%(#.*\)\?$/ nextgroup=kslComment
syntax region kslAction matchgroup=kslMark start=/^\s*>/ skip=/\\$/ end=/$/ contains=kslVerb,kslArgument,kslComment,kslContinuation,kslString,kslPath keepend
syntax match kslVerb /\%(^\s*>\s*\)\@<=[^[:space:],=#]\+/ contained
syntax match kslArgument /\a\w*\%( \w\+\)*\ze\s*=/ contained

highlight default link kslFault Error
highlight default link kslComment Comment
highlight default link kslContinuation Special
highlight default link kslString String
highlight default link kslUnit Special
highlight default link kslNumber Number
highlight default link kslPath Identifier
highlight default link kslFunction Function
highlight default link kslWord Boolean
highlight default link kslParameter Identifier
highlight default link kslAssign Operator
highlight default link kslHeader Title
highlight default link kslReplace StorageClass
highlight default link kslType Type
highlight default link kslEnd Keyword
highlight default link kslMark PreProc
highlight default link kslVerb PreProc
highlight default link kslArgument Identifier

let b:current_syntax = 'ksl'
