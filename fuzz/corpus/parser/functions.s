; functions: parameters by value and by reference, locals, calls forward and backward, external declarations
call main
.function main
.local result "result"
pushi 4
call twice
popl result
.endfunction
.function twice private
.parameter n "n"
.parameter out "x" reference
.local sum "s"
pushl n
pushl n
add
popl sum
.function print external      ; an external declaration inside an internal function
.parameter text "text"
.endfunction
call print
pushl out
.endfunction
.function log external stdoutinherit
.parameter message "msg" value
.endfunction
