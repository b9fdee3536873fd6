; two parameters with one identifier
.function f
.parameter p "x" value
.parameter p "y" value
