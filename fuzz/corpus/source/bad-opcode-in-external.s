; an operation code inside an external declaration
.function ext external
pushi 1
