; .endfunction with no open function
noop
.endfunction
