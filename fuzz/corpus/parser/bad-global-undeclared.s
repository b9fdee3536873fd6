; a global variable as second operand, never declared
.global a "a"
cmpgg a, total
