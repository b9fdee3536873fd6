; labels: forward and backward displacements, a label as first of two operands, labels local to each context
top:
jmp_eq done
noop
loop:
pushi 1
jmp_ne loop
httpn done, 3
import_stop top
done:
retn
.function twice
loop:                 ; the same name as above, in another context
jmp loop
.endfunction
