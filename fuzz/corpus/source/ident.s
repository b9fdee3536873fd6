; .ident texts in source order, .disable_logging, and .version, which only ever raises the version
.ident "built by hand"
.version 2.5
.disable_logging
.version 1.9            ; lower than 2.5: ignored
.ident ""
.ident "x\0ay"
