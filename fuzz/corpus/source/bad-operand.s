; an operand that is neither symbol nor number
pushi "1"
