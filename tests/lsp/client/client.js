#!/usr/bin/env node
// Drives `xylem lsp` with the reference client library of the protocol (vscode-jsonrpc and
// vscode-languageserver-protocol): opens an XSLT stylesheet and a JSON file, edits them, and
// checks semantic tokens (a delta after an edit against a fresh full result), folding,
// diagnostics appearing and going away, formatting edits giving the formatter's text,
// completion at an XPath position, and linked editing.
//   node client.js XYLEM_BINARY MODULES_FOLDER
// Exits 77 (skipped) when the modules are not installed (scripts/setup.sh test installs them).
'use strict';
const { spawn, execFileSync } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

const [binary, modules] = process.argv.slice(2);
let lsp;
try {
  // Resolved from the install folder, as a script placed there would resolve it.
  const requireThere = require('module').createRequire(path.resolve(modules) + path.sep);
  lsp = requireThere('vscode-languageserver-protocol/node');
} catch (error) {
  console.log(`SKIPPED: vscode-languageserver-protocol is not installed in ${modules} ` +
              '(run scripts/setup.sh test)');
  process.exit(77);
}

const failures = [];
function check(condition, what) {
  if (!condition) failures.push(what);
  console.log(`${condition ? 'ok  ' : 'FAIL'} ${what}`);
}

// Applies LSP TextEdits to a string whose lines end in "\n".
function applyEdits(text, edits) {
  const lineStarts = [0];
  for (let i = 0; i < text.length; ++i) if (text[i] === '\n') lineStarts.push(i + 1);
  const offset = (p) => Math.min(lineStarts[p.line] + p.character, text.length);
  const sorted = edits.map((e) => [offset(e.range.start), offset(e.range.end), e.newText])
                      .sort((a, b) => b[0] - a[0]);
  for (const [s, e, t] of sorted) text = text.slice(0, s) + t + text.slice(e);
  return text;
}

function applyTokenEdits(data, edits) {
  const result = data.slice();
  for (const e of [...edits].sort((a, b) => b.start - a.start))
    result.splice(e.start, e.deleteCount, ...(e.data || []));
  return result;
}

function offsetPosition(text, offset) {
  const before = text.slice(0, offset).split('\n');
  return { line: before.length - 1, character: before[before.length - 1].length };
}

