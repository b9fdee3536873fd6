; a top-level label that is never defined, found at the end of the file
jmp nowhere
