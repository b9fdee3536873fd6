// Starts tnasm-lsp for Tarn assembly documents: the assembler's errors as diagnostics,
// definitions, references, renaming, symbols, hover and completion.
'use strict';
const vscode = require('vscode');
const { LanguageClient } = require('vscode-languageclient/node');

let client;

function activate() {
  const command = vscode.workspace.getConfiguration('tnasm').get('server.path') || 'tnasm-lsp';
  client = new LanguageClient('tnasm', 'Tarn Assembly', { command, args: [] }, {
    documentSelector: [{ language: 'tnasm' }],
  });
  return client.start();
}

function deactivate() {
  return client ? client.stop() : undefined;
}

module.exports = { activate, deactivate };
