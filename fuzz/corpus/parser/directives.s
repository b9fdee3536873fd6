.localized "en-US" "key" "Hello %name%!"
.version 1.8
.ident "v"
pushf -1.5
cmpgg 0x10, 2
