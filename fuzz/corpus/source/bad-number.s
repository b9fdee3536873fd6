; a number where a statement should start
42
