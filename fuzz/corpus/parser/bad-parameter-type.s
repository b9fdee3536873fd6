; a parameter type that is no symbol
.function f
.parameter p "x" 5
