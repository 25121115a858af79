" :compiler l3gen, then :make tells the faults of the file that is edited (it is written first).
if exists("current_compiler")
  finish
endif
let current_compiler = "l3gen"
CompilerSet makeprg=l3gen\ --check\ %:S
CompilerSet errorformat=%f:%l:%c:\ error:\ %m
