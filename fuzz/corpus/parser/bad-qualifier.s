; an unknown function qualifier
.function f privat
