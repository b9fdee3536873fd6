; a local of the same variable name as a parameter
.function f
.parameter p "n" value
.local q "n"