async function main() {
  const server = spawn(binary, ['lsp', '--diagnostics-delay', '50'], { stdio: ['pipe', 'pipe', 'inherit'] });
  const connection = lsp.createProtocolConnection(new lsp.StreamMessageReader(server.stdout),
                                                  new lsp.StreamMessageWriter(server.stdin));
  const diagnostics = new Map();
  const waiters = [];
  connection.onNotification(lsp.PublishDiagnosticsNotification.type, (params) => {
    diagnostics.set(params.uri, params);
    for (const w of waiters.splice(0)) w();
  });
  // Resolves once the latest diagnostics of uri satisfy test (or fails after 10 s).
  function diagnosticsWhere(uri, test) {
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => reject(new Error(`no diagnostics as expected for ${uri}`)), 10000);
      const probe = () => {
        const d = diagnostics.get(uri);
        if (d && test(d)) { clearTimeout(timer); resolve(d); } else waiters.push(probe);
      };
      probe();
    });
  }
  connection.listen();

  const init = await connection.sendRequest(lsp.InitializeRequest.type, {
    processId: process.pid, rootUri: null, capabilities: {}, workspaceFolders: null });
  check(init.capabilities.positionEncoding === 'utf-16', 'initialize announces utf-16');
  const legend = init.capabilities.semanticTokensProvider.legend;
  await connection.sendNotification(lsp.InitializedNotification.type, {});

  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'xylem-lsp-'));
  const xslPath = path.join(folder, 's.xsl');
  let xsl = '<xsl:stylesheet version="3.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">\n' +
            '<xsl:template match="/">\n' +
            '<out><xsl:value-of select="count(//item) + 1"/></out>\n' +
            '<!-- a\n  comment -->\n' +
            '</xsl:template>\n' +
            '</xsl:stylesheet>\n';
  const xslUri = 'file://' + xslPath;
  let version = 1;
  await connection.sendNotification(lsp.DidOpenTextDocumentNotification.type, {
    textDocument: { uri: xslUri, languageId: 'xsl', version, text: xsl } });
  const jsonUri = 'file://' + path.join(folder, 'j.json');
  const json = '{"a": [1, 2, {"b": null}],\n"c": "d"}\n';
  await connection.sendNotification(lsp.DidOpenTextDocumentNotification.type, {
    textDocument: { uri: jsonUri, languageId: 'json', version: 1, text: json } });

  // Semantic tokens: full, then a delta after an edit, against a fresh full result.
  const full = await connection.sendRequest(lsp.SemanticTokensRequest.type, { textDocument: { uri: xslUri } });
  check(full.data.length > 0 && full.data.length % 5 === 0, 'full semantic tokens');
  const fnIndex = legend.tokenTypes.indexOf('function');
  let sawFunction = false;
  for (let i = 3; i < full.data.length; i += 5) if (full.data[i] === fnIndex) sawFunction = true;
  check(sawFunction, 'the XPath function call is a function token');
  const at = xsl.indexOf('+ 1');
  const edit = { range: { start: offsetPosition(xsl, at), end: offsetPosition(xsl, at + 3) }, text: 'div $n' };
  xsl = xsl.slice(0, at) + 'div $n' + xsl.slice(at + 3);
  await connection.sendNotification(lsp.DidChangeTextDocumentNotification.type, {
    textDocument: { uri: xslUri, version: ++version }, contentChanges: [edit] });
  const delta = await connection.sendRequest(lsp.SemanticTokensDeltaRequest.type, {
    textDocument: { uri: xslUri }, previousResultId: full.resultId });
  check(Array.isArray(delta.edits), 'a delta, not a full result, after one edit');
  const patched = applyTokenEdits(full.data, delta.edits || []);
  const fresh = await connection.sendRequest(lsp.SemanticTokensRequest.type, { textDocument: { uri: xslUri } });
  check(JSON.stringify(patched) === JSON.stringify(fresh.data), 'delta applied equals a fresh full result');
  const deltaSize = (delta.edits || []).reduce((n, e) => n + (e.data || []).length, 0);
  check(deltaSize < full.data.length, `the delta (${deltaSize}) is smaller than the full result (${full.data.length})`);

  // Folding.
  const folds = await connection.sendRequest(lsp.FoldingRangeRequest.type, { textDocument: { uri: xslUri } });
  check(folds.some((f) => f.startLine === 0 && f.endLine === 6), 'the stylesheet folds');
  check(folds.some((f) => f.kind === 'comment' && f.startLine === 3 && f.endLine === 4), 'the comment folds as a comment');
  const jsonFolds = await connection.sendRequest(lsp.FoldingRangeRequest.type, { textDocument: { uri: jsonUri } });
  check(jsonFolds.length === 1 && jsonFolds[0].startLine === 0, 'the JSON object folds');

  // Diagnostics appear and go away.
  await diagnosticsWhere(xslUri, (d) => d.version === version && d.diagnostics.length === 0);
  check(true, 'no diagnostics for the valid stylesheet');
  const broken = xsl.indexOf('div $n');
  await connection.sendNotification(lsp.DidChangeTextDocumentNotification.type, {
    textDocument: { uri: xslUri, version: ++version },
    contentChanges: [{ range: { start: offsetPosition(xsl, broken), end: offsetPosition(xsl, broken + 3) }, text: '+ )' }] });
  const bad = xsl.slice(0, broken) + '+ )' + xsl.slice(broken + 3);
  const shown = await diagnosticsWhere(xslUri, (d) => d.version === version && d.diagnostics.length > 0);
  check(shown.diagnostics[0].range.start.line === 2, `an XPath error on line 3: ${shown.diagnostics[0].message}`);
  await connection.sendNotification(lsp.DidChangeTextDocumentNotification.type, {
    textDocument: { uri: xslUri, version: ++version },
    contentChanges: [{ range: { start: offsetPosition(bad, broken), end: offsetPosition(bad, broken + 3) }, text: 'div' }] });
  xsl = bad.slice(0, broken) + 'div' + bad.slice(broken + 3);
  await diagnosticsWhere(xslUri, (d) => d.version === version && d.diagnostics.length === 0);
  check(true, 'the diagnostics go away after the fix');

  // Formatting: the edits give the formatter's own text.
  for (const [uri, text, file] of [[xslUri, xsl, 's.xsl'], [jsonUri, json, 'j.json']]) {
    fs.writeFileSync(path.join(folder, file), text);
    const expected = execFileSync(binary, ['format', path.join(folder, file)]).toString();
    const edits = await connection.sendRequest(lsp.DocumentFormattingRequest.type, {
      textDocument: { uri }, options: { tabSize: 4, insertSpaces: true } });
    check(edits.length > 1 && edits.every((e) => /^\s*$/.test(e.newText)), `${file}: white-space edits only`);
    check(applyEdits(text, edits) === expected.replace(/\r\n/g, '\n'), `${file}: edits give the formatter's text`);
  }

  // Completion at an XPath position: after "count(" a name may stand.
  const inCount = xsl.indexOf('count(') + 6;
  const completion = await connection.sendRequest(lsp.CompletionRequest.type, {
    textDocument: { uri: xslUri }, position: offsetPosition(xsl, inCount) });
  const labels = new Set(completion.items.map((i) => i.label));
  check(labels.has('count') && labels.has('child') && labels.has('math:pi'), 'XPath completion offers functions and axes');
  const count = completion.items.find((i) => i.label === 'count');
  check(count && /as xs:integer/.test(count.detail), 'functions come with their signatures');

  // Linked editing of the <out> element's names.
  const outAt = xsl.indexOf('<out>') + 2;
  const linked = await connection.sendRequest(lsp.LinkedEditingRangeRequest.type, {
    textDocument: { uri: xslUri }, position: offsetPosition(xsl, outAt) });
  const closeAt = offsetPosition(xsl, xsl.indexOf('</out>') + 2);
  check(linked && linked.ranges.length === 2 && linked.ranges[1].start.line === closeAt.line &&
        linked.ranges[1].start.character === closeAt.character, 'linked editing of start and end tag names');

  await connection.sendRequest(lsp.ShutdownRequest.type);
  await connection.sendNotification(lsp.ExitNotification.type);
  const code = await new Promise((resolve) => server.on('exit', resolve));
  check(code === 0, 'the server exits with 0 after shutdown and exit');
  connection.dispose();
  fs.rmSync(folder, { recursive: true, force: true });
  if (failures.length) {
    console.log(`${failures.length} check(s) failed`);
    process.exit(1);
  }
}

main().catch((error) => {
  console.log(`FAIL ${error.stack || error}`);
  process.exit(1);
});
