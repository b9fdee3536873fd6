; Computes 5! with a recursive function and prints it through a helper; each function has
; its own parameters and locals, and calls may name a function before its definition.
.string label "5! = "
.string newline "\0a"

        pushi 5
        call factorial
        call show
        exit

; factorial(n) = n * factorial(n - 1), and 1 for n <= 1
.function factorial
.parameter n "n" value
.local result "result"
        pushl n
        pushi 1
        gt
        jmp_ne recurse          ; n > 1: recurse
        pushi 1
        ret
recurse:
        pushl n
        pushi 1
        sub
        call factorial
        pushl n
        mul
        popl result
        pushl result
        ret
.endfunction

; show(value): prints the label, the value and a newline
.function show
.parameter value "value" value
        pushc label
        out
        pushl value
        out
        pushc newline
        out
.endfunction
