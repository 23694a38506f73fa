#!/usr/bin/env python3
"""Runs the texts of docs/results.md as a reader would, and renews its pictures.

    results_document.py --ksl KSL [--wind FOLDER]     FOLDER holds the case "wind" of make run-results-large
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parents[1]
DOCUMENT = SOURCE / "docs" / "results.md"
PICTURES = SOURCE / "docs" / "pictures"
LIBRARY = SOURCE / "share" / "ksl-results"
EXAMPLES = SOURCE / "examples" / "results"


def pictures():
    """Those that the document shows, by the name of the file that a text writes."""
    return {path.name.removeprefix("results-"): path for path in map(PICTURES.joinpath, re.findall(r"\]\(pictures/(\S+)\)", DOCUMENT.read_text()))}


def run(ksl, folder):
    """Enters the document's commands in the folder; what it shows, and what is printed."""
    folder = pathlib.Path(folder)
    document = DOCUMENT.read_text()
    shutil.copy(EXAMPLES / "cylinder.vtu", folder)
    for name, text in re.findall(r"^```ksl (\S+)\n(.*?)^```", document, re.M | re.S):
        (folder / name).write_text(text)
    (folder / "bin").mkdir()
    (folder / "bin" / "ksl").symlink_to(pathlib.Path(ksl).resolve())
    environment = {key: value for key, value in os.environ.items() if key != "DISPLAY"}
    environment.update(ORV_KSL_LIBRARY_PATH=str(LIBRARY), PATH=f"{folder / 'bin'}:{os.environ['PATH']}")
    shown = printed = ""
    for block in re.findall(r"^```console\n(.*?)^```", document, re.M | re.S):
        shown += block
        for command in re.findall(r"^\$ (.*(?:\n> .*)*)", block, re.M):
            done = subprocess.run(["sh", "-c", command.replace("\n> ", "\n")], cwd=folder, env=environment, text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
            printed += f"$ {command}\n{done.stdout}" + ("" if done.stdout.endswith("\n") or not done.stdout else "\n")
    return shown, printed


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--ksl", type=pathlib.Path, required=True)
    parser.add_argument("--wind", type=pathlib.Path)
    options = parser.parse_args()
    PICTURES.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="ksl-results-") as folder:
        run(options.ksl, folder)
        if options.wind and (options.wind / "wind").exists():
            os.symlink((options.wind / "wind").resolve(), pathlib.Path(folder) / "wind")
            subprocess.run([options.ksl.resolve(), "run", "--library", LIBRARY, EXAMPLES / "wind.ksl"], cwd=folder, check=True)
        for name, picture in pictures().items():
            if (pathlib.Path(folder) / name).exists():
                shutil.copy(pathlib.Path(folder) / name, picture)
                print(f"{picture.relative_to(SOURCE)}: {picture.stat().st_size // 1024} KiB")
            else:
                print(f"{picture.relative_to(SOURCE)}: left as it is")


if __name__ == "__main__":
    main()
