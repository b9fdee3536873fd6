; where declarations go: .global and .system inside a function reach the file's tables, a .local or label inside an external declaration belongs to the enclosing function, empty variable names are never duplicates
.local blank1 ""
.local blank2 ""
.function f
.global shared "shared"
.system clock "clock"
.function ext external
.local inner "v"
here:
.parameter p "p"
.endfunction
pushl inner
pushg shared
pushs clock
jmp here
.endfunction
pushl blank2
pushg shared
