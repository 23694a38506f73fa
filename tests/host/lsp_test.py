"""The language server as a client sees it: messages over its standard input and output.

lsp_test.py KSL [TEST ...]
"""
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import unittest

KSL = os.environ.get("KSL_BIN", "ksl")


class Client:
    """A server, and what it says."""

    def __init__(self, *folders, snippets=True, start=True, options=()):
        self.process = subprocess.Popen([KSL, "lsp", *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL)
        self.notices = []
        self.count = 0
        if start:
            uris = [{"uri": folder.as_uri(), "name": folder.name} for folder in folders]
            item = {"snippetSupport": snippets}
            self.capabilities = self.ask("initialize", {
                "workspaceFolders": uris,
                "capabilities": {"textDocument": {"completion": {"completionItem": item}}}})["capabilities"]
            self.tell("initialized", {})

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait(timeout=20)
        self.process.stdout.close()

    def write(self, data):
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def send(self, message):
        body = json.dumps({"jsonrpc": "2.0", **message}).encode()
        self.write(b"Content-Length: %d\r\n\r\n" % len(body) + body)

    def read(self):
        header = self.process.stdout.readline()
        assert header.startswith(b"Content-Length: "), header
        assert self.process.stdout.readline() == b"\r\n"
        return json.loads(self.process.stdout.read(int(header.split()[1])))

    def tell(self, method, params):
        self.send({"method": method, "params": params})

    def answer(self, method, params=None):
        self.count += 1
        self.send({"id": self.count, "method": method, "params": params})
        while (message := self.read()).get("id") != self.count:
            self.notices.append(message)
        return message

    def ask(self, method, params=None):
        message = self.answer(method, params)
        assert "error" not in message, message
        return message["result"]

    def open(self, uri, text):
        self.tell("textDocument/didOpen",
                  {"textDocument": {"uri": uri, "languageId": "ksl", "version": 1, "text": text}})

    def change(self, uri, *changes):
        self.tell("textDocument/didChange", {
            "textDocument": {"uri": uri, "version": 2},
            "contentChanges": [{"range": span, "text": text} if span else {"text": text} for span, text in changes]})

    def told(self, uri):
        """The next diagnostics of a text."""
        while True:
            for place, message in enumerate(self.notices):
                if message.get("method") == "textDocument/publishDiagnostics" and message["params"]["uri"] == uri:
                    return self.notices.pop(place)["params"]["diagnostics"]
            self.notices.append(self.read())

    def at(self, method, uri, line, character, **more):
        return self.ask("textDocument/" + method, {
            "textDocument": {"uri": uri}, "position": {"line": line, "character": character}, **more})

    def of(self, method, uri, **more):
        return self.ask("textDocument/" + method, {"textDocument": {"uri": uri}, **more})


def span(line, begin, end, last=None):
    return {"start": {"line": line, "character": begin}, "end": {"line": line if last is None else last, "character": end}}


def labels(items):
    return [item["label"] for item in items["items"]]


def edited(text, edits):
    """The text with the edits of an answer; all of it is ASCII."""
    lines = text.split("\n")
    place = lambda at: sum(len(line) + 1 for line in lines[:at["line"]]) + at["character"]
    for edit in sorted(edits, key=lambda each: place(each["range"]["start"]), reverse=True):
        begin, end = place(edit["range"]["start"]), place(edit["range"]["end"])
        text = text[:begin] + edit["newText"] + text[end:]
    return text


class Workspace(unittest.TestCase):
    def setUp(self):
        signal.alarm(60)  # a message that never comes
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve() / "a b"
        self.folder.mkdir()

    def file(self, name, text):
        path = self.folder / name
        path.write_text(text)
        return path.as_uri()


class Diagnostics(Workspace):
    def test_follow_each_keystroke_in_all_files(self):
        cut = self.file("cut.ksl", "CUT: Mid\n  Axis = X\nEND\n")
        band = self.file("band.ksl", "BAND: b\n  Location = Mid\nEND\n")
        with Client(self.folder) as client:
            client.open(cut, "CUT: Mid\n  Axis = X\nEND\n")
            self.assertEqual(client.told(cut), [])
            client.change(cut, (span(1, 9, 10), "W"))
            finding, = client.told(cut)
            self.assertEqual(finding["range"], span(1, 9, 10))
            self.assertEqual((finding["severity"], finding["code"]), (1, 4))
            self.assertIn("Parameter 'Axis' cannot have value 'W'.", finding["message"])
            self.assertIn("X, Y, Z", finding["message"])
            client.change(cut, (span(1, 9, 10), "Y"), (span(0, 5, 8), "Off"))
            self.assertEqual(client.told(cut), [])
            finding, = client.told(band)  # which is not open
            self.assertIn("'Mid'", finding["message"])
            client.tell("textDocument/didClose", {"textDocument": {"uri": cut}})
            self.assertEqual(client.told(band), [])
            os.remove(self.folder / "cut.ksl")
            client.tell("workspace/didChangeWatchedFiles", {"changes": [{"uri": cut, "type": 3}]})
            self.assertEqual(len(client.told(band)), 1)

    def test_fixes_give_sound_texts(self):
        rows = [("CUT: a\n  Axis = Z1\nEND\n", "CUT: a\n  Axis = Z\nEND\n"),
                ("CUT: a\n  Axs = Z\nEND\n", "CUT: a\n  Axis = Z\nEND\n"),
                ("CUTT: a\nEND\n", "CUT: a\nEND\n"),
                ("CUT: a\n  Axis = Z\nENDE\n", "CUT: a\n  Axis = Z\nEND\n"),
                ("CUT: a\n  Axis = Z\n\nCUT: b\nEND\n", "CUT: a\n  Axis = Z\nEND\n\nCUT: b\nEND\n"),
                ("CUT: a\nEND\nBAND: b\n  Location = aa\nEND\n", "CUT: a\nEND\nBAND: b\n  Location = a\nEND\n"),
                ("> deleet /CUT:a\n", "> delete /CUT:a\n")]
        with Client(self.folder) as client:
            for number, (text, mended) in enumerate(rows):
                uri = (self.folder / f"{number}.ksl").as_uri()
                client.open(uri, text)
                self.assertTrue(client.told(uri), text)
                actions = client.of("codeAction", uri, range=span(0, 0, 0, 9), context={"diagnostics": []})
                preferred = [action for action in actions if action.get("isPreferred")]
                self.assertEqual(edited(text, preferred[0]["edit"]["changes"][uri]), mended)
                client.tell("textDocument/didClose", {"textDocument": {"uri": uri}})

    def test_positions_count_utf16(self):
        uri = (self.folder / "a.ksl").as_uri()
        with Client() as client:
            client.open(uri, "# \U0001d465\nCUT: \U0001d465\u00e9\r\n  Axis = X\r\nEND\n")
            self.assertEqual(client.told(uri), [])
            client.change(uri, (span(1, 5, 7), ""), (span(0, 2, 4), "\u00e9"), (span(1, 6, 2, 2), "\r\n\U0001d465"))
            symbol, = client.of("documentSymbol", uri)
            self.assertEqual((symbol["name"], symbol["selectionRange"]), ("\u00e9", span(1, 0, 6)))
            self.assertEqual([each["range"] for each in client.told(uri)], [span(2, 0, 6)])


class Completion(Workspace):
    def test_what_may_stand_here(self):
        self.file("other.ksl", "CUT: Mid\nEND\nEXPRESSIONS:\n  width = 2 [m]\nEND\n")
        uri = (self.folder / "a.ksl").as_uri()
        rows = [("", 0, ["CUT", "BAND"], ["Axis"]),
                ("CU", 2, ["CUT"], ["BAND"]),
                ("CUT: a\n  \nEND\n", 2, ["Axis", "Offset", "END"], []),
                ("CUT: a\n  Axis = \nEND\n", 9, ["X", "Y", "Z"], []),
                ("CUT: a\n  Offset = 2 [\nEND\n", 14, ["mm", "m"], ["kg"]),
                ("CUT: a\n  Offset = s\nEND\n", 12, ["sin(", "sqrt("], ["cos("]),
                ("CUT: a\n  Offset = wi\nEND\n", 13, ["width"], []),
                ("BAND: a\n  Location = \nEND\n", 13, ["Mid"], []),
                ("BAND: a\n  Location = /\nEND\n", 14, ["/CUT:Mid"], []),
                ("CUT: \nEND\n", 5, ["Mid"], []),
                ("> de", 4, ["delete "], ["copy "]),
                ("> copy fr", 9, ["from="], [])]
        with Client(self.folder) as client:
            for text, character, offered, others in rows:
                client.open(uri, text)
                line = min(1, text.count("\n", 0, -1)) if "\n" in text and not text.startswith("CUT: \n") else 0
                found = labels(client.at("completion", uri, line, character))
                for label in offered:
                    self.assertIn(label, found, text)
                for label in others:
                    self.assertNotIn(label, found, text)

    def test_snippets_hold_what_is_essential_and_are_sound(self):
        uri = (self.folder / "a.ksl").as_uri()
        with Client(self.folder) as client:
            client.open(uri, "CUT")
            item, = [each for each in client.at("completion", uri, 0, 3)["items"] if each["label"] == "CUT"]
            snippet = item["textEdit"]["newText"]
            self.assertIn("|X,Y,Z|}", snippet)
            text = re.sub(r"\$\{\d+[:|]([^}|,]*)[^}]*\}|\$0", r"\1", snippet)
            client.open(uri, "CUT: x\nEND\n" + text)
            self.assertIn("  Axis = X\n", text)
            self.assertEqual(client.told(uri)[1:], [])
        with Client(self.folder, snippets=False) as client:
            client.open(uri, "CUT")
            item, = [each for each in client.at("completion", uri, 0, 3)["items"] if each["label"] == "CUT"]
            self.assertEqual(item["textEdit"], {"range": span(0, 0, 3), "newText": "CUT: "})


class Names(Workspace):
    def setUp(self):
        super().setUp()
        self.texts = {"a.ksl": "CUT: Mid\nEND\nEXPRESSIONS:\n  width = 2 [m]\n  twice = 2 * width\nEND\n",
                      "b.ksl": "BAND: b\n  Location = /CUT:Mid\nEND\nBAND: c\n  Location = Mid\nEND\n"
                               "CUT: d\n  Offset = width + 1 [m]\nEND\n> fu Mid, /BAND:b\n> delete Mid\n"}
        self.uris = {name: self.file(name, text) for name, text in self.texts.items()}

    def test_definition_and_references(self):
        a, b = self.uris["a.ksl"], self.uris["b.ksl"]
        with Client(self.folder) as client:
            for line, character in ((1, 22), (4, 14), (9, 6), (10, 10)):
                self.assertEqual(client.at("definition", b, line, character), [{"uri": a, "range": span(0, 5, 8)}])
            found = client.at("references", a, 0, 6, context={"includeDeclaration": False})
            self.assertEqual([(each["uri"], each["range"]) for each in found],
                             [(b, span(1, 18, 21)), (b, span(4, 13, 16)), (b, span(9, 5, 8)), (b, span(10, 9, 12))])
            self.assertEqual(client.at("definition", b, 7, 12), [{"uri": a, "range": span(3, 2, 7)}])
            self.assertEqual(len(client.at("references", a, 4, 16, context={"includeDeclaration": True})), 3)
            self.assertIn("Axis", client.at("hover", a, 0, 1)["contents"]["value"])
            self.assertIn("/CUT:Mid", client.at("hover", b, 4, 14)["contents"]["value"])

    def test_rename_over_all_files(self):
        a, b = self.uris["a.ksl"], self.uris["b.ksl"]
        with Client(self.folder) as client:
            self.assertEqual(client.at("prepareRename", b, 1, 20), {"range": span(1, 18, 21), "placeholder": "Mid"})
            changes = client.at("rename", b, 1, 20, newName="Far Off")["changes"]
            for name, uri in self.uris.items():
                self.assertEqual(edited(self.texts[name], changes[uri]), self.texts[name].replace("Mid", "Far Off"))
            changes = client.at("rename", a, 3, 4, newName="span")["changes"]
            self.assertEqual(edited(self.texts["b.ksl"], changes[b]), self.texts["b.ksl"].replace("width", "span"))
            for name in ("d", "b/c", "b, c", "", "x # y"):
                self.assertIn("error", client.answer("textDocument/rename", {
                    "textDocument": {"uri": a}, "position": {"line": 0, "character": 6}, "newName": name}), name)
            self.assertIn("error", client.answer("textDocument/rename", {
                "textDocument": {"uri": a}, "position": {"line": 3, "character": 4}, "newName": "twice"}))


    def test_names_in_formulas_and_those_that_may_be_others(self):
        text = ("VARIABLE: Head\n  Expression = 'Low' + p * mag(Low.x) [Low]\nEND\nBAND: b\n  Variable = Low\nEND\n"
                "PROBE: o\n  Variable List = p, Low, U\nEND\nBAND: c\n  Variable = p\nEND\n")
        formulas, defined = self.file("m.ksl", text), self.file("n.ksl", "VARIABLE: Low\n  Expression = 2 * p\nEND\n")
        library = pathlib.Path(__file__).resolve().parents[2] / "share" / "ksl-results"
        with Client(self.folder, options=("--library", str(library))) as client:
            for line, character in ((1, 17), (1, 32), (4, 14), (7, 23)):
                self.assertEqual(client.at("definition", formulas, line, character), [{"uri": defined, "range": span(0, 10, 13)}])
            for line, character in ((1, 23), (1, 38), (10, 13)):  # of the file, a unit, of the file
                self.assertIsNone(client.at("definition", formulas, line, character))
            changes = client.at("rename", defined, 0, 11, newName="Lower")["changes"]
            self.assertEqual(edited(text, changes[formulas]), text.replace("Low", "Lower").replace("[Lower]", "[Low]"))
            for name in ("p", "Low Pressure"):  # would be found in a formula; would be two words there
                self.assertIn("error", client.answer("textDocument/rename", {
                    "textDocument": {"uri": defined}, "position": {"line": 0, "character": 11}, "newName": name}), name)


class Forms(Workspace):
    text = "CUT:   a  # why\n  Axis=X\n  Offset = 25 [cm]\nEND\n\n\n# one\n# two\nBAND: b\nLocation = \\\n a\nEND\n"

    def test_formatting_symbols_folding_tokens(self):
        uri = (self.folder / "a.ksl").as_uri()
        with Client(self.folder) as client:
            client.open(uri, self.text)
            edits = client.of("formatting", uri, options={"tabSize": 4, "insertSpaces": True})
            style = subprocess.run([KSL, "fmt", "-"], input=self.text, capture_output=True, text=True, check=True)
            self.assertEqual(edited(self.text, edits), style.stdout)
            partly = client.of("rangeFormatting", uri, range=span(1, 0, 3), options={})
            self.assertEqual(edited(self.text, partly), self.text.replace("Axis=X", "Axis = X"))
            symbols = client.of("documentSymbol", uri)
            self.assertEqual([(each["detail"], each["name"], each["range"]["end"]["line"]) for each in symbols],
                             [("CUT", "a", 3), ("BAND", "b", 11)])
            folds = [(each["startLine"], each["endLine"]) for each in client.of("foldingRange", uri)]
            self.assertEqual(folds, [(0, 3), (6, 7), (8, 11), (9, 10)])
            legend = client.capabilities["semanticTokensProvider"]["legend"]["tokenTypes"]
            data = client.of("semanticTokens/full", uri)["data"]
            line, character, pieces = 0, 0, []
            for down, right, length, kind, _ in zip(*[iter(data)] * 5):
                line, character = line + down, right if down else character + right
                pieces.append((self.text.split("\n")[line][character:character + length], legend[kind]))
            for piece in (("CUT", "type"), ("# why", "comment"), ("Axis", "property"), ("X", "enumMember"),
                          ("25", "number"), ("END", "keyword"), ("\\", "operator")):
                self.assertIn(piece, pieces)


class Protocol(Workspace):
    def test_goes_on_after_anything(self):
        uri = (self.folder / "a.ksl").as_uri()
        with Client(start=False) as client:
            client.write(b"nonsense\r\n\r\nContent-Length: x\r\n\r\nContent-Length: 4\r\n\r\n{]}[")
            self.assertEqual(client.read()["error"]["code"], -32700)
            for body in (b"[]", b"3", b'{"id": 1}', b'{"id": {}, "method": 4}'):
                client.write(b"Content-Length: %d\r\n\r\n" % len(body) + body)
                self.assertEqual(client.read()["error"]["code"], -32600)
            self.assertEqual(client.answer("textDocument/hover", {})["error"]["code"], -32002)
            client.ask("initialize", {"capabilities": 4, "workspaceFolders": [3, None], "rootUri": []})
            self.assertEqual(client.answer("initialize", {})["error"]["code"], -32600)
            self.assertEqual(client.answer("no/such", {})["error"]["code"], -32601)
            for params in (None, 7, {"textDocument": 3}, {"textDocument": {"uri": "untitled:none"}}):
                for method in ("hover", "rename", "formatting", "codeAction", "semanticTokens/range"):
                    self.assertEqual(client.answer("textDocument/" + method, params)["error"]["code"], -32602)
                client.tell("textDocument/didChange", params)
                client.tell("textDocument/didOpen", params)
            client.open(uri, "CUT: a\nEND\n")
            client.change(uri, (span(90, 1, 1), "x"), (span(0, 99, 0, 0), "y"), (None, "CUT: b\nEND"))
            self.assertEqual([each["name"] for each in client.of("documentSymbol", uri)], ["b"])
            self.assertIsNone(client.ask("shutdown"))
            self.assertEqual(client.answer("shutdown")["error"]["code"], -32600)
            client.tell("exit", None)
            self.assertEqual(client.process.wait(timeout=20), 0)

    def test_exit_status(self):
        for end in (lambda client: client.tell("exit", None), lambda client: client.process.stdin.close()):
            with Client() as client:
                end(client)
                self.assertEqual(client.process.wait(timeout=20), 1)


if __name__ == "__main__":
    if len(sys.argv) > 1 and os.path.exists(sys.argv[1]):
        KSL = sys.argv.pop(1)
    unittest.main()
