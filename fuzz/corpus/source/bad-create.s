; the output file cannot be created: reported without a line, and no file is left
noop
