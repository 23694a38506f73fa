#!/usr/bin/env python3
"""Counts the instructions of each kind of work and compares them with the figures that are kept.

    bench_count.py [--program FILE] [--library] [--keep]

Fails when a work takes more than 3 % above its figure in bench/counts.json; says so when one takes more than 3 %
less, for then the figure is to be kept anew (--keep writes the file). Figures are instructions an object, or an
operation, as valgrind's callgrind counts them: the same in every run of one binary on any processor. With --library
the runs of ksl are left out, which then need not be built.
"""
import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
FIGURES = ROOT / "bench" / "counts.json"
OBJECTS = 2000
# libc takes the copying and searching functions that suit the processor; those that every one has are counted.
ENVIRONMENT = {**os.environ, "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2,-AVX,-BMI2,-ERMS,-FSRM"}
OPERATIONS = {"edit": 200, "undo": 200, "redo": 200, "real edit": 200}
TOLERANCE = 0.03


def measure(program):
    """work -> instructions an object or operation"""
    with tempfile.TemporaryDirectory() as folder:
        out = pathlib.Path(folder) / "counts"
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--instr-atstart=no", f"--callgrind-out-file={out}",
             program, str(OBJECTS)],
            capture_output=True, text=True, env=ENVIRONMENT)
        if run.returncode != 0:
            sys.exit(f"bench_count.py: {program} failed:\n{run.stderr}")
        counts = {}
        for part in sorted(pathlib.Path(folder).glob("counts.*")):
            text = part.read_text()
            work = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.M)
            total = re.search(r"^(?:totals|summary): (\d+)", text, re.M)
            if work and total:
                counts[work[1]] = round(int(total[1]) / OPERATIONS.get(work[1], OBJECTS))
        return counts


def measure_runs(program):
    """The models through "ksl run", from its start to its end, less what a run without a model takes."""
    with tempfile.TemporaryDirectory() as folder:
        return measure_runs_in(pathlib.Path(folder), program)


def measure_runs_in(folder, program):
    subprocess.run([program, str(OBJECTS), folder], check=True)
    (folder / "none.ksl").write_text("")
    ksl = pathlib.Path(program).parent / "ksl"
    counts = {}
    for model in ("plain", "real"):
        totals = []
        for text in (model, "none"):
            run = subprocess.run(
                ["valgrind", "--tool=callgrind", f"--callgrind-out-file={folder}/run",
                 ksl, "run", "--library", folder / f"{model}-rules.ksl", folder / f"{text}.ksl"],
                capture_output=True, text=True, env=ENVIRONMENT)
            if run.returncode != 0:
                sys.exit(f"bench_count.py: ksl run failed:\n{run.stderr}")
            totals.append(int(re.search(r"^(?:totals|summary): (\d+)", (folder / "run").read_text(), re.M)[1]))
        counts[f"run {model}"] = round((totals[0] - totals[1]) / OBJECTS)
    return counts


def verdict(counts, figures):
    """A line for each work and whether all are within the tolerance."""
    lines, good = [], True
    for work in sorted(set(counts) | set(figures)):
        now, kept = counts.get(work), figures.get(work)
        if now is None or kept is None:
            lines.append(f"{work:20} " + ("not measured" if now is None else f"{now:10,} and no figure kept"))
            good = False
            continue
        change = now / kept - 1
        word = ""
        if change > TOLERANCE:
            word, good = "  MORE than is kept", False
        elif change < -TOLERANCE:
            word = "  less: keep it (bench_count.py --keep)"
        lines.append(f"{work:20} {now:10,} {kept:10,} {change:+7.1%}{word}")
    return lines, good


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", default=str(ROOT / "build/counts/bin/bench_counts"))
    parser.add_argument("--library", action="store_true", help="leave out the runs of ksl")
    parser.add_argument("--keep", action="store_true", help="write the figures instead of comparing")
    arguments = parser.parse_args()
    with concurrent.futures.ThreadPoolExecutor() as pool:  # each waits for a valgrind of its own
        parts = [pool.submit(measure, arguments.program)]
        if not arguments.library:
            parts.append(pool.submit(measure_runs, arguments.program))
        counts = {work: figure for part in parts for work, figure in part.result().items()}
    if arguments.keep:
        FIGURES.write_text(json.dumps(counts, indent=2, sort_keys=True) + "\n")
        print(f"kept {len(counts)} figures in {FIGURES.relative_to(ROOT)}")
        return 0
    figures = json.loads(FIGURES.read_text())
    if arguments.library:
        figures = {work: figure for work, figure in figures.items() if not work.startswith("run ")}
    lines, good = verdict(counts, figures)
    print("\n".join([f"{'work':20} {'now':>10} {'kept':>10}"] + lines))
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
