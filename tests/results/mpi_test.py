#!/usr/bin/env python3
"""`ksl-mpi` in several processes against `ksl` in one."""

import base64
import csv
import math
import os
import pathlib
import random
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import zlib

import grids

SOURCE = pathlib.Path(__file__).resolve().parents[2]
KSL = os.environ["KSL_BIN"]
KSL_MPI = os.environ["KSL_MPI_BIN"]
LIBRARY = SOURCE / "share" / "ksl-results"
ENVIRONMENT = {**{k: v for k, v in os.environ.items() if k != "DISPLAY"}, "OMPI_ALLOW_RUN_AS_ROOT": "1",
               "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM": "1", "OMPI_MCA_rmaps_base_oversubscribe": "1"}
LONGEST = 20  # seconds for a failure to end all, on an idle machine
PATIENCE = 300

FLUX = "CUT: c\nAxis = X\nOffset = 0.7 [m]\nEND\nINTEGRAL: i\nOption = Flux\nLocation = c\nVariable = U\nEND\n"
NUMBERS = FLUX + """
CUT: s
  Option = Point and Normal
  Point = 1 [m], 0.4 [m], 0.5 [m]
  Normal = 1, 2, 3
  Clip Shape = Circle
  Clip Radius = 0.4 [m]
END
CLIP: v
  Axis = Y
  Offset = 0.6 [m]
END
THRESHOLD: t
  Variable = p
  Min = 6 [Pa]
END
LEVEL SURFACE: l
  Option = Fraction
  Variable = p
  Fraction = 0.47
END
PATCH: w
END
VARIABLE: g
  Expression = mag(grad(p)) * U.x
END
INTEGRAL: area
  Option = Area
  Location = w
END
INTEGRAL: mean
  Option = Average
  Location = s
  Variable = p
END
INTEGRAL: moment
  Option = Moment
  Location = w
  Variable = p
END
INTEGRAL: least
  Option = Minimum
  Location = t
  Variable = U.y
END
INTEGRAL: most
  Option = Maximum
  Location = w
  Variable = p
END
INTEGRAL: steepness
  Option = Integral
  Location = v
  Variable = g
END
INTEGRAL: level
  Option = Average
  Location = l
  Variable = U
END
PROBE: line
  Option = Line
  Point 1 = -1 [m], 0.4 [m], 0.3 [m]
  Point 2 = 3 [m], 0.5 [m], 0.3 [m]
  Samples = 23
  Variable List = p, U.x
END
TABLE: table
  Value List = i, area, mean, moment, least, most, steepness, level, line
  Output File = table.csv
END
"""


class MpiTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ksl-mpi-test-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        grids.legacy(self.folder / "grid.vtk")
        self.grid = "RESULTS:\nResults File = grid.vtk\nVariable Units = p=Pa, U=m s^-1\nEND\n"

    def words(self, processes, *words):
        return ["mpirun", "-q", "-n", str(processes), KSL_MPI, *words] if processes else [KSL, *words]

    @staticmethod
    def words_each(settings, *words):
        """Processes that differ: for each, a setting of its environment."""
        return ["mpirun", "-q", *[word for setting in settings for word in (":", "-n", "1", "-x", setting, KSL_MPI, *words)][1:]]

    def run_words(self, words, status=0, text=None):
        done = subprocess.run(words, cwd=self.folder, env=ENVIRONMENT, capture_output=True, text=True, input=text or "", timeout=PATIENCE)
        self.assertEqual(done.returncode, status, done.stderr)
        return done

    def ksl(self, processes, *texts, options=(), status=0):
        words = [word for text in texts for word in ("-e", text)]
        return self.run_words(self.words(processes, "run", "--library", str(LIBRARY), *options, *words), status)

    def start(self, processes, *texts, options=(), before=()):
        words = [word for text in texts for word in ("-e", text)]
        return subprocess.Popen(["mpirun", *before, *self.words(processes, "run", "--library", str(LIBRARY), *options, *words)[1:]], cwd=self.folder, env=ENVIRONMENT,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def table(self):
        return [row for row in csv.reader((self.folder / "table.csv").read_text().splitlines()) if row]

    def assert_same(self, found, wanted, precision):
        self.assertEqual(len(found), len(wanted))
        for row, other in zip(found, wanted):
            for cell, value in zip(row, other, strict=True):
                try:
                    self.assertAlmostEqual(float(cell), float(value), delta=precision * max(1, abs(float(value))), msg=str(other))
                except ValueError:
                    self.assertEqual(cell, value)

    def children(self, run):
        """The processes of a run, by their number."""
        for _ in range(100):
            listed = subprocess.run(["ps", "-o", "pid=,comm=", "--ppid", str(run.pid)], capture_output=True, text=True).stdout
            found = [int(line.split()[0]) for line in listed.splitlines() if "ksl-mpi" in line]
            if len(found) == 2:
                return sorted(found)
            time.sleep(0.1)
        self.fail("no processes")

    def assert_gone(self, processes):
        end = time.monotonic() + LONGEST
        while any(pathlib.Path(f"/proc/{process}").exists() for process in processes):
            self.assertLess(time.monotonic(), end)
            time.sleep(0.1)

    # ---- the same as in one process

    def test_numbers_are_those_of_one_process(self):
        for name, text, processes, precision in (
                ("split", self.grid, (1, 2, 4), 1e-9),
                ("values of cells", self.grid.replace("grid.vtk", "cells.vtk"), (3,), 1e-9),
                ("pieces", self.grid.replace("grid.vtk", "pieces.pvtu"), (0, 2, 4), 1e-9),
                ("polyhedra", self.grid.replace("grid.vtk", "polyhedra.vtu"), (1, 2, 4), 1e-4),
                ("decomposed", "RESULTS:\nResults File = case\nCase Type = Decomposed\nTime = 0 [s]\nEND\n", (0, 2, 4), 1e-6)):
            grids.legacy(self.folder / "cells.vtk", on_cells=True)
            grids.pvtu(self.folder / "pieces.pvtu", pieces=3)
            grids.vtu(self.folder / "polyhedra.vtu", "polyhedra")
            (self.folder / "case").exists() or grids.foam(self.folder / "case", parts=2)
            (self.folder / "whole").exists() or grids.foam(self.folder / "whole")
            whole = text.replace("pieces.pvtu", "grid.vtk").replace("= case", "= whole").replace("Decomposed", "Reconstructed")
            self.ksl(0, whole + NUMBERS)
            wanted = self.table()
            self.assertGreater(len(wanted), 30)
            for count in processes:
                with self.subTest(name, processes=count):
                    self.ksl(count, text + NUMBERS)
                    self.assert_same(self.table(), wanted, precision)

    def test_output_and_journal_are_those_of_one_process(self):
        texts = (self.grid + FLUX, "CUT: c\nOffset = 9 [m]\nEND\n", ">undo", ">redo", ">savestate filename=saved.qst, mode=overwrite",
                 ">delete /INTEGRAL:i", ">readstate filename=saved.qst, mode=overwrite", "CUT: d\nOfset = 1 [m]\nEND\n")
        said = []
        for processes in (0, 2):
            done = self.ksl(processes, *texts, options=("--state", "--record", f"{processes}.ses"), status=1)
            journal = (self.folder / f"{processes}.ses").read_text().replace(f"{processes}.ses", "")
            said.append((done.stdout, done.stderr.replace(f"{processes}.ses", ""), re.sub(r"^#.*\n", "", journal, flags=re.M),
                         re.sub(r"^#.*\n", "", (self.folder / "saved.qst").read_text(), flags=re.M)))
        self.assertGreater(len(said[0][0]), 200)
        self.assertEqual(said[1], said[0])
        replayed = self.run_words(self.words(2, "replay", "--library", str(LIBRARY), "0.ses", "--state"), 1)
        self.assertEqual(replayed.stdout, said[0][0])
        typed = self.run_words(self.words(2, "run", "--library", str(LIBRARY), "-", "--state"), text=self.grid + FLUX)
        self.assertIn("INTEGRAL:i", typed.stdout)

    def test_pictures_and_streamlines_are_whole(self):
        shutil.copy(SOURCE / "examples" / "results" / "cylinder.vtu", self.folder)
        text = ("RESULTS:\nResults File = cylinder.vtu\nEND\nCUT: c\nAxis = Z\nOffset = 0.1 [m]\nEND\nBAND: b\nLocation = c\nVariable = p\nOutline = On\nEND\n"
                "PATCH: w\nEND\nMESH LINES: m\nLocation = w\nEND\nOUTLINE: o\nLocation = w\nEND\nARROW: a\nLocation = c\nVariable = U\nSpacing = 0.5 [m]\nEND\n"
                "STREAMLINES: l\nVariable = U\nWay = Forward\nPoint 1 = -5.9 [m], -2.8 [m], 0.1 [m]\nPoint 2 = -5.9 [m], 2.8 [m], 0.1 [m]\nLine Count = 31\nEND\n")
        shots = "".join(f"SHOT: f{name}\nPicture List = {name}\nOutput File = {name}.vtp\nEND\n" for name in "bwmoal")
        seen = []
        lines = []
        for processes in (0, 4):
            self.ksl(processes, text + shots + "SHOT: p\nPicture List = b, l\nOutput File = p.png\nEND\n")
            self.assertEqual((self.folder / "p.png").read_bytes()[:8], b"\x89PNG\r\n\x1a\n")
            seen.append({name: self.cells_and_extent(f"{name}.vtp") for name in "bwmoa"})
            lines.append(self.lengths("l.vtp"))
        for name in "bwmo":
            self.assertEqual(seen[1][name], seen[0][name])
        for one, other in zip(seen[1]["a"][1:], seen[0]["a"][1:]):  # which points have arrows hangs on their order
            self.assertAlmostEqual(one, other, delta=0.3)
        self.assertEqual((len(lines[0]), len(lines[1])), (31, 31))
        for one, other in zip(*lines):  # from the inlet to the outlet, 19.9 m apart
            self.assertAlmostEqual(one, other, delta=0.01)
            self.assertGreater(one, 19.89)

    def lengths(self, file):
        """Of the lines in a .vtp file."""
        text = (self.folder / file).read_text()
        data = text[text.index("_", text.index("<AppendedData")) + 1:]

        def array(name, kind):
            at = data[int(re.search(rf'Name="{name}"[^>]*offset="(\d+)"', text[text.index("</CellData>" if name == "Points" else "<Lines>"):])[1]):]
            blocks = struct.unpack("<I", base64.b64decode(at[:8])[:4])[0]
            head = -(-(12 + 4 * blocks) // 3) * 4
            sizes = struct.unpack_from(f"<{blocks}I", base64.b64decode(at[:head]), 12)
            body = base64.b64decode(at[head:head + -(-sum(sizes) // 3) * 4])
            ends = [sum(sizes[:i]) for i in range(blocks + 1)]
            return [value for value, in struct.iter_unpack(kind, b"".join(zlib.decompress(body[a:b]) for a, b in zip(ends, ends[1:])))]

        where = array("Points", "<d")
        points = list(zip(where[::3], where[1::3], where[2::3]))
        corners, ends = array("connectivity", "<q"), [0, *array("offsets", "<q")]
        lines = [[points[corner] for corner in corners[a:b]] for a, b in zip(ends, ends[1:])]
        return [sum(map(math.dist, line, line[1:])) for line in lines]

    def cells_and_extent(self, file):
        said = self.run_words([KSL, "get", "--library", str(LIBRARY), "-e", f"RESULTS:\nResults File = {file}\nEND\n", "RESULTS", "Cell Count,Extent"]).stdout
        return [float(number) for number in re.findall(r"-?[\d.e]+(?= \[m\]|$)", said, re.M)]

    # ---- what goes wrong

    def test_a_failure_of_one_process_fails_all(self):
        case = grids.foam(self.folder / "case", parts=2)
        grids.pvtu(self.folder / "pieces.pvtu", pieces=2)
        corrupt = case / "processor1" / "1" / "p"
        corrupt.write_text(corrupt.read_text()[:260])
        (case / "processor0" / "0" / "U").unlink()
        (self.folder / "pieces.pvtu.piece1.vtu").unlink()
        foam = "RESULTS:\nResults File = case\nCase Type = Decomposed\nTime = {}\nEND\n"
        for name, text, says in (("corrupt", foam.format("1 [s]"), "Process 1 of 2: Results file 'case' cannot be read"),
                                 ("missing", foam.format("0 [s]"), "Process 0 of 2: Field 'U' is in the pieces of other processes"),
                                 ("missing piece", "RESULTS:\nResults File = pieces.pvtu\nEND\n", "Process 1 of 2: Results file 'pieces.pvtu' cannot be read"),
                                 ("other state", ">readstate filename=/proc/self/stat, mode=append", "Process 1 of 2 reads something else")):
            with self.subTest(name):
                before = time.monotonic()
                done = self.ksl(2, self.grid + FLUX, text, "CUT: c\nOffset = 0.8 [m]\nEND\n", options=("--state",), status=1)
                self.assertLess(time.monotonic() - before, LONGEST)
                self.assertEqual(done.stderr.count("error["), 1, done.stderr)
                self.assertIn(says, done.stderr)
                self.assertEqual(re.findall(r"0x[0-9a-f]+|\.cxx|ksl-results-", done.stderr), [])
                self.assertEqual(done.stdout, self.ksl(0, self.grid + FLUX, "CUT: c\nOffset = 0.8 [m]\nEND\n", options=("--state",)).stdout)

    def test_results_that_are_in_pieces_to_one_process_only(self):
        """Whichever it is, it is a failure like others, and the run goes on."""
        other = self.folder / "other"
        other.mkdir()
        shutil.copy(self.folder / "grid.vtk", other)
        grids.pvtu(self.folder / "pieces.pvtu", pieces=2)
        for folder, file in ((self.folder, "pieces.pvtu"), (other, "grid.vtk")):
            (folder / "all.pvd").write_text(f'<VTKFile type="Collection"><Collection><DataSet timestep="0" file="{file}"/></Collection></VTKFile>')
        words = [KSL_MPI, "run", "--library", str(LIBRARY), "--state", "-e", self.grid, "-e", "RESULTS: o\nResults File = all.pvd\nEND\n",
                 "-e", "CUT: c\nAxis = X\nOffset = 0.7 [m]\nEND\n"]
        for folders in ((self.folder, other), (other, self.folder)):
            with self.subTest(first=folders[0].name):
                turn = [word for folder in folders for word in (":", "-wdir", str(folder), "-n", "1", *words)][1:]
                done = self.run_words(["mpirun", "-q", *turn], 1)
                self.assertEqual(done.stderr.count("error["), 1, done.stderr)
                self.assertIn("Results file 'all.pvd' is in pieces for some processes, and whole for others.", done.stderr)
                self.assertIn("CUT:c", done.stdout)

    def test_models_that_differ_end_the_run(self):
        rules = self.folder / "rules"
        shutil.copytree(LIBRARY, rules)
        for file in rules.glob("*.ksl"):
            file.write_text(file.read_text().replace("Default = 11\n", "Default = 12\n"))
        done = self.run_words(self.words_each([f"ORV_KSL_LIBRARY_PATH={path}" for path in (LIBRARY, rules)], "run", "-e", "PALETTE: q\nEND\n",
                                              "-e", "BAND: b\nEND\n", "-e", "CUT: c\nEND\n"), 1)
        self.assertEqual(done.stderr.count("error["), 1, done.stderr)
        self.assertRegex(done.stderr, r"the models of process 0 and process 1 differ, first in /\S+. The run is stopped")

    def test_random_commands_leave_the_same_everywhere(self):
        dice = random.Random(15)
        commands = [self.grid + FLUX + "BAND: b\nLocation = c\nVariable = p\nEND\nPROBE: x\nPoint = 0.3 [m], 0.4 [m], 0.6 [m]\nVariable List = p\nEND\n"]
        while len(commands) < 200:
            commands.append(dice.choice((
                lambda: f"CUT: c\nOffset = {dice.choice((-1, 0.1, 0.5, 0.9, 1.9, 7))} [m]\nEND\n",
                lambda: f"CUT: {dice.choice('cdef')}\nAxis = {dice.choice('XYZ')}\nOffset = {dice.random():.2f} [m]\nEND\n",
                lambda: f"INTEGRAL: {dice.choice('ijk')}\nLocation = {dice.choice('cdef')}\nVariable = {dice.choice(('U', 'p', 'T', 'v'))}\nEND\n",
                lambda: f"VARIABLE: {dice.choice('vw')}\nExpression = {dice.choice(('2 * p', 'mag(U)', 'p + U', 'mag(grad(p))', 'w + p', '3 * v'))}\nEND\n",
                lambda: f"RESULTS:\nResults File = {dice.choice(('grid.vtk', 'grid.vtk', 'grid.vtx', ''))}\nEND\n",
                lambda: f"PROBE: x\nPoint = {dice.choice((0.3, 1.7, 5))} [m], 0.4 [m], 0.6 [m]\nEND\n",
                lambda: f"> delete /CUT:{dice.choice('cdef')}\n", lambda: "> undo\n", lambda: "> undo\n", lambda: "> redo\n"))())
        wanted = self.ksl(0, *commands, options=("--state",), status=1)
        self.assertGreater(wanted.stderr.count("error["), 15)
        entered = [word for text in commands for word in ("-e", text)]
        for limits in ("512 512 512", "512 0 512"):  # who remembers nothing has to make what the others know
            with self.subTest(memory=limits):  # the models are compared after each command
                found = self.run_words(self.words_each([f"KSL_RESULTS_MEMORY={limit}" for limit in limits.split()], "run", "--library",
                                                       str(LIBRARY), "--state", *entered), 1)
                self.assertEqual((found.stdout, found.stderr), (wanted.stdout, wanted.stderr))

    # ---- being stopped

    def test_ctrl_c_of_mpirun_takes_the_command_back(self):
        """mpirun tells the processes after some time, and ends those that are there after the same once more; its status is its own."""
        shutil.copy(SOURCE / "examples" / "results" / "cylinder.vtu", self.folder)
        (self.folder / "state.qst").write_text("as before\n")
        streams = "STREAMLINES: l\nVariable = U\nLine Count = 40000\nPoint 1 = -5.9 [m], -2.8 [m], 0.1 [m]\nPoint 2 = -5.9 [m], 2.8 [m], 0.1 [m]\nEND\n"
        for turn in range(2):
            with self.subTest(turn):
                run = self.start(2, "RESULTS:\nResults File = cylinder.vtu\nEND\nCUT: c\nEND\n", streams, options=("--record", f"{turn}.ses", "--save", "state.qst"), before=("--mca", "odls_base_sigkill_timeout", "5"))
                children = self.children(run)
                time.sleep(6)
                self.assertIsNone(run.poll())
                run.send_signal(signal.SIGINT)
                _, said = run.communicate(timeout=LONGEST)
                self.assertEqual((said.count("Interrupted"), said.count("error[")), (1, 1), said)
                self.assertIn("rolled back", said)
                self.assertIn("\n# Session file stopped", (self.folder / f"{turn}.ses").read_text())
                self.assertEqual((self.folder / "state.qst").read_text(), "as before\n")
                self.assert_gone(children)

    def test_all_are_stopped_or_end_when_one_is_killed(self):
        shutil.copy(SOURCE / "examples" / "results" / "cylinder.vtu", self.folder)
        text = ("RESULTS:\nResults File = cylinder.vtu\nEND\n", "STREAMLINES: l\nVariable = U\nLine Count = 40000\n"
                "Point 1 = -5.9 [m], -2.8 [m], 0.1 [m]\nPoint 2 = -5.9 [m], 2.8 [m], 0.1 [m]\nEND\n")
        # Nothing is calculated here.
        (self.folder / "names.ksl").write_text("EXPRESSIONS:\n" + "".join(f"a{i} = {i} [m]\n" for i in range(100000)) + "END\n")
        names = ("> readstate filename=names.ksl, mode=append",)
        for work, victim, number in ((text, 0, signal.SIGINT), (text, 1, signal.SIGINT), (names, 0, signal.SIGINT), (names, 1, signal.SIGINT),
                                     (text, 0, signal.SIGKILL), (text, 1, signal.SIGKILL)):
            with self.subTest(number, process=victim, text=work[0]):
                run = self.start(2, *work)
                children = self.children(run)
                time.sleep(6 if work is text else 2)
                self.assertIsNone(run.poll())
                os.kill(children[victim], number)
                _, said = run.communicate(timeout=LONGEST)
                if number == signal.SIGINT:
                    self.assertEqual(run.returncode, 130, said)
                    self.assertEqual(said.count("Interrupted"), 1)
                else:
                    self.assertEqual(run.returncode, 128 + signal.SIGKILL)
                self.assert_gone(children)


if __name__ == "__main__":
    signal.signal(signal.SIGINT, signal.SIG_DFL)  # for those that are started: shells have it ignored in the background
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
