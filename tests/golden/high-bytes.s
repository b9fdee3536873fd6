; names with bytes above 127 in every name-keyed table: a chain runs as the C library's case table orders the bytes taken as signed char, 0xff first and 0x80-0xfe after every byte below 128
.version 1.8
.global g1 "\b7f"
.global g2 "mk"
.global g3 "\ff2"
.global g4 "\9es"
.system s1 "\9es"
.system s2 "\ff2"
.system s3 "mk"
.function f
.parameter p1 "o"
.parameter p2 "\91"
.parameter p3 "\e9"
.parameter p4 "O"
.local l1 "\f7"
.endfunction
.localized "\b7f" "mk" "x"
.localized "mk" "\9es" "y"
.localized "\ff2" "\ff2" "z"
.localized "\9es" "\b7f" "w"
.localized "mk" "\ff2" "v"
.localized "mk" "MK" "u"
