// A thin client: all knowledge of the language is in "ksl lsp".
"use strict";
const vscode = require("vscode");
const { LanguageClient, TransportKind } = require("vscode-languageclient/node");

let client;

exports.activate = async function activate() {
  const settings = vscode.workspace.getConfiguration("ksl");
  const args = ["lsp", ...settings.get("library", []).flatMap((path) => ["--library", path])];
  const server = { command: settings.get("program", "ksl"), args, transport: TransportKind.stdio };
  client = new LanguageClient("ksl", "KSL", server, { documentSelector: [{ language: "ksl" }] });
  await client.start();
};

exports.deactivate = function deactivate() {
  return client?.stop();
};
