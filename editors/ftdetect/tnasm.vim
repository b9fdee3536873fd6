" Filetype detection for Tarn assembly (tnasm). Plain .s files are shared with other assemblers,
" so they count as Tarn assembly only when a line holds a directive that no other assembler uses.
autocmd BufRead,BufNewFile *.tns,*.tnasm setfiletype tnasm
autocmd BufRead,BufNewFile *.s
      \ if search('^\s*\.\(function\|endfunction\|localized\|disable_logging\|parameter\)\>', 'nw')
      \ | set filetype=tnasm | endif
