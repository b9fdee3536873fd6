; Counts from 1 to 10 and prints each number on a line of its own.
.ident "examples/loop.s: a counting loop"
.global counter "counter"
.string newline "\0a"

        pushi 1
        popg counter            ; counter = 1
next:
        pushg counter
        out
        pushc newline
        out
        incg counter, 1         ; counter = counter + 1
        cmpgi counter, 10
        jmp_le next             ; again while counter <= 10
        exit
