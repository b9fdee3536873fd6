// tnasm-lsp end to end, driven by the protocol's reference client library over the server's
// standard input and output: every capability on small documents, then a generated program.
'use strict';
const { test, after } = require('node:test');
const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const rpc = require('vscode-jsonrpc/node');
const lsp = require('vscode-languageserver-protocol');

const SERVER = process.env.TNASM_LSP;
assert.ok(SERVER, 'TNASM_LSP must name the tnasm-lsp binary');

const started = [];

// A server with its client connection; diagnostics are kept per document as they arrive.
async function start() {
  const child = spawn(SERVER, [], { stdio: ['pipe', 'pipe', 'inherit'] });
  const connection = lsp.createProtocolConnection(
    new rpc.StreamMessageReader(child.stdout), new rpc.StreamMessageWriter(child.stdin));
  const waiting = new Map();
  connection.onNotification(lsp.PublishDiagnosticsNotification.type, (params) => {
    const resolve = waiting.get(params.uri);
    waiting.delete(params.uri);
    if (resolve) resolve(params.diagnostics);
  });
  connection.listen();
  const session = {
    child,
    connection,
    exited: new Promise((resolve) => child.on('exit', (code) => resolve(code))),
    diagnostics(uri) { return new Promise((resolve) => waiting.set(uri, resolve)); },
    async open(uri, text) {
      const next = session.diagnostics(uri);
      await connection.sendNotification(lsp.DidOpenTextDocumentNotification.type, {
        textDocument: { uri, languageId: 'tnasm', version: 1, text } });
      return next;
    },
    async change(uri, contentChanges) {
      const next = session.diagnostics(uri);
      await connection.sendNotification(lsp.DidChangeTextDocumentNotification.type, {
        textDocument: { uri, version: 2 }, contentChanges });
      return next;
    },
    at(uri, line, character, extra = {}) {
      return { textDocument: { uri }, position: { line, character }, ...extra };
    },
  };
  session.initialized = await connection.sendRequest(lsp.InitializeRequest.type, {
    processId: process.pid, rootUri: null, capabilities: {} });
  await connection.sendNotification(lsp.InitializedNotification.type, {});
  started.push(session);
  return session;
}

after(() => { for (const s of started) s.child.kill(); });

const range = (r) => `${r.start.line}:${r.start.character}-${r.end.line}:${r.end.character}`;

const SMALL = [
  '.string greeting "Hello"',        // 0
  '.global count "counter"',         // 1
  '.function main',                  // 2
  '.parameter who "who" reference',  // 3
  '.local total "total"',            // 4
  'again: pushl total',              // 5
  '  pushc greeting',                // 6
  '  jmp_eq again',                  // 7
  '  call helper',                   // 8
  '.endfunction',                    // 9
  '.function helper',                // 10
  '  pushg count',                   // 11
  '.endfunction',                    // 12
  '.localized "de" "" "Hallo %who%!"', // 13
  '',
].join('\n');

test('initialize announces every capability', async () => {
  const s = await start();
  const caps = s.initialized.capabilities;
  assert.equal(s.initialized.serverInfo.name, 'tnasm-lsp');
  assert.equal(caps.textDocumentSync.change, lsp.TextDocumentSyncKind.Incremental);
  for (const c of ['definitionProvider', 'referencesProvider', 'renameProvider',
    'documentSymbolProvider', 'hoverProvider']) assert.equal(caps[c], true, c);
  assert.ok(caps.completionProvider);
});

test('diagnostics follow full and incremental changes', async () => {
  const s = await start();
  const uri = 'file:///diag.s';
  let d = await s.open(uri, '.function f\n  jmp nowhere\n.endfunction\n  pushx\n');
  assert.deepEqual(d.map((x) => [x.code, x.message, range(x.range)]), [
    ['AE_333', 'Label nowhere not defined', '2:0-2:12'],
    ['AE_315', 'unrecognized operation code: pushx', '3:2-3:7'],
  ]);
  assert.equal(range(d[0].relatedInformation[0].location.range), '1:6-1:13');
  d = await s.change(uri, [{ range: { start: { line: 3, character: 2 }, end: { line: 3, character: 7 } }, text: 'pop' }]);
  assert.deepEqual(d.map((x) => x.code), ['AE_333']);
  d = await s.change(uri, [{ text: 'pop\n' }]);
  assert.deepEqual(d, []);
});

test('definition, references, rename and symbols follow the assembler scopes', async () => {
  const s = await start();
  const uri = 'file:///nav.s';
  assert.deepEqual(await s.open(uri, SMALL), []);
  const c = s.connection;
  const def = await c.sendRequest(lsp.DefinitionRequest.type, s.at(uri, 7, 10));
  assert.equal(range(def.range), '5:0-5:5');
  const call = await c.sendRequest(lsp.DefinitionRequest.type, s.at(uri, 8, 9));
  assert.equal(range(call.range), '10:10-10:16');
  const refs = await c.sendRequest(lsp.ReferencesRequest.type,
    s.at(uri, 0, 9, { context: { includeDeclaration: true } }));
  assert.deepEqual(refs.map((r) => range(r.range)), ['0:8-0:16', '6:8-6:16']);
  const edit = await c.sendRequest(lsp.RenameRequest.type, s.at(uri, 4, 8, { newName: 'sum' }));
  assert.deepEqual(edit.changes[uri].map((e) => range(e.range)), ['4:7-4:12', '5:13-5:18']);
  await assert.rejects(c.sendRequest(lsp.RenameRequest.type, s.at(uri, 4, 8, { newName: 'who' })),
    (e) => e.code === -32803 && /already declared/.test(e.message));
  await assert.rejects(c.sendRequest(lsp.RenameRequest.type, s.at(uri, 10, 12, { newName: 'a b' })),
    (e) => e.code === -32803 && /not an identifier/.test(e.message));
  const symbols = await c.sendRequest(lsp.DocumentSymbolRequest.type, { textDocument: { uri } });
  assert.deepEqual(symbols.map((x) => x.name), ['greeting', 'count', 'main', 'helper']);
  assert.deepEqual(symbols[2].children.map((x) => x.name), ['who', 'total', 'again']);
});

