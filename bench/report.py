"""Prints the bench/run table: each job, our mean time, and every other tool's mean time
with the ratio theirs / ours (above 1: ours is faster), once against our whole command and
once against our job alone (NAME.work: the job repeated in one process, without loading the
runtime). Reads the NAME.json files hyperfine wrote in the current folder; names are
JOB_TOOL, with TOOL "ours" for ours (and "oursMT" for our threaded twin, whose ratio is
ours / oursMT like any other tool's)."""
import json
import os
import sys

jobs = {}
for name in sys.argv[1:]:
    job, tool = name.rsplit("_", 1)
    with open(name + ".json") as f:
        result = json.load(f)["results"][0]
    work = None
    if os.path.exists(name + ".work"):
        with open(name + ".work") as f:
            work = float(f.read().split()[-1])
    jobs.setdefault(job, []).append((tool, result["mean"], result["stddev"] or 0.0, work))

print(f"{'job':<16} {'tool':<14} {'mean s':>8} {'+/-':>6} {'theirs/ours':>12} {'theirs/job':>11}")
for job, rows in jobs.items():
    ours = next(row for row in rows if row[0] == "ours")
    for tool, mean, stddev, work in rows:
        if tool.startswith("ours") and work is not None and tool != "ours":
            print(f"{job:<16} {tool:<14} {mean:8.3f} {stddev:6.3f} {mean / ours[1]:12.2f} {work / ours[3]:11.2f}   (job alone {work:.3f} s)")
        elif tool == "ours":
            print(f"{job:<16} {tool:<14} {mean:8.3f} {stddev:6.3f} {'':>12} {'':>11}   (job alone {work:.3f} s)")
        else:
            print(f"{job:<16} {tool:<14} {mean:8.3f} {stddev:6.3f} {mean / ours[1]:12.2f} {mean / ours[3]:11.2f}")
