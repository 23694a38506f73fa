#!/usr/bin/env python3
"""The post-processor on large results, beside OpenFOAM's own numbers and beside VTK's Python doing the same job.

    large.py --ksl KSL --folder FOLDER [--rounds 3] [--million]

FOLDER keeps what takes long to make: the case "wind" (Debian's openfoam and openfoam-examples; some minutes), and with
--million a flow past a cylinder in 2.7 million cells. Exits with 1 when a flux is off by more than 0.1 %, when an edit is
not 5 times as fast as a fresh script, or when the whole run is slower than the script."""

import argparse
import csv
import os
import pathlib
import re
import resource
import shutil
import statistics
import subprocess
import sys
import time

HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parents[1]
LIBRARY = SOURCE / "share" / "ksl-results"
EXAMPLES = SOURCE / "examples" / "results"
CASE = pathlib.Path("/usr/share/doc/openfoam-examples/examples/incompressible/simpleFoam/windAroundBuildings")
PYTHON = "/usr/bin/python3"  # Debian's, which has Debian's VTK
FOAM = {**os.environ, "WM_PROJECT_DIR": "/usr/share/openfoam"}


def make_wind(folder):
    case = folder / "wind"
    if (case / "400" / "p").exists():
        return case
    shutil.rmtree(case, ignore_errors=True)
    shutil.copytree(CASE, case)
    for packed in case.rglob("*.gz"):
        subprocess.run(["gunzip", packed], check=True)
    control = case / "system" / "controlDict"
    control.write_text(re.sub(r"^functions\n\{.*?^\}", "", control.read_text(), flags=re.M | re.S))
    shutil.copytree(case / "0.orig", case / "0")
    for command in (["surfaceFeatureExtract"], ["blockMesh"], ["snappyHexMesh", "-overwrite"], ["simpleFoam"]):
        begin = time.monotonic()
        print(f"making the case: {command[0]} ...", end="", flush=True)
        with open(case / f"log.{command[0]}", "w") as log:
            subprocess.run(command, cwd=case, env=FOAM, stdout=log, stderr=log, check=True)
        print(f" {time.monotonic() - begin:.0f} s")
    return case


def flux_of_solver(case):
    subprocess.run(["simpleFoam", "-postProcess", "-func", "flowRatePatch(name=outlet)", "-latestTime"], cwd=case, env=FOAM,
                   stdout=subprocess.DEVNULL, check=True)
    told = max((case / "postProcessing").rglob("surfaceFieldValue*.dat"), key=lambda file: file.stat().st_mtime)
    return float(told.read_text().split()[-1])


def numbers_in(file):
    with open(file) as rows:
        return {row[-3 if len(row) > 2 else 0] if len(row) == 2 else f"{row[0]} {row[1]}": float(row[1 if len(row) == 2 else 2])
                for row in csv.reader(rows) if row[-1] != "Units"}


def timed(words, **options):
    """Seconds that pass, and seconds of the processors."""
    before, begin = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    subprocess.run(words, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
    passed, after = time.monotonic() - begin, resource.getrusage(resource.RUSAGE_CHILDREN)
    return passed, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def edits(ksl, text, blocks, folder):
    """The seconds that each block takes in one session that has taken the text before."""
    done = subprocess.run([ksl, "--library", LIBRARY], cwd=folder, input=text + "".join(blocks), text=True, check=True, capture_output=True,
                          env={**os.environ, "XDG_STATE_HOME": str(folder)})
    told = re.findall(r"recalculated, ([\d.]+) (s|ms)$", done.stdout + done.stderr, re.M)
    seconds = [float(number) / (1 if unit == "s" else 1000) for number, unit in told]
    return seconds[-len(blocks):]


class Display:
    """A display for both, there before they are timed."""

    def __enter__(self):
        ends = os.pipe()
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(ends[1]), "-screen", "0", "64x64x24", "-nolisten", "tcp"], pass_fds=[ends[1]],
                                       stderr=subprocess.DEVNULL)
        return {**os.environ, "DISPLAY": ":" + os.read(ends[0], 16).decode().strip()}

    def __exit__(self, *_):
        self.server.terminate()
        self.server.wait()


def within(name, found, wanted, share):
    is_good = abs(found - wanted) <= share * abs(wanted)
    print(f"  {name:<44} {found:>14.3f}   {100 * (found / wanted - 1):+.4f} %{'' if is_good else '   TOO FAR OFF'}")
    return is_good


