autocmd BufRead,BufNewFile *.ksl setfiletype ksl
