" The syntax file over definition files: every word of every file has a group that is no error, and each line of wrong.l3
" has an error. Usage: vim -es -u NONE --cmd 'let g:root=...' -S words.vim; what is wrong goes to g:said.
set nocompatible nomore
let &runtimepath = g:root . '/editors/vim,' . $VIMRUNTIME
filetype on
syntax on
let s:said = []
let s:words = 0

" The columns of words with an error, or without a group.
func s:Errors(number)
  let line = getline(a:number)
  let found = []
  let at = 0
  while 1
    let [word, begin, end] = matchstrpos(line, '\S\+', at)
    if begin < 0 | return found | endif
    let s:words += 1
    let bad = 0
    let c = begin + 1
    while c <= end
      let group = synIDattr(synID(a:number, c, 1), 'name')
      if line[c - 1] !~ '\s' && (group == '' || group == 'l3Error' || group == 'l3Wrong') | let bad = 1 | break | endif
      let c += c == begin + 1 && end > c ? end - c : 1
    endwhile
    if bad | call add(found, begin + 1) | endif
    let at = end
  endwhile
endfunc

for path in glob(g:root . '/src/*.l3', 0, 1) + glob(g:root . '/tests/l3gen/**/*.l3', 0, 1)
  exe 'edit ' . fnameescape(path)
  if &filetype != 'l3' | call add(s:said, path . ': its type is ' . &filetype) | endif
  for number in range(1, line('$'))
    for column in s:Errors(number)
      call add(s:said, path . ':' . number . ':' . column . ': ' . getline(number))
    endfor
  endfor
endfor
exe 'edit ' . g:root . '/tests/editors/wrong.l3'
for number in range(1, line('$'))
  if empty(s:Errors(number)) | call add(s:said, 'no error in: ' . getline(number)) | endif
endfor

" The faults that the checker tells are places that :cnext goes to.
compiler! l3gen
cgetexpr ['src/A.l3:12:5: error: an unknown type ''B''']
let s:first = getqflist()[0]
if s:first.lnum != 12 || s:first.col != 5 || s:first.text != 'an unknown type ''B'''
  call add(s:said, 'the fault is read as ' . string(s:first))
endif
call add(s:said, s:words . ' words, ' . len(s:said) . ' faults')
call writefile(s:said, g:said)
if len(s:said) > 1 || s:words < 10000 | cquit | endif
qall!