def wind(options):
    case = make_wind(options.folder)
    text = (EXAMPLES / "wind.ksl").read_text()
    offsets = [9, 11, 12, 13, 14][:max(3, options.rounds)]
    whole, script = [], []
    with Display() as display:
        for _ in range(options.rounds):
            whole.append(timed([options.ksl, "run", "--library", LIBRARY, EXAMPLES / "wind.ksl"], cwd=options.folder, env=display))
            script.append(timed([PYTHON, HERE / "wind_vtk.py", case, "10"], cwd=options.folder, env=display))
        numbers = numbers_in(options.folder / "wind.csv")
        peers = numbers_in(options.folder / "wind_vtk.csv")
        picture = edits(options.ksl, text, [f"CUT: Above Ground\n  Offset = {at} [m]\nEND\n" for at in offsets], options.folder)
        flux = edits(options.ksl, text, [f"CUT: Street\n  Offset = {90 + at} [m]\nEND\n" for at in offsets], options.folder)
    print("Wind around buildings, 185,237 cells, beside the solver's own flux")
    own = flux_of_solver(case)
    good = [within("the solver's, out, in m3/s", own, own, 0), within("ksl, through a plane between buildings", numbers["Through Flux of U"], own, 1e-3),
            within("ksl, out", numbers["Out Flux of U"], own, 1e-3), within("VTK's Python, through the plane", peers["Through"], own, 1e-3),
            within("force along x in kN, ksl beside Python", numbers["Force Force of p X"], peers["Force X"], 1e-3)]
    fresh, fresh_work = (statistics.median(times) for times in zip(*script))
    own, own_work = (statistics.median(times) for times in zip(*whole))
    print(f"Times in s, medians of {options.rounds}; processor time in brackets")
    rows = [("whole run, VTK's Python", fresh, fresh_work), ("whole run, ksl", own, own_work),
            ("an edit with its picture, ksl", statistics.median(picture), None),
            ("an edit that reaches no picture, ksl", statistics.median(flux), None)]
    for name, seconds, work in rows:
        print(f"  {name:<44} {seconds:>8.3f} {f'({work:.2f})' if work else '':<7} {fresh / seconds:6.1f} x as fast as the script")
    good += [rows[1][1] <= fresh, 5 * rows[2][1] <= fresh]
    print("An edit is 5 x as fast as a fresh script, and the whole run no slower:", "yes" if all(good[-2:]) else "NO")
    return all(good)


def million(options):
    file = options.folder / "cylinder-fine.vtu"
    if not file.exists():
        subprocess.run([PYTHON, HERE / "refine.py", EXAMPLES / "cylinder.vtu", file, "14", "10", "3"], check=True)
    text = (EXAMPLES / "cylinder.ksl").read_text().replace("cylinder.vtu", file.name)
    (options.folder / "fine.ksl").write_text(text)
    seconds, work = timed([options.ksl, "run", "--library", LIBRARY, "fine.ksl"], cwd=options.folder)
    blocks = [f"CUT: {name}\n  Offset = {at} [m]\nEND\n" for name, places in (("Middle", (0.05, 0.12)), ("Wake", (3, 4))) for at in places]
    picture, _, flux, _ = edits(options.ksl, text, blocks, options.folder)
    found = numbers_in(options.folder / "cylinder.csv")["Flow Flux of U"]
    print("Flow past a cylinder, 2,681,280 cells")
    good = within("flux in m3/s beside 1.2", found, 1.2, 1e-3)
    for name, value in (("whole run, s", seconds), ("whole run, processor time in s", work),
                        ("an edit with its picture, s", picture), ("an edit that reaches no picture, s", flux)):
        print(f"  {name:<44} {value:>8.2f}")
    print(f"  {'peak memory, MiB':<44} {peak(options):>8.0f}   of which the file is {file.stat().st_size / 2**20:.0f}")
    return good


def peak(options):
    told = subprocess.run([PYTHON, "-c", "import resource,subprocess,sys; subprocess.run(sys.argv[1:],check=True,stdout=subprocess.DEVNULL);"
                           "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)", options.ksl, "run", "--library", LIBRARY, "fine.ksl"],
                          cwd=options.folder, check=True, capture_output=True, text=True)
    return int(told.stdout) / 1024


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--ksl", type=pathlib.Path, required=True)
    parser.add_argument("--folder", type=pathlib.Path, required=True)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--million", action="store_true")
    options = parser.parse_args()
    options.ksl, options.folder = options.ksl.resolve(), options.folder.resolve()
    options.folder.mkdir(parents=True, exist_ok=True)
    good = [wind(options)] + ([million(options)] if options.million else [])
    sys.exit(0 if all(good) else 1)


if __name__ == "__main__":
    main()
