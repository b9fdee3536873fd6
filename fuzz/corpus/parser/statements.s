; a label, an instruction and a directive on one line each
.string s "a\41b"
start: pushc s
.function f private external
.parameter p "x" reference
.endfunction
