"""Prints the benchmark program's JSON as a Markdown table: each figure, its baseline of the same run, and the limit."""

import json
import sys

rows = json.load(open(sys.argv[1]))["benchmarks"]
rows = [row for row in rows if row.get("run_type") != "aggregate"]
counters = sorted({key for row in rows for key in row if key.endswith(("_ratio", "_ns", "_bytes", "allocations"))})
print("| figure | time |" + "".join(f" {counter} |" for counter in counters))
print("| --- | --- |" + " --- |" * len(counters))
for row in rows:
    cells = "".join(f" {row[counter]:.3g} |" if counter in row else " |" for counter in counters)
    print(f"| {row['name']} | {row['real_time']:.4g} {row['time_unit']} |{cells}")
