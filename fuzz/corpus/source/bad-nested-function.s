; an internal function inside another
.function a
.function b
