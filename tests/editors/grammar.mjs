// What the TextMate grammar makes of KSL, with the engine that editors use: node grammar.mjs NODE_MODULES ROOT.
import { createRequire } from "node:module";
import fs from "node:fs";
import path from "node:path";

const [modules, root] = process.argv.slice(2);
const require = createRequire(path.resolve(modules, "here.js"));
const textmate = require("vscode-textmate");
const oniguruma = require("vscode-oniguruma");
await oniguruma.loadWASM(fs.readFileSync(require.resolve("vscode-oniguruma/release/onig.wasm")));
const file = path.join(root, "editors/vscode/syntaxes/ksl.tmLanguage.json");
const registry = new textmate.Registry({
  onigLib: Promise.resolve({
    createOnigScanner: (patterns) => new oniguruma.OnigScanner(patterns),
    createOnigString: (text) => new oniguruma.OnigString(text),
  }),
  loadGrammar: async () => textmate.parseRawGrammar(fs.readFileSync(file, "utf8"), file),
});
const grammar = await registry.loadGrammar("source.ksl");

// Each piece of a text with the innermost scope it has, without "ksl"; blanks and what has no scope are left out.
function pieces(text) {
  const found = [];
  let stack = textmate.INITIAL;
  for (const line of text.split("\n")) {
    const result = grammar.tokenizeLine(line, stack);
    for (const token of result.tokens) {
      const piece = line.substring(token.startIndex, token.endIndex).trim();
      const scope = token.scopes.at(-1).split(".").slice(0, -1).join(".");
      if (piece && !scope.startsWith("meta.") && scope !== "source") found.push(`${piece}|${scope}`);
    }
    stack = result.ruleStack;
  }
  return found;
}

const type = "entity.name.type", name = "entity.name.section", colon = ":|punctuation.separator.header";
const param = "variable.parameter", is = "=|keyword.operator.assignment", comma = ",|punctuation.separator.list";
const goesOn = "\\|constant.character.escape.continuation", comment = "comment.line.number-sign";
const hash = "#|punctuation.definition.comment", end = "END|keyword.control.end", bad = "invalid.illegal.statement";
const unit = (text) => ["[|punctuation.definition.unit.begin", `${text}|constant.other.unit`, "]|punctuation.definition.unit.end"];
const cases = [
  ["CUT: Mid Span # why", [`CUT|${type}`, colon, `Mid Span|${name}`, hash, `why|${comment}`]],
  ["&replace DATA READER:", ["&replace|storage.modifier.replace", `DATA READER|${type}`, colon]],
  ["  Offset = -2.5e1 [cm]",
    [`Offset|${param}`, is, "-|keyword.operator.expression", "2.5e1|constant.numeric", ...unit("cm")]],
  ["Label = \"a # b\", /CUT:Mid Span # no",
    [`Label|${param}`, is, "\"a # b\"|string.quoted.double", comma, "/CUT:Mid Span|constant.other.reference", hash, `no|${comment}`]],
  ["END # so", [end, hash, `so|${comment}`]],
  ["> delete /CUT:a, \\\n  /CUT:b\nEND",
    [">|keyword.control.action", "delete|support.function.action", "/CUT:a|constant.other.reference", comma, goesOn,
      "/CUT:b|constant.other.reference", end]],
  ["> rename from=/CUT:a, to=b",
    [">|keyword.control.action", "rename|support.function.action", "from|variable.parameter.argument", is,
      "/CUT:a|constant.other.reference", comma, "to|variable.parameter.argument", is]],
  ["x = sin(2) + \\\n  Count 2\ny = On",
    [`x|${param}`, is, "sin|support.function.expression", "2|constant.numeric", "+|keyword.operator.expression", goesOn,
      "2|constant.numeric", `y|${param}`, is, "On|constant.language"]],
  ["# goes on \\\n  END\nEND", [hash, `goes on \\|${comment}`, `END|${comment}`, end]],
  ["ENDE", [`ENDE|${bad}`]],
  ["CUT: a = 1", [`CUT: a = 1|${bad}`]],
];
let failures = 0;
for (const [text, expected] of cases) {
  const found = pieces(text).join("\n");
  if (found === expected.join("\n")) continue;
  ++failures;
  console.error(`-- ${JSON.stringify(text)}\nfound:\n${found}\nexpected:\n${expected.join("\n")}`);
}
// Whatever the project itself has written is without a fault.
for (const folder of ["examples", "share/ksl"])
  for (const entry of fs.readdirSync(path.join(root, folder)).filter((each) => each.endsWith(".ksl"))) {
    const text = fs.readFileSync(path.join(root, folder, entry), "utf8");
    for (const piece of pieces(text).filter((each) => each.includes("|invalid."))) {
      ++failures;
      console.error(`-- ${folder}/${entry}: ${piece}`);
    }
  }
console.log(`${cases.length} cases, ${failures} failures`);
process.exit(failures ? 1 : 0);
