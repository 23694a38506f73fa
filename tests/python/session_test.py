"""The package ksl: what its documents do not show."""

import doctest
import gc
import os
import pathlib
import pickle
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import numpy  # noqa: F401: that it takes long to load is not ours

import ksl
import ksl._objects

SOURCES = pathlib.Path(__file__).resolve().parents[2]
RINGS = """
RULES:
  SchedulerTypes = Size
  KSLObjectClasses = GenericKSLObject
  OBJECT: RING
    KSLObject Class = GenericKSLObject
    Scheduler = Size
    Calculate Function = Size, python, ringArea
    Essential Parameter List = Outer Radius, Inner Radius, Base
    Internal Parameter List = Area
  END
  PARAMETER: Outer Radius
    Default = 2 [m]
    Local Type = Size
  END
  PARAMETER: Inner Radius
    Default = 1 [m]
    Local Type = Size
  END
  PARAMETER: Base
    Local Type = Size
    Remote Type = Size
  END
  PARAMETER: Area
  END
END
"""
TOWER = "RING: a\nEND\nRING: b\n  Base = /RING:a\nEND\nRING: c\n  Base = /RING:b\nEND\n"


class InFolder(unittest.TestCase):
    def setUp(self):
        self.enterContext(tempfile.TemporaryDirectory())
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)


class Rings(unittest.TestCase):
    """Each ring stands on another, and its area is added: a calculation in the middle of a graph."""

    def setUp(self):
        self.session = self.enterContext(ksl.Session(rules=RINGS))
        self.calls = []

        @self.session.calculation("ringArea")
        def area(ring):
            self.calls.append(ring.path)
            if float(ring["Inner Radius"]) < 0:
                ring["negative"]
            below = float(self.session[ring["Base"]]["Area"]) if ring["Base"] else 0
            ring["Area"] = below + ring["Outer Radius"].to("m") ** 2 - ring["Inner Radius"].to("m") ** 2
            self.leaked = ring
        self.session.run(TOWER)

    def areas(self):
        return self.session.objects("RING").column("Area").tolist()

    def test_computes_in_order_with_undo(self):
        self.assertEqual(self.areas(), [3, 6, 9])
        self.calls.clear()
        self.session["b"]["Inner Radius"] = "0 [m]"
        self.assertEqual(self.calls, ["/RING:b", "/RING:c"])
        self.assertEqual(self.areas(), [3, 7, 10])
        self.session.undo()
        self.assertEqual(self.areas(), [3, 6, 9])
        with self.assertRaisesRegex(ksl.Error, "is over"):
            self.leaked["Area"]

    def test_exception_is_one_report_that_names_object_and_line(self):
        heard, own_causes = [], []

        def hear(outcome):
            heard.append(outcome)
            if len(heard) == 1:
                with self.assertRaises(ksl.Error) as own:
                    self.session.run("NONE: a\nEND\n")
                own_causes.append(own.exception.__cause__)
        self.session.subscribe(hear)
        with self.assertRaises(ksl.Error) as raised:
            self.session.run("RING: a\n  Outer Radius = 4 [m]\nEND\nRING: b\n  Inner Radius = -1 [m]\nEND\n")
        error = raised.exception
        line = next(n for n, text in enumerate(pathlib.Path(__file__).read_text().splitlines(), 1) if '["negative"]' in text)
        self.assertEqual((error.file, error.line, error.object), (__file__, line, "/RING:b"))
        self.assertEqual([str(report) for report in error.outcome.errors],
                         [f"error[4] python::ringArea: Calculation of object '/RING:b' failed ({__file__}, line {line}): "
                          "KeyError: 'negative'"])
        self.assertIsInstance(error.__cause__, KeyError)
        self.assertEqual(self.areas(), [3, 6, 9])
        self.assertEqual((len(heard), own_causes), (2, [None]))
        self.assertEqual(pickle.loads(pickle.dumps(error)).line, line)

    def test_command_in_pieces_leaves_nothing_however_it_fails(self):
        before = self.session.state()

        def fail_in_python():
            raise RuntimeError("python")
        failures = {RuntimeError: fail_in_python, KeyError: lambda: self.session["none"],
                    ksl.Error: lambda: self.session["b"].update({"Inner Radius": -1.0}),
                    TypeError: lambda: self.session["b"].update({"Inner Radius": object()}),
                    KeyboardInterrupt: lambda: signal.raise_signal(signal.SIGINT)}
        for kind, fail in failures.items():
            with self.subTest(kind), self.assertRaises(kind):
                with self.session.command():
                    self.session["a"]["Inner Radius"] = 0
                    self.assertEqual(self.areas(), [4, 7, 10], "the changes can be seen inside")
                    fail()
            self.assertEqual((self.session.state(), self.areas()), (before, [3, 6, 9]))
        with self.assertRaisesRegex(ksl.Error, "has failed"), self.session.command():
            try:
                self.session.run("NONE: a\nEND")
            except ksl.Error:
                pass
            self.session["a"]["Inner Radius"] = 0
        self.assertEqual(self.session.state(), before)
        titles = []
        self.session.subscribe(lambda outcome: titles.append(outcome.title))
        with self.session.command("both"):
            self.session["a"]["Inner Radius"] = 0
            self.session["b"]["Inner Radius"] = 0
        self.assertEqual(titles, ["both"])
        self.session.undo()
        self.assertEqual(self.areas(), [3, 6, 9])

    def test_commands_of_a_calculation_are_part_of_the_command(self):
        def meddle(ring):
            try:
                self.session.run("NONE: a\nEND")
            except ksl.Error:
                pass  # what is kept here fails the command all the same
        self.session.calculation("ringArea")(meddle)
        with self.assertRaisesRegex(ksl.Error, "Could not find object: NONE"):
            self.session["a"]["Inner Radius"] = 0
        self.assertEqual(self.areas(), [3, 6, 9])
        self.session.calculation("ringArea")(lambda ring: self.session.close())
        with self.assertRaisesRegex(ksl.Error, "A command is under way"):
            self.session["a"]["Inner Radius"] = 0

    def test_control_c_takes_a_command_back(self):
        text = "".join(f"RING: r{i}\nEND\n" for i in range(400000))
        for work in (self.session.plan, self.session.run):
            timer = threading.Timer(0.3, lambda: os.kill(os.getpid(), signal.SIGINT))
            timer.start()
            started = time.monotonic()
            with self.subTest(work), self.assertRaises(KeyboardInterrupt):
                work(text)
            self.assertLess(time.monotonic() - started, 60)
            timer.join()
            self.assertEqual(len(self.session), 3)
        self.session["a"]["Inner Radius"] = 0
        self.assertEqual(self.areas(), [4, 7, 10])


