#!/bin/sh
# usage: vim.sh VIM ROOT SAID   Runs words.vim and shows what it says; small builds of Vim without scripts are passed over.
"$1" --version | grep -q '+eval' || { echo "this vim has no scripts"; exit 0; }
rm -f "$3"
"$1" -es -u NONE -i NONE -n --cmd "let g:root='$2'" --cmd "let g:said='$3'" -S "$2/tests/editors/words.vim" </dev/null
status=$?
cat "$3" && exit $status
