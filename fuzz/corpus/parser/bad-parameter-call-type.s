; an unknown parameter type
.function f
.parameter p "x" ref
