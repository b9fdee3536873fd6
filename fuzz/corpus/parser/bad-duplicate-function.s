; function names are unique regardless of case
.function main
.endfunction
.function MAIN external
.endfunction
