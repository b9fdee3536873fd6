; a parameter at the top level
.parameter p "p" value