class Objects(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(ksl.Session())
        self.session.run("CUT: a\n  Offset = 25 [cm]\nEND\nDOMAIN: d\n  BOUNDARY: b\n  END\nEND\n")

    def test_mappings_and_trees(self):
        cut = self.session["a"]
        self.assertEqual(cut["Offset"], "25 [cm]")
        self.assertEqual((cut["Offset"].to("m"), cut["Offset"].units, float(cut["Offset"])), (0.25, "cm", 25))
        self.assertEqual(dict(cut)["Axis"], "X")
        self.assertNotIn("Area", set(cut))
        self.assertIn("Area", cut)
        cut.update([("Offset", 2), ("Axis", "Z")], Visibility=False)
        self.assertEqual((cut["Offset"], cut["Axis"], cut["Visibility"]), ("2", "Z", "False"))
        self.session.undo()
        self.assertEqual(cut["Axis"], "X")
        self.assertEqual([o.path for o in self.session.root.walk()], ["/", "/CUT:a", "/DOMAIN:d", "/DOMAIN:d/BOUNDARY:b"])
        boundary = self.session["/DOMAIN:d/BOUNDARY:b"]
        self.assertEqual((boundary.type, boundary.name, boundary.parent), ("BOUNDARY", "b", self.session["d"]))
        self.assertEqual(len(self.session), len(list(self.session)))
        del self.session["d"]
        self.assertFalse(boundary.exists())
        self.assertNotIn("d", self.session)

    def test_what_is_not_there(self):
        cut = self.session["a"]
        for ask in (lambda: self.session["none"], lambda: self.session[0], lambda: cut["none"], lambda: cut[0]):
            with self.assertRaises(KeyError):
                ask()
        with self.assertRaises(ksl.Error) as raised:
            cut["none"] = 1
        self.assertIsNone(raised.exception.line)
        with self.assertRaises(ksl.Error):
            cut["Offset"] = "1 # 2"
        with self.assertRaises(ksl.Error):
            cut["Offset"].to("s")
        del self.session["a"]
        with self.assertRaisesRegex(ksl.Error, "Object '/CUT:a' does not exist."):
            cut["Offset"]
        self.session.close()
        with self.assertRaisesRegex(ksl.Error, "closed"):
            self.session.state()

    def test_bytes_that_are_no_text(self):
        path = os.fsencode(self.enterContext(tempfile.TemporaryDirectory())) + b"/\xe4.ksl"
        pathlib.Path(os.fsdecode(path)).write_bytes(b"CUT: \xfc\nEND\n")
        self.session.run_file(os.fsdecode(path))
        cut = self.session.objects("CUT")[1]
        self.assertEqual(os.fsencode(cut.name), b"\xfc")
        self.assertIn("CUT <b>?</b>", self.session._repr_html_())
        with self.assertRaises(ksl.Error) as raised:
            cut["Axis"] = "\udcff"
        self.assertEqual(os.fsencode(raised.exception.message), b"Parameter 'Axis' cannot have value '\xff'.")
        state = self.session.state()
        self.session.undo()
        self.session.run(state)
        self.assertEqual(self.session.state(), state)

    def test_columns_are_quick(self):
        text = "".join(f"CUT: c{i}\n  Offset = {i} [mm]\nEND\n" for i in range(100000))
        started = time.process_time()
        self.session.run(text)
        loaded = time.process_time()
        offsets = self.session.objects("CUT").column("Offset", "m")
        self.assertEqual((len(offsets), offsets[-1]), (100001, 99.999))
        self.assertLess(time.process_time() - loaded, 0.3 * (loaded - started))

    def test_observers(self):
        heard = []
        take_away = self.session.subscribe(lambda outcome: heard.append([str(change) for change in outcome.changes]))
        self.session["a"]["Offset"] = "1 [m]"
        take_away()
        self.session.undo()
        self.assertEqual(heard, [["value /CUT:a Offset = 1 [m]"]])


class Threads(unittest.TestCase):
    def test_sessions_on_threads_share_nothing_and_run_at_once(self):
        """One computes in the library while the other one runs Python code."""
        others, stop = [], threading.Event()

        def count():
            with ksl.Session(rules=RINGS) as own:
                own.calculation("ringArea")(lambda ring: None)
                while not stop.is_set():
                    own.run("RING: a\nEND")
                    own.undo()
                    others.append(len(own))
        thread = threading.Thread(target=count)
        thread.start()
        try:
            with ksl.Session() as session:
                before = len(others)
                session.run("".join(f"CUT: c{i}\nEND\n" for i in range(20000)))
                self.assertGreater(len(others), before)
                self.assertEqual(len(session), 20000)
        finally:
            stop.set()
            thread.join()
        self.assertEqual(set(others), {0})

    def test_one_session_lets_threads_in_one_after_the_other(self):
        with ksl.Session() as session:
            session.run("CUT: a\nEND")

            def work():
                for _ in range(50):
                    with session.command():
                        session["a"]["Offset"] = float(session["a"]["Offset"]) + 1
            threads = [threading.Thread(target=work) for _ in range(4)]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
            self.assertEqual(float(session["a"]["Offset"]), 200)


class Notebooks(InFolder):
    def test_pictures_and_trees(self):
        with ksl.Session() as session:
            self.assertIsNone(session._repr_svg_())
            session.run_file(SOURCES / "examples/04-flow-picture.ksl")
            session.run("CUT: <b>\nEND\n")
            self.assertIn("<svg", session._repr_svg_())
            html = session._repr_html_()
            for part in ("<svg", "<summary>CUT <b>Mid Span</b></summary>", "<summary>BOUNDARY <b>Cylinder</b></summary>",
                         "CUT <b>&lt;b&gt;</b>"):
                self.assertIn(part, html)


class SweepTest(InFolder):
    def test_table(self):
        model = SOURCES / "examples/04-flow-picture.ksl"
        values = {"/DOMAIN:Wind Tunnel/BOUNDARY:Inflow.Inlet Speed": [f"{speed} [m s^-1]" for speed in (5, 10)],
                  "/CUT:Mid Span.Offset": "0..20/2 [cm]"}
        one, two = (ksl.sweep(model, values, pictures=f"p{jobs}", jobs=jobs) for jobs in (1, 2))
        self.assertEqual(len(one), 4)
        speed = "/DOMAIN:Wind Tunnel/BOUNDARY:Inflow.Inlet Speed [m s^-1]"
        for row, other in zip(one.rows, two.rows):
            self.assertEqual(row.pop("errors"), other.pop("errors"), [])
            for mine, theirs in zip(row.pop("files"), other.pop("files")):
                self.assertEqual(pathlib.Path(mine).read_text(), pathlib.Path(theirs).read_text())
        self.assertEqual(one.rows, two.rows)
        self.assertEqual([(row[speed], row["/CUT:Mid Span.Offset [cm]"]) for row in one.rows],
                         [(5, 0), (5, 20), (10, 0), (10, 20)])
        self.assertEqual(sorted(path.name for path in pathlib.Path("p1").iterdir()), ["0001", "0002", "0003", "0004"])
        self.assertFalse(pathlib.Path("flow-picture.svg").exists())
        one.to_csv("table.csv")
        self.assertEqual(len(pathlib.Path("table.csv").read_text().splitlines()), 5)

    def test_faults(self):
        rows = ksl.sweep(text="CUT: a\nEND", set={"a.Axis": ["Z", "none", "X"]}).rows
        self.assertEqual([len(row["errors"]) for row in rows], [0, 1, 0])
        for model, values in (("NONE: a\nEND", {"a.Axis": "X"}), ("CUT: a\nEND", {"b.Axis": "X"}),
                              ("CUT: a\nEND", {"a": "X"}), ("CUT: a\nEND", {})):
            with self.subTest(model=model, values=values), self.assertRaises(ksl.Error):
                ksl.sweep(text=model, set=values)


class Package(unittest.TestCase):
    def test_no_session_is_kept(self):
        gc.collect()
        before = len([one for one in gc.get_objects() if isinstance(one, ksl.Session)])
        session = ksl.Session()  # which holds functions that hold it
        session.subscribe(lambda outcome, own=session: None)
        session.calculation("x")(lambda ring, own=session: None)
        del session
        gc.collect()
        self.assertEqual(len([one for one in gc.get_objects() if isinstance(one, ksl.Session)]), before)

    def test_types(self):
        mypy = [sys.executable, "-m", "mypy", "--strict", "--no-error-summary", str(SOURCES / "python/ksl")]
        with tempfile.TemporaryDirectory() as cache:
            done = subprocess.run([*mypy, "--cache-dir", cache], stdout=subprocess.PIPE, text=True)
        self.assertEqual(done.stdout, "")

    def test_stub_is_the_module(self):
        stub = (SOURCES / "python/ksl/_ksl.pyi").read_text()
        for name, thing in [(None, ksl._ksl)] + [(name, getattr(ksl._ksl, name)) for name in re.findall(r"^class (\w+)", stub, re.M)]:
            block = stub if name is None else re.search(rf"^class {name}:\n((?: .*\n|\n)*)", stub, re.M)[1]
            pattern = r"^(?:class|def) (\w+)" if name is None else r"^    def (\w+)"
            names = {word for word in re.findall(pattern, block, re.M) if not word.startswith("__")}
            self.assertEqual(names, {word for word in vars(thing) if not word.startswith("_")} - {"version"}, name)


class Documents(InFolder):
    def test_examples_run(self):
        """In the order in which they stand, as a person would enter them."""
        os.symlink(SOURCES / "examples", "examples")
        for document in ("docs/python.md",):
            result = doctest.testfile(str(SOURCES / document), module_relative=False,
                                      optionflags=doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE)
            self.assertGreater(result.attempted, 10)
            self.assertEqual(result.failed, 0)
        for module in (ksl, ksl._objects):
            self.assertEqual(doctest.testmod(module).failed, 0)


if __name__ == "__main__":
    unittest.main()
