autocmd BufNewFile,BufRead *.l3 setfiletype l3
