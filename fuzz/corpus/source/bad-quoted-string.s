; a directive without its quoted string quotes the last string read before
.string s "abc"
.global g 5
