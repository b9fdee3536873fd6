; a function declaration inside an external declaration
.function a external
.function b
