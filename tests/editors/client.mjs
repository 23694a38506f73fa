// "ksl lsp" and the protocol's own library: node client.mjs NODE_MODULES KSL.
import assert from "node:assert";
import { spawn } from "node:child_process";
import fs from "node:fs";
import { createRequire } from "node:module";
import os from "node:os";
import path from "node:path";
import { pathToFileURL } from "node:url";

const [modules, program] = process.argv.slice(2);
const require = createRequire(path.resolve(modules, "here.js"));
const lsp = require("vscode-languageserver-protocol/node");

const folder = fs.mkdtempSync(path.join(os.tmpdir(), "ksl "));
const texts = { cut: "CUT: Mid\n  Axis = X\nEND\n", band: "BAND: b\n  Location = Mid\nEND\n" };
const uris = {};
for (const [name, text] of Object.entries(texts)) {
  fs.writeFileSync(path.join(folder, name + ".ksl"), text);
  uris[name] = pathToFileURL(path.join(folder, name + ".ksl")).href;
}
const server = spawn(program, ["lsp", "--stdio"], { stdio: ["pipe", "pipe", "inherit"] });
const connection = lsp.createProtocolConnection(
  new lsp.StreamMessageReader(server.stdout), new lsp.StreamMessageWriter(server.stdin));
const timer = setTimeout(() => { console.error("client: no answer"); process.exit(1); }, 30000);
const told = new Map();
let wake = () => {};
connection.onNotification(lsp.PublishDiagnosticsNotification.type, ({ uri, diagnostics }) => {
  told.set(uri, diagnostics);
  wake();
});
connection.onRequest(lsp.RegistrationRequest.type, () => {});
connection.onError((error) => { throw error; });
connection.listen();
async function until(uri, ready) {
  while (!ready(told.get(uri) ?? [])) await new Promise((resolve) => { wake = resolve; });
}
const at = (name, line, character) => ({ textDocument: { uri: uris[name] }, position: { line, character } });
const change = (name, version, text, line, begin, end) => connection.sendNotification(
  lsp.DidChangeTextDocumentNotification.type, {
    textDocument: { uri: uris[name], version },
    contentChanges: [{ text, range: { start: { line, character: begin }, end: { line, character: end } } }],
  });

const { capabilities } = await connection.sendRequest(lsp.InitializeRequest.type, {
  processId: process.pid, rootUri: null,
  workspaceFolders: [{ uri: pathToFileURL(folder).href, name: "work" }],
  capabilities: { workspace: { didChangeWatchedFiles: { dynamicRegistration: true } } },
});
assert.equal(capabilities.positionEncoding, lsp.PositionEncodingKind.UTF16);
await connection.sendNotification(lsp.InitializedNotification.type, {});
await connection.sendNotification(lsp.DidOpenTextDocumentNotification.type,
  { textDocument: { uri: uris.cut, languageId: "ksl", version: 1, text: texts.cut } });

await change("cut", 2, "W", 1, 9, 10);
await until(uris.cut, (found) => found.length === 1);
const [wrong] = told.get(uris.cut);
assert.match(wrong.message, /Parameter 'Axis' cannot have value 'W'\./);
assert.deepEqual(wrong.range, { start: { line: 1, character: 9 }, end: { line: 1, character: 10 } });
const offered = await connection.sendRequest(lsp.CompletionRequest.type, at("cut", 1, 9));
assert.deepEqual(offered.items.map((item) => item.label), ["X", "Y", "Z"]);
await change("cut", 3, "Y", 1, 9, 10);
await until(uris.cut, (found) => found.length === 0);

const { changes } = await connection.sendRequest(lsp.RenameRequest.type, { ...at("cut", 0, 6), newName: "Off" });
assert.deepEqual(Object.keys(changes).sort(), [uris.band, uris.cut].sort());
assert.deepEqual(changes[uris.band],
  [{ newText: "Off", range: { start: { line: 1, character: 13 }, end: { line: 1, character: 16 } } }]);
await change("cut", 4, "", 1, 6, 7);
const edits = await connection.sendRequest(lsp.DocumentFormattingRequest.type,
  { textDocument: { uri: uris.cut }, options: { tabSize: 2, insertSpaces: true } });
assert.deepEqual(edits.map((edit) => edit.newText), ["  Axis = Y\n"]);
const { data } = await connection.sendRequest(lsp.SemanticTokensRequest.type, { textDocument: { uri: uris.cut } });
assert.equal(data.length % 5, 0);

await connection.sendRequest(lsp.ShutdownRequest.type);
await connection.sendNotification(lsp.ExitNotification.type);
server.on("exit", (status) => {
  clearTimeout(timer);
  fs.rmSync(folder, { recursive: true });
  console.log("client: all as it should be");
  process.exit(status);
});
