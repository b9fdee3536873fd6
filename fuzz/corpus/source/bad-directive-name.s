; a directive name that is no identifier
.global 5 "x"
