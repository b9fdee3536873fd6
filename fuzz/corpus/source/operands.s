; top-level code with every kind of data operand: string constant, system, global and local variable, integer and double
.string greeting "Hello"
.system home "HOME"
.global total "total"
.local counter "count"      ; at the top level a local is a global
pushc greeting
pushs home
pushg total
pushl counter
pushg counter
pushi 0x1F
pushi -2
pushi word                  ; no integer: emitted as 0
pushi 1.5                   ; no integer either: 0
pushf 2.5
pushf -0.5
pushf INF
cmpgi total, 7
tagerror 1, -1
