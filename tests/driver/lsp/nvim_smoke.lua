-- Neovim's built-in client against tnasm-lsp, headless: attach to a source, receive the
-- assembler's diagnostic, and jump from a use to its definition. Ends Neovim with status 0
-- when all of it happened, 1 otherwise.
local server = os.getenv('TNASM_LSP')
local source = os.getenv('TNASM_SOURCE')

local function fail(message)
  io.stderr:write('nvim smoke: ' .. message .. '\n')
  vim.cmd('cquit 1')
end

vim.cmd('edit ' .. vim.fn.fnameescape(source))
local buffer = vim.api.nvim_get_current_buf()
local client = vim.lsp.start_client({ name = 'tnasm-lsp', cmd = { server },
  root_dir = vim.fn.fnamemodify(source, ':h') })
if not client then fail('the server did not start') end
vim.lsp.buf_attach_client(buffer, client)

if not vim.wait(10000, function() return #vim.diagnostic.get(buffer) > 0 end, 20) then
  fail('no diagnostic arrived')
end
local diagnostic = vim.diagnostic.get(buffer)[1]
if diagnostic.message ~= 'Label nowhere not defined' or diagnostic.lnum ~= 6 then
  fail('unexpected diagnostic: ' .. vim.inspect(diagnostic))
end

-- Line 5 (from 1) holds `  jmp again`; its label is defined on line 3.
vim.api.nvim_win_set_cursor(0, { 5, 7 })
vim.lsp.buf.definition()
if not vim.wait(10000, function() return vim.api.nvim_win_get_cursor(0)[1] == 3 end, 20) then
  fail('definition did not move the cursor to line 3')
end
print('nvim smoke: diagnostic received, definition reached')
vim.lsp.stop_client(client)
vim.cmd('qall!')
