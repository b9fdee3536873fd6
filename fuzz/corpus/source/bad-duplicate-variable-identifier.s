; two globals with one identifier
.global a "x"
.global a "y"
