; the file ends inside a function: reported at the end, on the line after the last
.function f
pushi 1
