; a function name that is no identifier
.function 5
