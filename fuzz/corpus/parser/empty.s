; an empty program: every section is written, each of them empty
