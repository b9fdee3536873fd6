; a quoted string where a statement should start
"x"
