; calls resolve case-sensitively, although duplicates are found regardless of case
call Main
.function main
.endfunction
