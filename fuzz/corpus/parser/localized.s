; localized texts in two languages: piece chains, one index section per language from version 1.8 on
.version 1.8
.localized "en-US" "greeting" "Hello %name%!"
.localized "fr-FR" "greeting" "Bonjour %name% !"
.localized "en-US" "sale" "50%% off"
.localized "EN-us" "odd" "a%b"        ; the same language as en-US; "a" and the lone % are dropped
