; two globals of one variable name
.global a "x"
.global b "x"
