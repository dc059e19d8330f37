-- Run by run.sh inside headless Neovim with test.xml open: attaches xylem lsp, waits for the
-- diagnostics of the broken file, fixes it, waits for them to clear, formats the buffer and
-- compares it with the formatter's text. Writes PASS or FAIL lines to $RESULT and quits.
local lines = {}
local failed = false
local function report(ok, what)
  table.insert(lines, (ok and 'ok   ' or 'FAIL ') .. what)
  if not ok then failed = true end
end
local function finish()
  table.insert(lines, failed and 'FAIL' or 'PASS')
  vim.fn.writefile(lines, os.getenv('RESULT'))
  vim.cmd('qall!')
end

local buf = vim.api.nvim_get_current_buf()
local client_id = vim.lsp.start_client({
  name = 'xylem',
  cmd = { os.getenv('XYLEM'), 'lsp', '--diagnostics-delay', '50' },
  root_dir = vim.fn.getcwd(),
})
report(client_id ~= nil, 'the server starts')
vim.lsp.buf_attach_client(buf, client_id)

local function wait_for(what, condition)
  local ok = vim.wait(10000, condition, 50)
  report(ok, what)
  return ok
end

-- "<c>" is never closed: a well-formedness error.
wait_for('diagnostics arrive for the broken document', function()
  return #vim.diagnostic.get(buf) > 0
end)
vim.api.nvim_buf_set_lines(buf, 3, 4, false, { '<c/>' })
wait_for('the diagnostics clear after the fix', function()
  return #vim.diagnostic.get(buf) == 0
end)

vim.bo[buf].expandtab = true
vim.bo[buf].shiftwidth = 4
vim.bo[buf].tabstop = 4
if vim.lsp.buf.format then
  vim.lsp.buf.format({ bufnr = buf, timeout_ms = 5000 })
else
  vim.lsp.buf.formatting_sync(nil, 5000)
end
local text = table.concat(vim.api.nvim_buf_get_lines(buf, 0, -1, false), '\n') .. '\n'
local expected = '<r>\n    <a>text</a>\n    <b/>\n    <c/>\n</r>\n'
report(text == expected, 'formatting gives the formatter\'s text: ' .. vim.inspect(text))
finish()
