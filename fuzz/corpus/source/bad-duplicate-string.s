; two string constants with one identifier
.string s "a"
.string s "b"
