// Starts `xylem lsp` for XML, XSLT and JSON documents.
'use strict';
const vscode = require('vscode');
const { LanguageClient } = require('vscode-languageclient/node');

let client;

function activate(context) {
  const config = vscode.workspace.getConfiguration('xylem');
  const server = { command: config.get('path', 'xylem'), args: ['lsp'] };
  client = new LanguageClient('xylem', 'Xylem', { run: server, debug: server }, {
    documentSelector: [
      { scheme: 'file', language: 'xml' },
      { scheme: 'file', language: 'xsl' },
      { scheme: 'file', language: 'json' },
      { scheme: 'untitled', language: 'xml' },
    ],
    initializationOptions: { diagnosticsDelay: config.get('diagnosticsDelay', 300) },
    synchronize: { configurationSection: 'xylem' },
  });
  context.subscriptions.push(client);
  return client.start();
}

function deactivate() {
  return client ? client.stop() : undefined;
}

module.exports = { activate, deactivate };
