; a string constant used above its declaration
pushc greeting
.string greeting "hi"
