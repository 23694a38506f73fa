#!/usr/bin/env python3
"""Turns the benchmarks' output into the tables of docs/performance.md.

    bench_store --benchmark_repetitions=3 --benchmark_format=json > store.json
    bench_memory > memory.txt
    bench/report.py store.json memory.txt          prints the tables (medians)
"""
import collections
import json
import statistics
import sys

WORKS = ["load", "edit", "undo one", "redo one", "undo load", "redo load", "delete", "look up"]


def medians(file):
    """work -> peer -> objects -> seconds an item"""
    samples = collections.defaultdict(list)
    for run in json.load(open(file))["benchmarks"]:
        if run.get("run_type") == "aggregate":
            continue
        work, peer, objects = run["name"].split("/")[:3]
        samples[work, peer, int(objects)].append(1 / run["items_per_second"])
    table = collections.defaultdict(lambda: collections.defaultdict(dict))
    for (work, peer, objects), seconds in samples.items():
        table[work][peer][objects] = statistics.median(seconds)
    return table


def times(table):
    sizes = sorted({size for peers in table.values() for row in peers.values() for size in row})
    print("| work | peer | " + " | ".join(f"{size:,}" for size in sizes) + " |")
    print("|---|---|" + "---:|" * len(sizes))
    for work in WORKS:
        for peer in ("map", "flat", "library"):
            cells = []
            for size in sizes:
                own = table[work][peer].get(size)
                base = table[work]["map"].get(size)
                flat = table[work]["flat"].get(size)
                if own is None:
                    cells.append("")
                elif peer == "library" and base and flat:
                    cells.append(f"{own * 1e9:,.0f} ns ({own / base:.1f} × map, {own / flat:.1f} × flat)")
                else:
                    cells.append(f"{own * 1e9:,.0f} ns")
            print(f"| {work} | {peer} | " + " | ".join(cells) + " |")


def memory(file):
    rows = [line.rstrip("\n").split("\t") for line in open(file) if line[0] != "#"][1:]
    map_peak = {row[1]: float(row[2]) for row in rows if row[0] == "map"}
    print("| peer | objects | peak MiB | × map | bytes an object above the text |")
    print("|---|---:|---:|---:|---:|")
    for peer, objects, peak, _above, each in rows:
        print(f"| {peer} | {int(objects):,} | {peak} | {float(peak) / map_peak[objects]:.2f} | {each} |")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    times(medians(sys.argv[1]))
    print()
    memory(sys.argv[2])


if __name__ == "__main__":
    main()
