#!/usr/bin/env python3
"""The post-processor on VTK against numbers that are known: `ksl` on small grids, and on the flow past a cylinder."""

import gzip
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import grids

SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "tools"))
import results_document
KSL = os.environ["KSL_BIN"]
LIBRARY = SOURCE / "share" / "ksl-results"
EXAMPLE = SOURCE / "examples" / "results"


def servers():
    found = subprocess.run(["ps", "-eo", "ppid,comm,args"], capture_output=True, text=True).stdout
    return [line for line in found.splitlines() if "Xvfb -displayfd" in line and str(os.getpid()) in line.split()[:1]]


class ResultsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ksl-results-test-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        grids.legacy(self.folder / "grid.vtk")
        self.grid = "RESULTS:\nResults File = grid.vtk\nVariable Units = p=Pa, U=m s^-1\nEND\n"

    def ksl(self, *texts, options=(), status=0, path=None):
        words = [KSL, "run", "--library", str(LIBRARY), *options]
        for text in texts:
            words += ["-e", text]
        environment = {k: v for k, v in os.environ.items() if k != "DISPLAY"}
        if path is not None:  # where ffmpeg is looked for; Xvfb stands where systems have it
            bin = self.folder / "bin"
            bin.mkdir(exist_ok=True)
            (bin / "Xvfb").exists() or (bin / "Xvfb").symlink_to(shutil.which("Xvfb"))
            environment["PATH"] = f"{path}:{bin}:/nowhere" if path else str(bin)
        done = subprocess.run(words, cwd=self.folder, capture_output=True, text=True, env=environment, timeout=120)
        self.assertEqual(done.returncode, status, done.stderr)
        return done

    def numbers(self, objects, *texts, grid=None):
        """{object: {column: [values]}} of the objects in the last text."""
        table = f"TABLE: t\nValue List = {', '.join(objects)}\nOutput File = t.json\nEND\n"
        self.ksl((self.grid if grid is None else grid) + texts[0] + table, *texts[1:])
        read = json.loads((self.folder / "t.json").read_text())
        return {entry["object"].split(":")[1]: {c["name"] + " " + c["units"]: c["values"] for c in entry["columns"]} for entry in read}

    def value(self, text, *later, grid=None):
        """The first number of the object `x`."""
        return next(iter(self.numbers(["x"], text, *later, grid=grid)["x"].values()))[0]

    def integral(self, option, place, more="", **where):
        return self.value(f"{place}INTEGRAL: x\nOption = {option}\nLocation = c\n{more}END\n", **where)

    # ---- numbers

    CUT = "CUT: c\nAxis = X\nOffset = 0.7 [m]\nEND\n"
    BACK = "CUT: c\nOption = Point and Normal\nPoint = 0.7 [m], 0 [m], 0 [m]\nNormal = -2, 0, 0\nEND\n"
    THREE = "CUT: c\nOption = Three Points\nPoint 1 = 0.7 [m], 0 [m], 0 [m]\nPoint 2 = 70 [cm], 1 [m], 0 [m]\nPoint 3 = 0.7 [m], 0 [m], 1 [m]\nEND\n"
    ALL = "PATCH: c\nEND\n"
    HALF = "CLIP: c\nAxis = X\nOffset = 1 [m]\nEND\n"
    HOT = "THRESHOLD: c\nVariable = p\nMin = 6.9 [Pa]\nEND\n"
    PLANE = "CUT: c\nOffset = 0.5 [m]\nAxis = Z\nEND\n"

    def test_linear_fields_are_exact(self):
        speed = "Variable = U\n"
        for name, (option, place, more), wanted in (
                ("average", ("Average", self.CUT, "Variable = p\n"), 1 + 1.4 + 1.5 + 2),
                ("integral in other units", ("Integral", self.CUT, "Variable = p\nUser Units = kN\n"), 5.9e-3),
                ("flux", ("Flux", self.CUT, speed), 1.7),
                ("flux, the other way", ("Flux", self.BACK, speed), -1.7),
                ("flux, three points", ("Flux", self.THREE, speed), 1.7),
                ("flux, reversed", ("Flux", self.CUT, speed + "Reversed = On\n"), -1.7),
                ("mass flow", ("Mass Flow", self.CUT, speed + "Density = 1.2 [g l^-1]\n"), 1.2 * 1.7),
                ("out of the whole boundary", ("Flux", self.ALL, speed), 6 * 2),
                ("area", ("Area", self.ALL, ""), 10),
                ("volume", ("Volume", self.HALF, ""), 1),
                ("average in a volume", ("Average", self.HALF, "Variable = p\n"), 1 + 1 + 1.5 + 2),
                ("force along x", ("Force", self.ALL, "Variable = p\nDirection = 2, 0, 0\n"), 4),
                ("force", ("Force", self.ALL, "Variable = p\n"), 2 * 29 ** 0.5),
                ("moment about y", ("Moment", self.ALL, "Variable = p\nDirection = 0, 1, 0\n"), -6),
                ("moment about another point", ("Moment", self.ALL, "Variable = p\nPoint = 1 [m], 0.5 [m], 50 [cm]\n"), 0),
                ("maximum", ("Maximum", self.ALL, "Variable = p\n"), 12),
                ("minimum of a component", ("Minimum", self.ALL, "Variable = U.z\n"), 0),
                ("cells above", ("Minimum", self.HOT, "Variable = p\n"), 7.5),
                ("a level", ("Average", "LEVEL SURFACE: c\nVariable = p\nValue = 0.006 [kPa]\nEND\n", "Variable = p\n"), 6),
                ("half of the range", ("Average", "LEVEL SURFACE: c\nOption = Fraction\nVariable = p\nEND\n", "Variable = p\n"), 6.5),
        ):
            with self.subTest(name):
                self.assertAlmostEqual(self.integral(option, place, more), wanted, places=7)

    def test_variables_from_expressions(self):
        definition = "VARIABLE: q\nExpression = {}\nEND\n"
        probe = "PROBE: x\nPoint = 0.3 [m], 0.4 [m], 60 [cm]\nVariable List = q\nEND\n"
        for expression, wanted in (("p", "5.2 Pa"), ("mag(grad(p))", f"{29 ** 0.5} kg m^-2 s^-2"), ("div(U)", "6 s^-1"),
                                   ("mag(curl(U))", "0 s^-1"), ("U.y - 0.3 [m s^-1]", "0.5 m s^-1"),
                                   ("dot(U, U) / (3 [m s^-1])^2", f"{(1.3 ** 2 + 0.8 ** 2 + 1.8 ** 2) / 9} "),
                                   ("max(p, 5.9 [Pa]) - -p", "11.1 kg m^-1 s^-2"), ("'p' * 2", "10.4 kg m^-1 s^-2")):
            with self.subTest(expression):
                found = self.numbers(["x"], definition.format(expression) + probe)["x"]
                column = next(name for name in found if name.startswith("q"))
                number, units = wanted.split(" ", 1)
                # Products are the field's own between its points: linear there.
                self.assertAlmostEqual(found[column][0], float(number), delta=0.2 if "dot" in expression or "max" in expression else 1e-9)
                self.assertEqual(column, "q " + ("kg m^-1 s^-2" if units == "Pa" else units))
        places = ("CUT: m\nAxis = X\nOffset = 0.7 [m]\nEND\nBAND: b\nLocation = m\nVariable = q\nEND\n"
                  "LEVEL SURFACE: c\nVariable = q\nValue = 12 [Pa]\nEND\nINTEGRAL: x\nOption = Average\nLocation = c\nVariable = p\nEND\n")
        self.assertAlmostEqual(self.value(definition.format("2 * p") + places), 6, places=7)

    MADE = "VARIABLE: a\nExpression = p + 1 [Pa]\nEND\nVARIABLE: b\nExpression = 2 * a\nEND\n"

    def test_variables_are_made_of_variables(self):
        """Where p is 5.2 Pa on average; and of texts of any length and depth."""
        own = "VARIABLE: {}\nExpression = {}\nEND\n".format
        text = self.CUT + self.MADE + "INTEGRAL: x\nOption = Average\nLocation = c\nVariable = b\nEND\n"
        mean = grids.pressure(0.7, 0.5, 0.5)
        renamed = ">rename from=/VARIABLE:a, to=Total Head\n"
        for name, steps, wanted in (
                ("as it is", (), 2 * mean + 2), ("an edit", (own("a", "3 * p"),), 6 * mean), ("taken back", (own("a", "3 * p"), ">undo\n"), 2 * mean + 2),
                ("a name of the file", (own("p", "2 * p"),), 4 * mean + 2), ("a new name", (renamed, own("Total Head", "3 * p")), 6 * mean),
                ("a derivative", (own("a", "grad(p)"), own("b", "a.x + mag(a) - mag(grad(p))")), None),
                ("one of two", (own("d", "p"), own("b", "a + d - d.x"),), mean + 1)):
            with self.subTest(name):
                found = self.value(text, *steps)
                self.assertAlmostEqual(found, (grids.pressure(1, 0, 0) - grids.pressure(0, 0, 0)) if wanted is None else wanted, places=7)
        inner = "RESULTS:\nVARIABLE: b\nExpression = a + p\nEND\nEND\n"
        for path, wanted in (("/VARIABLE:b", 2 * mean + 2), ("/RESULTS:RESULTS/VARIABLE:b", 2 * mean + 1)):
            self.assertAlmostEqual(self.value(text + inner, f"INTEGRAL: x\nVariable = {path}\nEND\n"), wanted, places=7)
        self.assertIn("Expression '2 * a': there is no variable 'a'; there are U, p.", self.ksl(self.grid + text, ">delete /VARIABLE:a\n", status=1).stderr)
        count = 100000
        (self.folder / "long.ksl").write_text(
            self.grid + self.CUT + own("long", " + ".join(["p"] * count)) + own("deep", "(p + " * count + "p" + ")" * count) + own("turned", "-" * count + "p")
            + own("b", "(long + deep) / turned") + "INTEGRAL: x\nOption = Average\nLocation = c\nVariable = b\nEND\n"
            "TABLE: t\nValue List = x\nOutput File = t.json\nEND\n")
        self.ksl(options=("long.ksl",))
        self.assertAlmostEqual(json.loads((self.folder / "t.json").read_text())[0]["columns"][0]["values"][0], 2 * count + 1, places=4)

    def test_derivatives_are_those_of_the_whole_mesh(self):
        """Whatever the cells are, and whatever part of them is looked at."""
        root = 29 ** 0.5
        expressions = {"g": "mag(grad(p))", "d": "div(U)", "c": "mag(curl(U))", "w": "mag(grad(p)) * U.x", "s": "mag(grad(p^2))"}
        text = "".join(f"VARIABLE: {name}\nExpression = {expression}\nEND\n" for name, expression in expressions.items())
        text += ("CLIP: half\nAxis = Y\nOffset = 0.6 [m]\nEND\nTHRESHOLD: whole\nVariable = p\nMin = 0 [Pa]\nEND\n"
                 "PROBE: middle\nPoint = 1 [m], 0.5 [m], 0.5 [m]\nVariable List = s\nEND\n")
        wanted = {("Integral", "half", "g"): 1.2 * root, ("Integral", "half", "w"): 2.4 * root, ("Minimum", "whole", "g"): root,
                  ("Maximum", "whole", "g"): root, ("Minimum", "whole", "d"): 6, ("Maximum", "whole", "c"): 0}
        for option, place, variable in wanted:
            text += f"INTEGRAL: {option} {variable}\nOption = {option}\nLocation = {place}\nVariable = {variable}\nEND\n"
        names = [f"{option} {variable}" for option, _, variable in wanted]
        for shape in ("hexahedra", "polyhedra", "tetrahedra"):
            for on_cells in (False, True):
                grids.vtu(self.folder / "grid.vtu", shape, on_cells=on_cells)
                found = self.numbers([*names, "middle"], text, grid=self.grid.replace("grid.vtk", "grid.vtu"))
                with self.subTest(shape=shape, on_cells=on_cells):
                    for name, value in zip(names, wanted.values()):
                        if not (name == "Integral w" and on_cells and shape == "tetrahedra"):  # whose cells are cut anyhow
                            self.assertAlmostEqual(next(iter(found[name].values()))[0], value, places=7, msg=name)
                    if shape != "tetrahedra" and not on_cells:  # the same on all sides: exact for what is quadratic, too
                        self.assertAlmostEqual(list(found["middle"].values())[-1][0], 13 * root, places=7)

    def test_values_of_cells_are_integrated_as_they_are(self):
        grids.legacy(self.folder / "grid.vtk", on_cells=True)
        self.assertAlmostEqual(self.integral("Flux", self.CUT, "Variable = U\n"), 1.75, places=7)
        self.assertAlmostEqual(self.integral("Average", self.HALF, "Variable = p\n"), 5.5, places=7)

    def test_scales_and_probes(self):
        grids.legacy(self.folder / "mm.vtk", scale=1000)
        small = self.grid.replace("grid.vtk", "mm.vtk\nScale Factor = 0.001")
        self.assertAlmostEqual(self.integral("Flux", self.CUT, "Variable = U\n", grid=small), 1.7, places=7)
        line = "PROBE: x\nOption = Line\nPoint 1 = -1 [m], 0.5 [m], 0.5 [m]\nPoint 2 = 3 [m], 0.5 [m], 0.5 [m]\nSamples = 9\nVariable List = p, U.x\nEND\n"
        found = self.numbers(["x"], line)["x"]
        self.assertEqual(found["X m"], [0, 0.5, 1, 1.5, 2])
        for x, p, u in zip(found["X m"], found["p Pa"], found["U.x m s^-1"]):
            self.assertAlmostEqual(p, grids.pressure(x, 0.5, 0.5), places=9)
            self.assertAlmostEqual(u, 1 + x, places=9)

    # ---- formats

    def test_each_format_gives_the_same_numbers(self):
        text = self.CUT + "INTEGRAL: x\nOption = Flux\nLocation = c\nVariable = U\nEND\n" \
                          "INTEGRAL: a\nOption = Average\nLocation = c\nVariable = p\nEND\n" \
                          "INTEGRAL: v\nOption = Volume\nLocation = RESULTS\nEND\n"
        for name, write in (("g.vtu", grids.vtu), ("g.pvtu", grids.pvtu), ("g.vtm", grids.vtm), ("g.pvd", grids.pvd),
                            ("g.vts", grids.vts), ("g.vti", grids.vti), ("g.case", grids.ensight), ("g.cgns", grids.cgns),
                            ("grid.vtk", None)):
            with self.subTest(name):
                if write:
                    write(self.folder / name)
                found = self.numbers(["x", "a", "v"], text, grid=self.grid.replace("grid.vtk", name))
                for object, wanted in (("x", 1.7), ("a", 5.9), ("v", 2)):
                    self.assertAlmostEqual(next(iter(found[object].values()))[0], wanted, places=5 if name == "g.case" else 7)

    def test_openfoam_cases_whole_and_in_parts(self):
        text = self.CUT + "INTEGRAL: x\nOption = Flux\nLocation = c\nVariable = U\nTime List = All\nEND\n" \
                          "PATCH: e\nRegions = ends\nEND\nINTEGRAL: f\nOption = Flux\nLocation = e\nVariable = U\nEND\n"
        for kind, parts in (("whole", 1), ("packed", 1), ("apart", 2), ("collated", 2)):
            with self.subTest(kind):
                folder = grids.foam(self.folder / kind, parts=parts)
                for file in list((folder / "1").iterdir()) if kind == "packed" else ():
                    file.with_name(file.name + ".gz").write_bytes(gzip.compress(file.read_bytes()))
                    file.unlink()
                parts > 1 or shutil.copy(folder / "0" / "p", folder / "1" / "p.bak")
                if kind == "collated":
                    grids.collate(folder, parts)
                case = f"RESULTS:\nResults File = {kind}\nCase Type = {'Decomposed' if parts > 1 else 'Reconstructed'}\nEND\n"
                found = self.numbers(["x", "f"], text, grid=case)
                for value, wanted in zip(found["x"]["Flux of U m^3 s^-1"], (1.75, 3.5), strict=True):
                    self.assertAlmostEqual(value, wanted, places=6)
                self.assertEqual(found["x"]["Time s"], [0, 1])
                self.assertAlmostEqual(found["f"]["Flux of U m^3 s^-1"][0], 2 * (2.75 - 1.25), places=6)
        last = self.folder / "collated" / "processors2" / "1" / "p"
        whole = last.read_bytes()
        for name, content, says in (("in its last part", whole[:-40], "processors2/1/p is damaged: 1 of its 2 parts"),
                                    ("before its parts", whole[:whole.index(b"// Processor0")], "processors2/1/p is damaged: 0 of its 2 parts"),
                                    ("in its head", whole[:20], "processors2/1/p is damaged: 0 of its 2 parts"), ("empty", b"", "0 of its 2 parts"),
                                    ("compressed", None, "processors2/1/p.gz is compressed")):
            with self.subTest(name):
                last.unlink()
                (last if content is not None else last.with_name("p.gz")).write_bytes(gzip.compress(whole) if content is None else content)
                said = self.ksl(case, status=1).stderr
                self.assertIn("Results file 'collated' cannot be read: " + says if "/" in says else says, said)
                self.assertEqual(said.count("error["), 1)

    def test_only_the_regions_that_are_asked_for_are_read(self):
        grids.vtm(self.folder / "g.vtm", blocks=2)
        grids.ensight(self.folder / "g.case")
        grids.cgns(self.folder / "g.cgns")
        grids.foam(self.folder / "case")
        grids.foam(self.folder / "apart", parts=2)
        for case in ("case", "apart"):  # so that it is seen whose values these are
            for file in self.folder.glob(f"{case}/**/1/p"):
                file.write_text(re.sub(r"(ends\n{\n type )zeroGradient", r"\1fixedValue; value uniform 9", file.read_text()))
        for file, regions, cells, there in (
                ("g.vtm", "", 16, None), ("g.vtm", "right", 8, None), ("g.vtm", "right, left", 16, None), ("g.vtm", "wall", None, "left, right"),
                ("g.case", "inside", 16, None), ("g.case", "inside, wall", None, "inside"), ("g.cgns", "inside", 16, None),
                ("g.cgns", "wall", None, "Base, "), ("case", "ends", 8, None), ("case", "internalMesh", 16, None), ("case", "sides, internalMesh", 16, None),
                ("case", "wall", None, "ends, internalMesh, sides"), ("apart", "internalMesh", 16, None), ("apart", "ends", 8, None),
                ("apart", "wall", None, "ends, internalMesh, sides"), ("grid.vtk", "wall", None, "")):
            with self.subTest(file=file, regions=regions):
                kind = "Case Type = Decomposed\n" if file == "apart" else ""
                text = f"RESULTS:\nResults File = {file}\n{kind}Regions = {regions}\nEND\n"
                if cells is None:
                    said = self.ksl(text, status=1).stderr
                    wanted = f": there are {there}" if there else ": it has no regions."
                    self.assertIn(f"Region 'wall' is not in results file '{file}'{wanted}", said)
                    self.assertEqual((said.count("error["), "object /RESULTS:RESULTS" in said), (1, True))
                    continue
                found = subprocess.run([KSL, "get", "--library", str(LIBRARY), "RESULTS", "Cell Count,Region List", "-f", "-"], cwd=self.folder,
                                       input=text, capture_output=True, text=True).stdout
                self.assertEqual(re.findall(r"Cell Count +(\d+)", found), [str(cells)])
                self.assertEqual(re.findall(r"Region List +(.*)", found), ["Boundary, sides" if "sides," in regions else "Boundary"])
        ends = "RESULTS:\nResults File = case\nRegions = ends\nEND\n"
        self.assertAlmostEqual(self.integral("Average", "PATCH: c\nEND\n", "Variable = p\n", grid=ends), 9, places=6)
        for kind, case in (("case", "Reconstructed"), ("apart", "Decomposed")):
            faces = f"RESULTS:\nResults File = {kind}\nCase Type = {case}\nRegions = ends, sides\nEND\n"
            self.assertAlmostEqual(self.value("INTEGRAL: x\nOption = Area\nLocation = RESULTS\nEND\n", grid=faces), 10, places=7)
        # Another choice is another result; the one before comes back.
        text = "INTEGRAL: x\nOption = Volume\nLocation = RESULTS\nEND\n"
        half = "RESULTS:\nResults File = g.vtm\nRegions = left\nEND\n"
        for later, wanted in (((), 1), (("RESULTS:\nRegions =\nEND\n",), 2), (("RESULTS:\nRegions =\nEND\n", ">undo\n"), 1)):
            self.assertAlmostEqual(self.value(text, *later, grid=half), wanted, places=7)

    def test_files_that_are_written_again_are_read_again(self):
        case = grids.foam(self.folder / "case")
        grids.pvtu(self.folder / "g.pvtu")
        grids.ensight(self.folder / "g.case")
        named = self.folder / "g.case"
        named.write_text(named.read_text().replace("node: p g.p", "node: 1 p g.**.p") + "TIME\ntime set: 1\nnumber of steps: 1\n"
                         "filename start number: 7\nfilename increment: 1\ntime values: 0\n")
        (self.folder / "g.p").rename(self.folder / "g.07.p")
        pressure = (self.folder / "g.07.p").read_text()
        piece = self.folder / "g.pvtu.piece.vtu"
        values = piece.read_text()
        doubled = re.sub(r'(Name="p".*?>)(.*?)<', lambda m: m[1] + " ".join(str(2 * float(x)) for x in m[2].split()) + "<", values, flags=re.S)
        average = lambda: json.loads((self.folder / "t.json").read_text())[0]["columns"][0]["values"][0]
        for name, rewrite, wanted in (("case", lambda: shutil.copy(case / "0" / "p", case / "1" / "p"), 0.5),
                                      ("g.pvtu", lambda: piece.write_text(doubled), 2),
                                      ("g.case", lambda: (self.folder / "g.07.p").write_text(re.sub(r"e\+00", "e+01", pressure)), None)):
            with self.subTest(name):
                (self.folder / "t.json").unlink(missing_ok=True)
                shell = subprocess.Popen([KSL, "--library", str(LIBRARY)], cwd=self.folder, text=True, stdin=subprocess.PIPE,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env={**os.environ, "XDG_STATE_HOME": str(self.folder)})
                shell.stdin.write(f"RESULTS:\nResults File = {name}\nEND\n{self.CUT}INTEGRAL: x\nOption = Average\nLocation = c\nVariable = p\nEND\n"
                                  "TABLE: t\nValue List = x\nOutput File = t.json\nEND\n")
                shell.stdin.flush()
                deadline = time.monotonic() + 60
                while not (self.folder / "t.json").exists() and time.monotonic() < deadline:
                    time.sleep(0.02)
                first = average()
                rewrite()
                shell.communicate(">forceupdate /RESULTS:RESULTS\n", timeout=60)
                if wanted:
                    self.assertAlmostEqual(average() / first, wanted, places=6)
                else:
                    self.assertGreater(average(), 5 * first)

    def test_surfaces(self):
        (self.folder / "s.stl").write_text("solid s\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 3 0 0\nvertex 0 4 0\n"
                                           "endloop\nendfacet\nendsolid s\n")
        (self.folder / "s.ply").write_text("ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
                                           "element face 1\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n3 0 0\n0 4 0\n3 0 1 2\n")
        for file in ("s.stl", "s.ply"):
            self.assertAlmostEqual(self.integral("Area", self.ALL, grid=f"RESULTS:\nResults File = {file}\nEND\n"), 6, places=6)
        grids.vtp(self.folder / "g.vtp")
        for option, wanted in (("Area", 10), ("Integral", 65), ("Force", 2 * 29 ** 0.5)):
            self.assertAlmostEqual(self.integral(option, self.ALL, "Variable = p\n", grid=self.grid.replace("grid.vtk", "g.vtp")), wanted, places=7)

    # ---- what goes wrong

    def test_errors_are_told_once_and_leave_nothing(self):
        (self.folder / "bad.vtu").write_text("<VTKFile type='UnstructuredGrid'><Unstruc")
        (self.folder / "text.xyz").write_text("")
        case = grids.foam(self.folder / "case", times=("0", "1"))
        field = case / "1" / "p"
        field.write_text(field.read_text()[:260])
        grids.pvd(self.folder / "t.pvd", times=(0, 2.5))
        for name, file, content in (("empty", "p", ""), ("headless", "p", "FoamFile\n{\n cla"), ("copied", "p.orig", (case / "0" / "p").read_text())):
            shutil.copytree(case, self.folder / name)
            (self.folder / name / "1" / file).write_text(content)
        shutil.copy(case / "0" / "p", self.folder / "copied" / "1")
        grids.vtu(self.folder / "g.vtu")
        grids.cgns(self.folder / "g.cgns")
        (self.folder / "cut.cgns").write_bytes((self.folder / "g.cgns").read_bytes()[:5000])
        (self.folder / "cut.vtk").write_text((self.folder / "grid.vtk").read_text()[:1200])
        (self.folder / "cut.ply").write_text("ply\n")
        for name, variable, text in (("node", "p", ""), ("vector", "U", ""), ("element", "p", "hexa8\n" + 15 * " 1.00000e+00\n")):
            grids.ensight(self.folder / f"{name}.case")
            values = self.folder / f"{name}.{variable}"
            whole = values.read_text()
            values.write_text(whole[:whole.index("coordinates")] + text if text else whole[:-13 * 5])
            for case in [self.folder / "element.case"] if text else ():
                case.write_text(case.read_text().replace("scalar per node", "scalar per element"))
        good = self.grid + self.CUT + self.MADE + "INTEGRAL: i\nOption = Flux\nLocation = c\nVariable = U\nEND\n"
        for text, says in (
                ("RESULTS:\nResults File = gird.vtk\nEND\n", "'gird.vtk' cannot be read: No such file"),
                ("RESULTS:\nResults File = bad.vtu\nEND\n", "'bad.vtu' cannot be read: Error parsing XML"),
                ("RESULTS:\nResults File = text.xyz\nEND\n", "of no kind that is known"),
                ("RESULTS:\nResults File = case\nEND\n", "'case' cannot be read: Error reading line"),
                ("RESULTS:\nResults File = empty\nEND\n", "Field 'p' of 'empty' at time 1 cannot be read"),
                ("RESULTS:\nResults File = headless\nEND\n", "Field 'p' of 'headless' at time 1 cannot be read"),
                ("RESULTS:\nResults File = copied\nEND\n", "File 'p.orig' of 'copied' at time 1 says that it is the field 'p'."),
                ("RESULTS:\nResults File = cut.cgns\nEND\n", "'cut.cgns' cannot be read: File-open error"),
                ("RESULTS:\nResults File = cut.vtk\nEND\n", "'cut.vtk' cannot be read: Error reading ascii data"),
                ("RESULTS:\nResults File = cut.ply\nEND\n", "'cut.ply' cannot be read: It is damaged, or of another kind."),
                ("RESULTS:\nResults File = node.case\nEND\n", "File 'node.p' of 'node.case' is damaged: part 1 has 40 of its 45 values."),
                ("RESULTS:\nResults File = vector.case\nEND\n", "File 'vector.U' of 'vector.case' is damaged: part 1 has 130 of its 135 values."),
                ("RESULTS:\nResults File = element.case\nEND\n", "File 'element.p' of 'element.case' is damaged: part 1 has 15 of its 16 values."),
                ("RESULTS:\nResults File = g.vtu\nTime = 2 [s]\nEND\n", "nothing at time 2 [s]: it tells no times."),
                ("RESULTS:\nResults File = g.vtu\nEND\nINTEGRAL: i\nTime List = 2 [s]\nEND\n", "/INTEGRAL:i has a Time List, and its results tell no"),
                ("RESULTS:\nScale Factor = 0\nEND\n", "scale factor of /RESULTS:RESULTS is not above 0"),
                ("POINT CLOUD: q\nPoints = 1 [m], 0.5 [m], 0.5 [m]\nEND\nINTEGRAL: i\nLocation = q\nEND\n", "/INTEGRAL:i has nothing to sum over"),
                ("SHOT: o\nOutput File = o.png\nEye Point = 0 [m], 0 [m], 0 [m]\nEND\n", "/SHOT:o sees nothing: its Eye Point"),
                ("SHOT: o\nOutput File = o.png\nProjection = Parallel\nView Height = 0 [m]\nEND\n", "/SHOT:o sees nothing: its view"),
                ("RESULTS:\nResults File = t.pvd\nTime = 2 [s]\nEND\n", "its times are 0 [s], 2.5 [s]"),
                ("CUT: c\nOffset = 7 [m]\nEND\n", "holds nothing of the results, which extend over 0 [m], 2 [m]"),
                ("INTEGRAL: i\nVariable = T\nEND\n", "Variable 'T' is not in the results of /INTEGRAL:i: there are U, p."),
                ("PROBE: o\nPoint = 9 [m], 0 [m], 0 [m]\nVariable List = p\nEND\n", "/PROBE:o lies outside the results"),
                ("PATCH: o\nRegions = wall\nEND\n", "there are Boundary."),
                ("LEVEL SURFACE: o\nVariable = p\nValue = 40 [Pa]\nEND\n", "goes from 1 [Pa] to 12 [Pa], which does not hold 40 [Pa]"),
                ("VARIABLE: o\nExpression = p + U.x\nEND\n", "'kg m^-1 s^-2' and 'm s^-1'"),
                ("VARIABLE: o\nExpression = 2 * (p\nEND\n", "A ')' is missing at 'the end'"),
                ("VARIABLE: a\nExpression = p / b * p\nEND\n", "cyclic dependency between object b (Field) and object a (Field)"),
                ("STREAMLINES: o\nVariable = U\nPoint 1 = 5 [m], 0 [m], 0 [m]\nPoint 2 = 6 [m], 0 [m], 0 [m]\nEND\n", "has no seed"),
                ("SHOT: o\nOutput File = o.bmp\nEND\n", "'o.bmp' is of no kind"),
        ):
            with self.subTest(text):
                done = self.ksl(good, text, options=("--state",), status=1)
                self.assertEqual(done.stderr.count("error["), 1, done.stderr)
                self.assertIn(says, done.stderr)
                self.assertEqual(re.findall(r"0x[0-9a-f]+|\.cxx", done.stderr), [])
                self.assertEqual(done.stdout, self.ksl(good, options=("--state",)).stdout)

    def test_references_that_are_empty_give_no_results(self):
        done = self.ksl("CUT: c\nEND\nBAND: b\nLocation = c\nVariable = p\nEND\nINTEGRAL: i\nLocation = c\nEND\nSHOT: s\nOutput File = s.png\nEND\n"
                        "STREAMLINES: l\nVariable = U\nEND\nTABLE: t\nValue List = i\nOutput File = t.csv\nEND\n")
        self.assertNotIn("error", done.stderr)
        # Nor does anything ask for a variable that is not named yet.
        place = {"LEVEL SURFACE": "", "THRESHOLD": "", "STREAMLINES": ""}
        shows = "".join(f"{show}: x\n{place.get(show, 'Location = c')}\nEND\n" for show in ("BAND", "COLOUR", "ARROW", "INTEGRAL", *place))
        self.ksl(self.grid + self.CUT + shows.replace("INTEGRAL: x", "INTEGRAL: x\nOption = Average") + "VARIABLE: v\nEND\n")

    def test_limits_that_are_left_out_and_values_that_are_none(self):
        grids.vtu(self.folder / "g.vtu")
        values = (self.folder / "g.vtu").read_text()
        (self.folder / "g.vtu").write_text(re.sub(r'(Name="p".*?>\s*)\S+', r"\1nan", values, count=1, flags=re.S))  # where p was 1
        grid = self.grid.replace("grid.vtk", "g.vtu")
        for option, wanted in (("Minimum", 2), ("Maximum", 12)):
            self.assertEqual(self.value(f"INTEGRAL: x\nOption = {option}\nLocation = RESULTS\nVariable = p\nEND\n", grid=grid), wanted)
        text = grid + self.CUT + "BAND: b\nLocation = c\nVariable = p\nRange Mode = Fixed\nMax = 0.007 [kPa]\nEND\n"
        told = subprocess.run([KSL, "get", "--library", str(LIBRARY), "b", "Minimum,Maximum", "-f", "-"], cwd=self.folder, input=text, capture_output=True,
                              text=True).stdout
        self.assertEqual(re.findall(r"M..imum +(\S+)", told), ["2", "7"])

    # ---- edits

    def test_what_is_taken_back_is_as_before(self):
        text = self.CUT + "INTEGRAL: x\nOption = Flux\nLocation = c\nVariable = U\nEND\n"
        for steps in (("CUT: c\nOffset = 1.9 [m]\nEND\n", ">undo\n"), (">delete /CUT:c\n", ">undo\n"),
                      ("RESULTS:\nScale Factor = 2\nEND\n", ">undo\n", ">redo\n", ">undo\n")):
            self.assertAlmostEqual(self.value(text, *steps), 1.7, places=7)

    def test_an_offset_recalculates_what_hangs_on_it(self):
        text = (self.grid + self.CUT + "CUT: d\nAxis = Y\nOffset = 0.2 [m]\nEND\nBAND: b\nLocation = c\nVariable = p\nEND\n"
                "BAND: e\nLocation = d\nVariable = p\nEND\nINTEGRAL: i\nLocation = c\nEND\nSHOT: s\nPicture List = e\nEND\n")
        runs = {tuple(re.findall(r"^calculated (\S+ \S+)", self.ksl(
            text, "CUT: c\nOffset = 0.8 [m]\nEND\n", ">undo\n", ">delete /BAND:e\n", ">undo\n", options=("--trace", "graph")).stderr, re.M)) for _ in range(4)}
        self.assertEqual(len(runs), 1)
        done = self.ksl(text, "CUT: c\nOffset = 0.8 [m]\nEND\n", options=("--trace", "graph")).stderr
        last = re.findall(r"^calculated (\S+) \((\w+)\)", done[done.rindex("parameter Offset") - 200:], re.M)
        self.assertEqual(set(last[-5:]), {("/CUT:c", "Geometry"), ("/CUT:c", "Picture"), ("/BAND:b", "Colour"), ("/BAND:b", "Picture"),
                                          ("/INTEGRAL:i", "Value")})

    def test_states_are_read_back_in_all_modes(self):
        text = self.grid + self.CUT + "PATCH: w\nEND\nPALETTE: q\nScheme = Magma\nEND\nBAND: b\nLocation = c\nVariable = p\nPalette = q\nEND\n" \
            "SHOT: s\nPicture List = b\nCAPTION: Title\nText = t\nEND\nEND\nMOVIE: m\nShot = s\nEND\n"
        whole = self.ksl(text, options=("--state",)).stdout
        self.ksl(text, ">savestate filename=a.qst\n")
        for mode in ("overwrite", "append"):
            for before in ("", text):
                done = self.ksl(*([before] if before else []), f">readstate filename=a.qst, mode={mode}\n", options=("--state",))
                for line in whole.splitlines():
                    self.assertIn(line, done.stdout)

    # ---- results as values, and what comes back

    STEERED = ("CUT: d\nAxis = X\nOffset = x / 2 [m^2 s^-1]\nEND\nINTEGRAL: y\nOption = Flux\nLocation = d\nVariable = U\nEND\n"
               + CUT + "INTEGRAL: x\nOption = Flux\nLocation = c\nVariable = U\nEND\n")
    MOVED = "CUT: c\nOffset = 0.8 [m]\nEND\n"

    def values(self, *texts, options=(), **more):
        """What the integrals x and y are after the texts, and what was told."""
        table = "TABLE: t\nValue List = x, y\nOutput File = t.json\nEND\n"
        done = self.ksl(*texts, table, options=("--update-mode", "at-end", *options), **more)
        read = json.loads((self.folder / "t.json").read_text())
        return [round(entry["columns"][0]["values"][0], 6) for entry in read], done.stderr

    def test_a_number_steers_a_cut(self):
        model = self.grid + self.STEERED
        self.assertEqual(self.values(model)[0], [1.7, 1.85])
        moved, told = self.values(model, "CUT: b\nAxis = Y\nOffset = 0.3 [m]\nEND\n", self.MOVED, options=("--trace", "graph"))
        self.assertEqual(moved, [1.8, 1.9])
        calculated = re.findall(r"^calculated (\S+) \((\w+)\)", told[told.index("parameter Offset") - 40:], re.M)
        self.assertEqual(calculated[:6], [("/CUT:c", "Geometry"), ("/CUT:c", "Picture"), ("/INTEGRAL:x", "Value"), ("/CUT:d", "Geometry"),
                                          ("/CUT:d", "Picture"), ("/INTEGRAL:y", "Value")])
        self.assertEqual(calculated[6:], [("/TABLE:t", "Value")])
        for text, says in (("CUT: c\nOffset = y / 2 [m^2 s^-1]\nEND\n", "cyclic dependency between object y (Value) and object c (Geometry)"),
                           ("RESULTS:\nResults File =\nEND\nEXPRESSION EVALUATOR: e\nEvaluated Expression = x\nEND\n", "'/INTEGRAL:x' has no value"),
                           (">delete /INTEGRAL:x\n", "depends on a variable 'x'")):
            with self.subTest(text):
                self.assertEqual(self.ksl(model, text, options=("--update-mode", "at-end", "--state"), status=1).stderr.count("error["), 1)
                self.assertIn(says, self.ksl(model, text, options=("--update-mode", "at-end"), status=1).stderr)
        self.assertEqual(self.values(model, ">savestate filename=s.qst\n", ">delete /CUT:d, /CUT:c, /INTEGRAL:x, /INTEGRAL:y\n",
                                     ">readstate filename=s.qst, mode=overwrite\n")[0], [1.7, 1.85])
        self.assertEqual(self.values(model, ">rename from=/INTEGRAL:x, to=Inlet Flow\n", ">rename from=/INTEGRAL:Inlet Flow, to=x\n", self.MOVED,
                                     ">undo\n", ">undo\n", ">redo\n", ">redo\n")[0], [1.8, 1.9])
        # Without results nothing has a value, and nothing asks for one.
        self.ksl(self.STEERED, options=("--update-mode", "at-end"))
        checked = subprocess.run([KSL, "check", "--library", str(LIBRARY), "--update-mode", "at-end", "-"], cwd=self.folder, input=model, text=True,
                                 capture_output=True)
        self.assertEqual((checked.returncode, checked.stderr), (0, ""), checked.stdout)

    def test_what_was_computed_comes_back_from_memory(self):
        grids.pvd(self.folder / "t.pvd", times=(0, 2.5))
        model = self.grid.replace("grid.vtk", "t.pvd\nTime = First") + self.STEERED + (
            "VARIABLE: q\nExpression = 2 * p\nEND\nPROBE: o\nPoint = 1 [m], 0.5 [m], 0.5 [m]\nVariable List = q\nEND\n"
            "STREAMLINES: l\nVariable = q2\nVariable = U\nPoint 1 = 0.1 [m], 0.2 [m], 0.3 [m]\nPoint 2 = 0.1 [m], 0.8 [m], 0.7 [m]\nEND\n"
            "COLOUR: k\nLocation = c\nVariable = q\nEND\nCLIP: v\nAxis = X\nOffset = 1 [m]\nEND\n")
        first, told = self.values(model, options=("--trace", "results"))
        once = sorted(re.findall(r"^made (.*)", told, re.M))
        self.assertEqual(len(once), len(set(once)) + 1, once)  # the cut once with the variable, once without
        for name, steps, makes in (
                ("a typo in the file's name", ("RESULTS:\nResults File = t.pdv\nEND\n",), 0),
                ("an edit", (self.MOVED, ">undo\n"), 5), ("a deletion", (">delete /INTEGRAL:y, /CUT:d\n", ">undo\n"), 0),
                ("a time step", ("RESULTS:\nTime = Last\nEND\n", ">undo\n", ">redo\n", ">undo\n"), len(once) - 1),
                ("an edit and a failure", (self.MOVED, "CUT: d\nOffset = x\nVariable = p\nEND\n", ">undo\n"), 5)):
            with self.subTest(name):
                status = 1 if "typo" in name or "failure" in name else 0
                again, told = self.values(model, *steps, options=("--trace", "results"), status=status)
                self.assertEqual(again, first)
                made = re.findall(r"^made (.*)", told, re.M)
                self.assertEqual(len(made), len(once) + makes, told)

    def test_memory_falls_when_results_are_deleted(self):
        """What a process takes with two big meshes, and when one, and then all of what it showed, is gone."""
        with open(self.folder / "big.vtk", "wb") as file:
            file.write(b"# vtk DataFile Version 3.0\nbig\nBINARY\nDATASET STRUCTURED_POINTS\nDIMENSIONS 161 161 161\nORIGIN 0 0 0\n"
                       b"SPACING 1 1 1\nPOINT_DATA 4173281\nSCALARS p double 1\nLOOKUP_TABLE default\n" + bytes(8 * 4173281))
        text = "RESULTS: {0}\nResults File = big.vtk\nScale Factor = {1}\nEND\nCUT: {0} Cut\nAxis = X\nOffset = 1 [m]\nReader = {0}\nEND\n"
        for limit, falls in (("0", True), ("512", False)):
            with self.subTest(limit=limit):
                shell = subprocess.Popen([KSL, "--library", str(LIBRARY)], cwd=self.folder, stdin=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                         env={**os.environ, "KSL_RESULTS_MEMORY": limit, "XDG_STATE_HOME": str(self.folder)})
                sizes = []
                for command, summaries in ((text.format("A", 1) + text.format("B", 2), 4), (">delete /CUT:B Cut, /RESULTS:B\n", 1)):
                    shell.stdin.write(command)
                    shell.stdin.flush()
                    for _ in range(summaries):
                        self.assertIn("recalculated", shell.stderr.readline())
                    sizes.append(int(re.search(r"VmRSS:\s*(\d+)", pathlib.Path(f"/proc/{shell.pid}/status").read_text())[1]))
                shell.communicate("", timeout=60)
                self.assertEqual(sizes[0] - sizes[1] > 25000, falls, sizes)

    def test_ten_runs_calculate_alike_and_fail_alike(self):
        model = self.grid + self.STEERED + "CUT: e\nAxis = Y\nOffset = 0.3 [m]\nEND\n"
        steps = (self.MOVED, ">delete /CUT:e, /INTEGRAL:y\n", ">undo\n", ">undo\n", ">redo\n", "CUT: e\nOffset = 9 [m]\nEND\nCUT: c\nOffset = 8 [m]\nEND\n",
                 ">undo\n", "RESULTS:\nResults File = gird.vtk\nEND\n")
        runs = set()
        for _ in range(10):
            told = self.ksl(model, *steps, options=("--update-mode", "at-end", "--trace", "graph,results"), status=1).stderr
            runs.add(re.sub(r"; [\d.]+ ms$", "", told, flags=re.M))
        self.assertEqual(len(runs), 1)
        self.assertEqual(re.findall(r"^(?:made|found|calculated) (\S+ \S+)", min(runs), re.M)[:3], ["timesIn grid.vtk", "timesIn grid.vtk", "readMesh grid.vtk"])
        self.assertEqual(min(runs).count("error["), 2)

    # ---- pictures

    def test_the_cylinder_twice_without_a_display(self):
        for name in ("cylinder.vtu", "cylinder.ksl"):
            shutil.copy(EXAMPLE / name, self.folder)
        contents = []
        for _ in range(2):
            self.ksl(options=("cylinder.ksl",))
            contents.append((self.folder / "cylinder.png").read_bytes())
        self.assertEqual(contents[0], contents[1])
        self.assertEqual(contents[0][:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual(servers(), [])
        flows = re.findall(r"^Flow,Flux of U,([\d.]+),m\^3 s\^-1$", (self.folder / "cylinder.csv").read_text(), re.M)
        self.assertAlmostEqual(float(flows[0]), 1.2, delta=0.0012)
        text = (EXAMPLE / "cylinder.ksl").read_text()
        for offset in (-5, 3, 12):
            moved = text.replace("Offset = 5 [m]", f"Offset = {offset} [m]")
            self.ksl(moved)
            flow = re.findall(r"^Flow,Flux of U,([\d.]+)", (self.folder / "cylinder.csv").read_text(), re.M)
            self.assertAlmostEqual(float(flow[0]), 1.2, delta=0.0012)

    def test_threads_that_end_leave_the_display_to_others(self):
        (self.folder / "m.ksl").write_text(self.grid + self.CUT + "COLOUR: k\nLocation = c\nVariable = p\nEND\nSHOT: s\nPicture List = k\nView List = Isometric\n"
                                           "Output File = s.png\nEND\n")
        environment = {k: v for k, v in os.environ.items() if k != "DISPLAY"}
        # The graphics driver is unloaded at the end: what it keeps of threads that ended has no name to leave it out by.
        environment["ASAN_OPTIONS"] = environment.get("ASAN_OPTIONS", "") + ":detect_leaks=0"
        for _ in range(4):
            done = subprocess.run([KSL, "sweep", "m.ksl", "--library", str(LIBRARY), "-j", "3", "--set", "/CUT:c.Offset=0.1..1.9/4 [m]", "--show", "c.Area"],
                                  cwd=self.folder, capture_output=True, text=True, env=environment, timeout=120)
            self.assertEqual((done.returncode, done.stderr, len(done.stdout.splitlines())), (0, "", 5))

    def test_a_display_that_is_not_there(self):
        text = self.grid + self.CUT + "SHOT: s\nPicture List = c\nOutput File = s.png\nEND\n"
        done = subprocess.run([KSL, "run", "--library", str(LIBRARY), "-e", text], cwd=self.folder, capture_output=True, text=True,
                              env={**os.environ, "DISPLAY": ":4711"}, timeout=60)
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertIn("The display ':4711' cannot be opened", done.stderr)

    def test_every_kind_of_show_and_file_is_painted(self):
        shows = (self.CUT + "PATCH: w\nTransparency = 0.5\nEND\nCOLOUR: k\nLocation = w\nVariable = p\nTransparency = 0.4\nEND\n"
                 "BAND: b\nLocation = c\nVariable = U.x\nOutline = On\nRange Mode = Fixed\nMin = 1 [m s^-1]\nMax = 2 [m s^-1]\nEND\n"
                 "ARROW: a\nLocation = c\nVariable = U\nColour Mode = Variable\nColour Variable = p\nPalette = Heat\nEND\n"
                 "STREAMLINES: l\nOption = Sphere\nPoint = 1 [m], 0.5 [m], 0.5 [m]\nRadius = 0.3 [m]\nVariable = U\nLine Count = 9\nEND\n"
                 "MESH LINES: m\nLocation = w\nEND\nMESH LINES: n\nLocation = c\nEND\nOUTLINE: o\nOption = Box\nLocation = RESULTS\nEND\n")
        shot = "SHOT: s\nView List = {}\nPicture Size = 240, 160\nOutput File = {}\n{}END\n"
        empty = None
        for views, file, more in (("Isometric", "all.png", "Picture List = o\n"), ("Isometric", "all.png", ""), ("X, -Y, Isometric", "three.png", ""),
                                  ("Z", "clear.png", "Transparent = On\n"), ("Isometric", "all.gltf", ""), ("Isometric", "all.vtp", ""), ("Z", "mesh.vtp", "Picture List = n\n")):
            with self.subTest(file):
                self.ksl(self.grid + shows + shot.format(views, file, more))
                content = (self.folder / file).read_bytes()
                self.assertGreater(len(content), 1000)
                if file.endswith(".png"):
                    self.assertEqual(content[16:24], bytes([0, 0, 0, 240, 0, 0, 0, 160]))
                    self.assertNotEqual(content, empty)
                    empty = content
                elif file == "mesh.vtp":  # four squares
                    self.assertIn('NumberOfLines="12"', content.decode(errors="replace"))
                elif file.endswith(".gltf"):
                    self.assertGreater(len(json.loads(content)["meshes"]), 4)

    def test_pictures_over_time(self):
        grids.foam(self.folder / "case")
        text = ("RESULTS:\nResults File = case\nEND\n" + self.CUT + "BAND: b\nLocation = c\nVariable = p\nEND\n"
                 "SHOT: s\nPicture List = b\nView List = X\nPicture Size = 160, 120\nTime List = All\nOutput File = f.png\nEND\n")
        self.ksl(text)
        first, second = ((self.folder / f"f.000{n}.png").read_bytes() for n in (1, 2))
        self.assertNotEqual(first, second)
        # Without the program that joins pictures there are only these; with one, what it makes of them in their order.
        movie = "MOVIE: m\nShot = s\nOutput File = f.mp4\nEND\n"
        (self.folder / "f.0001.png").unlink()
        told = self.ksl(text + movie, path="").stderr
        self.assertEqual(re.findall(r"(?:error|warning)\[.*ffmpeg.*", told), ["warning[8]: 'f.mp4' is not made: ffmpeg, which joins pictures, is not "
                                                                             "there (Debian's package ffmpeg)."])
        self.assertEqual((self.folder / "f.0001.png").read_bytes(), first)
        self.assertFalse((self.folder / "f.mp4").exists())
        (self.folder / "ffmpeg").write_text("#!/bin/sh\nfor last; do :; done\n/bin/cat ${last%film.mp4}0.png ${last%film.mp4}1.png > $last\n")
        (self.folder / "ffmpeg").chmod(0o755)
        self.ksl(text, movie, path=str(self.folder))
        self.assertEqual((self.folder / "f.mp4").read_bytes(), first + second)

    def test_charts(self):
        self.ksl(self.grid + "PROBE: l\nOption = Line\nPoint 1 = 0 [m], 0.5 [m], 0.5 [m]\nPoint 2 = 2 [m], 0.5 [m], 0.5 [m]\nVariable List = p, U.x\nEND\n"
                 "CHART: k\nValue List = l\nVariable List = p\nTitle = \"a < b\"\nOutput File = k.svg\nEND\nCHART: j\nValue List = l\nOutput File = j.png\nEND\n")
        drawing = (self.folder / "k.svg").read_text()
        self.assertIn(">p in Pa</text>", drawing)
        self.assertIn(">a &lt; b</text>", drawing)
        line = re.findall(r'points="([^"]*)" fill="none" stroke="#1f6fb4"', drawing)[0].split()
        self.assertEqual(len(line), 10)
        self.assertTrue((self.folder / "j.png").read_bytes().startswith(b"\x89PNG"))
        # The table of a sweep, with a row that failed and one in quotes.
        (self.folder / "s.csv").write_text("/CUT:c.Offset [m],\"/INTEGRAL:x.Result [m^3 s^-1]\",files,errors\n0,1,,\n1,2,\"a, \"\"b\"\"\",\n2,,,no\n4,5,,\n")
        self.ksl("CHART: k\nTable File = s.csv\nOutput File = k.svg\nEND\n")
        drawing = (self.folder / "k.svg").read_text()
        self.assertIn(">c.Offset in m</text>", drawing)
        self.assertEqual(len(re.findall(r'points="([^"]*)" fill="none" stroke="#1f6fb4"', drawing)[0].split()), 3)
        self.assertNotIn('stroke="#d1495b"', drawing)
        # Lines of several units say which.
        (self.folder / "s.csv").write_text("x [m],a [Pa],b [m s^-1]\n0,1,2\n1,2,3\n")
        self.ksl("CHART: k\nTable File = s.csv\nOutput File = k.svg\nEND\n")
        self.assertEqual(re.findall(">([ab] in [^<]*|Pa|m/s)</text>", (self.folder / "k.svg").read_text()), ["a in Pa", "b in m/s"])
        for file, says in (("z.csv", "Table file 'z.csv' cannot be read: No such file"), ("k.svg", "Table file 'k.svg' has no column of numbers")):
            self.assertIn(says, self.ksl(f"CHART: j\nTable File = {file}\nOutput File = j.svg\nEND\n", status=1).stderr)

    # ---- the document

    def test_the_document_shows_what_happens(self):
        self.maxDiff = None
        shown, printed = results_document.run(KSL, self.folder)
        self.assertGreater(len(shown), 500)
        self.assertEqual(printed, shown)
        for name, picture in results_document.pictures().items():
            self.assertTrue(picture.is_file(), picture)
            self.assertTrue(name == "wind.png" or (self.folder / name).is_file(), name)

    # ---- being stopped

    def test_streamlines_are_stopped(self):
        shutil.copy(EXAMPLE / "cylinder.vtu", self.folder)
        text = ("RESULTS:\nResults File = cylinder.vtu\nEND\nSTREAMLINES: l\nVariable = U\nLine Count = 40000\n"
                "Point 1 = -5.9 [m], -2.8 [m], 0.1 [m]\nPoint 2 = -5.9 [m], 2.8 [m], 0.1 [m]\nEND\n")
        run = subprocess.Popen([KSL, "run", "--library", str(LIBRARY), "-e", text], cwd=self.folder, stderr=subprocess.PIPE)
        time.sleep(3)
        self.assertIsNone(run.poll())
        begin = time.monotonic()
        run.send_signal(signal.SIGINT)
        _, said = run.communicate(timeout=30)
        self.assertLess(time.monotonic() - begin, 2)  # on a machine that does other things, too
        self.assertEqual(run.returncode, 130, said)


if __name__ == "__main__":
    signal.signal(signal.SIGINT, signal.SIG_DFL)  # for those that are started: shells have it ignored in the background
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
