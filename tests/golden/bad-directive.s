; an unknown directive
.bogus
