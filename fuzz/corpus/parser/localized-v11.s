; without .version (1.1) only the first language's index is written, under tag 0
.localized "en-US" "bye" "Bye"
.localized "de-DE" "bye" "Tschuess"
