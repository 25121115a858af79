" Definition files of protocol types. What is no word of the language is an error; whether a name is known tells
" `l3gen --check` (:compiler l3gen).
if exists("b:current_syntax")
  finish
endif
syn iskeyword @,48-57,_,-,/
syn sync fromstart

" Later items win over earlier ones that begin at the same place.
syn match l3Error    /\S\+/
syn match l3Operator /[-=,&+]/
syn match l3Field    /\.\{0,2}[A-Za-z_][A-Za-z0-9_.-]*/
syn match l3Type     /\<[A-Z_][A-Za-z0-9_]*\>/
syn match l3Number   /\<\(0x\x\+\|\d\+\)\(\.\.\(0x\x\+\|\d\+\)\)\?\>/
syn match l3Number   /[+-]\d\+\>/
syn keyword l3What   bits flag L/H unary octets ucs2 bitstring string labels chars choice body record
syn keyword l3Often  while-room times more-bit while-ext until-zero heap
syn keyword l3Clue   length by rest max in sizes means own shared inline from-octet peek code under is fit standard
syn keyword l3Hand   hand decode encode sample direct ends plain private first behind each digits option eap ber form TLV TLV-E TV T up down file spec
syn match l3Error    /!\S*/
syn match l3Quirk    /!\(alone\|codeset-asked\|early-return\|full-length\|hyphen-encode\|iei-again\|init\|name-as\)\ze\(\s\|$\)/
syn match l3Quirk    /!\(no-decoder\|no-encoder\|no-init\|no-printer\|no-sample\|no-tail\|null-suffix\|number-gaps\)\ze\(\s\|$\)/
syn match l3Quirk    /!\(octets-argument\|open-decode\|open-encode\|sample\|setters-return\|shifts\)\ze\(\s\|$\)/
syn match l3Quirk    /!\(spare-argument\|untagged\|walk\|zero-widens\)\ze\(\s\|$\)/
syn match l3Title    /"[^"\\]*"/
syn match l3Clause   /\[[^][]*\(\[[^][]*\][^][]*\)*\]\s*$/

" A line at column 0 is a block, an indented one a row: its first column says when it is there.
syn match l3Error    /^\S\+/
syn match l3Wrong    /\S\+/ contained
syn match l3Block    /^\(module\|enum\|names\|type\|element\|part\|text\|rest\|choice\|message\|sizes\|meanings\|pdu\)\>/ nextgroup=l3Wrong,l3Name skipwhite
syn match l3Name     /[A-Za-z_][A-Za-z0-9_]*/ contained
syn match l3Error    /\%(^\s\+\)\@<=\S\+/
syn match l3Element  /[A-Za-z0-9_-]\+/ contained
syn match l3Value    /\%(^\s\+\)\@<=[A-Za-z0-9_-]\+\ze\s*=/
syn match l3When     /\%(^\s\+\)\@<=\(M\|with\|more\|optional\|len\|group\|release\|standard\)\ze\s/ nextgroup=l3Wrong,l3Element skipwhite
syn match l3When     /\%(^\s\+\)\@<=\(end-len\|end-release\|tail\|padding\)\ze\(\s\|$\)/
syn match l3When     /\%(^\s\+\)\@<=0x\x[0-9A-Fa-f-]\ze\s/ nextgroup=l3Wrong,l3Element skipwhite
syn match l3When     /\%(^\s\+\)\@<=\(room\|0\/1\|L\/H\|ext\)\ze\s/ nextgroup=l3Wrong,l3More,l3If,l3Element skipwhite
syn match l3More     /\(0\/1\|L\/H\|ext\)\ze\s/ contained nextgroup=l3Wrong,l3If,l3Element skipwhite
syn match l3When     /\%(^\s\+\)\@<=\(if\|when\)\ze\s/ nextgroup=l3Wrong,l3Condition skipwhite
syn match l3If       /\(if\|when\)\ze\s/ contained nextgroup=l3Wrong,l3Condition skipwhite
syn match l3Condition /[A-Za-z_][A-Za-z0-9_.-]*\(!\?=[0-9A-Fa-fx.,]\+\)\?\(&[A-Za-z_][A-Za-z0-9_.-]*\(!\?=[0-9A-Fa-fx.,]\+\)\?\)*/ contained nextgroup=l3Wrong,l3Element skipwhite
syn match l3When     /\%(^\s\+\)\@<=|\ze\s/ nextgroup=l3Wrong,l3Chosen skipwhite
syn match l3Chosen   /else\ze\s/ contained nextgroup=l3Wrong,l3Element skipwhite
syn match l3Chosen   /[0-9LHxA-Fa-f.,]\+\(\s\+0x\x\+\)\?\ze\s/ contained nextgroup=l3Wrong,l3Element skipwhite
syn match l3Comment  /^\s*#.*/

hi def link l3Error Error
hi def link l3Wrong Error
hi def link l3Operator Operator
hi def link l3Field Identifier
hi def link l3Type Type
hi def link l3Number Number
hi def link l3What Type
hi def link l3Often Repeat
hi def link l3Clue Keyword
hi def link l3Hand PreProc
hi def link l3Quirk Special
hi def link l3Title String
hi def link l3Clause SpecialComment
hi def link l3Block Statement
hi def link l3Name Function
hi def link l3Value Constant
hi def link l3When Conditional
hi def link l3More Conditional
hi def link l3If Conditional
hi def link l3Condition Identifier
hi def link l3Chosen Number
hi def link l3Element Identifier
hi def link l3Comment Comment

let b:current_syntax = "l3"
