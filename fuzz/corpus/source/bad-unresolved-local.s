; a local that was never declared
.function f
pushl nothing
