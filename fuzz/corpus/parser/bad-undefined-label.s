; a label that the function never defines, found at its .endfunction
.function f
jmp nowhere
noop
.endfunction
