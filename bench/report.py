"""Prints the bench/run table: each job, our mean time, and every other tool's mean time
with the ratio theirs / ours (above 1: ours is faster). Reads NAME.json files that
hyperfine wrote in the current folder; names are JOB_TOOL, with TOOL "ours" for ours."""
import json
import sys

jobs = {}
for name in sys.argv[1:]:
    job, tool = name.rsplit("_", 1)
    with open(name + ".json") as f:
        result = json.load(f)["results"][0]
    jobs.setdefault(job, []).append((tool, result["mean"], result["stddev"] or 0.0))

print(f"{'job':<16} {'tool':<14} {'mean s':>8} {'+/-':>6}  theirs/ours")
for job, rows in jobs.items():
    ours = dict((tool, mean) for tool, mean, _ in rows)["ours"]
    for tool, mean, stddev in rows:
        ratio = "" if tool == "ours" else f"{mean / ours:9.2f}"
        print(f"{job:<16} {tool:<14} {mean:8.3f} {stddev:6.3f}  {ratio}")