test('hover tells codes, slots, indexes and localized pieces', async () => {
  const s = await start();
  const uri = 'file:///hover.s';
  await s.open(uri, SMALL);
  const hover = async (line, character) =>
    (await s.connection.sendRequest(lsp.HoverRequest.type, s.at(uri, line, character))).contents.value;
  assert.match(await hover(6, 3), /instruction code 0x4001[\s\S]*string constant[\s\S]*6 bytes/);
  assert.match(await hover(5, 14), /run-time name `total`, slot 1/);
  assert.match(await hover(6, 10), /dictionary index \d+/);
  assert.match(await hover(8, 8), /function number 1/);
  assert.match(await hover(13, 22), /text `Hallo `\n- variable `who`\n- text `!`/);
});

test('completion offers only what may stand there', async () => {
  const s = await start();
  const uri = 'file:///complete.s';
  await s.open(uri, SMALL.replace('  call helper', '  call \n  pushl \n  jmp \n  pushc \n'));
  const labels = async (line, character) => (await s.connection.sendRequest(
    lsp.CompletionRequest.type, s.at(uri, line, character))).items.map((i) => i.label);
  assert.deepEqual(await labels(8, 7), ['main', 'helper']);
  assert.deepEqual(await labels(9, 8), ['who', 'total']);
  assert.deepEqual(await labels(10, 6), ['again']);
  assert.deepEqual(await labels(11, 8), ['greeting']);
  const first = await labels(6, 0);
  assert.ok(first.includes('.endfunction') && first.includes('pushl'));
});

test('bad messages get their JSON-RPC errors and the server goes on', async () => {
  const s = await start();
  await assert.rejects(s.connection.sendRequest('tarn/unknown', {}), (e) => e.code === -32601);
  await assert.rejects(s.connection.sendRequest(lsp.HoverRequest.type, { textDocument: {} }),
    (e) => e.code === -32602);
  const child = spawn(SERVER, [], { stdio: ['pipe', 'pipe', 'inherit'] });
  started.push({ child });
  let out = '';
  child.stdout.on('data', (b) => { out += b; });
  const body = '{"jsonrpc":"2.0","id":1,"method":"shutdown"}';
  child.stdin.write('Content-Length: 3\r\n\r\n{x}');
  child.stdin.write(`Content-Length: ${Buffer.byteLength(body)}\r\n\r\n${body}`);
  // Both answers, however slowly a loaded machine gives them.
  for (let waited = 0; waited < 20000 && !/-32002/.test(out); waited += 50) {
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
  assert.match(out, /"code":-32700/);
  assert.match(out, /"code":-32002/);
  await s.connection.sendRequest(lsp.ShutdownRequest.type);
  await s.connection.sendNotification(lsp.ExitNotification.type);
  assert.equal(await s.exited, 0);
});

// A program of many functions, each with parameters, locals, loops and calls; then some of
// them broken, each of which must be diagnosed on its own.
function program(functions) {
  const lines = ['.string message "done"', '.global total "total"'];
  for (let f = 0; f < functions; ++f) {
    lines.push(`.function f${f}`, `.parameter p${f} "p"`, `.local i "i"`, 'top:');
    lines.push('  pushl i', '  pushi 1', '  add', '  popl i', '  pushg total', '  jmp_lt top');
    if (f > 0) lines.push(`  call f${f - 1}`);
    lines.push('  pushc message', '.endfunction');
  }
  return lines.join('\n') + '\n';
}

test('a generated program: symbols, references, and each broken function on its own', async () => {
  const s = await start();
  const uri = 'file:///generated.s';
  const text = program(300);
  assert.deepEqual(await s.open(uri, text), []);
  const symbols = await s.connection.sendRequest(lsp.DocumentSymbolRequest.type, { textDocument: { uri } });
  assert.equal(symbols.filter((x) => x.kind === lsp.SymbolKind.Function).length, 300);
  const refs = await s.connection.sendRequest(lsp.ReferencesRequest.type,
    s.at(uri, 1, 9, { context: { includeDeclaration: false } }));
  assert.equal(refs.length, 300);
  const broken = text.split('\n').map((line, n) =>
    (line === '  pushl i' && n % 3 === 0 ? '  pushl nothing' : line)).join('\n');
  const expected = broken.split('\n').filter((line) => line === '  pushl nothing').length;
  const d = await s.change(uri, [{ text: broken }]);
  assert.ok(expected > 10);
  assert.equal(d.length, expected);
  assert.ok(d.every((x) => x.code === 'AE_332'));
});
