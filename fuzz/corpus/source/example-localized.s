; Greets someone in English or French, whichever the runtime's current language is. The
; texts are chains of pieces: literal text and the variable named between two % signs.
; Version 1.8 or later gives every language its own index section.
.version 1.8
.localized "en-US" "greeting" "Hello, %name%!"
.localized "fr-FR" "greeting" "Bonjour, %name% !"
.localized "en-US" "discount" "Today only: 50%% off."
.localized "fr-FR" "discount" "Aujourd'hui seulement : 50%% de remise."

.string greeting "greeting"
.string discount "discount"
.string world "world"
.string newline "\0a"
.global name "name"

        pushc world
        popg name               ; %name% reads this global
        localize greeting
        out
        pushc newline
        out
        localize discount
        out
        pushc newline
        out
        exit
