"""Prints the benchmark program's JSON as a Markdown table: each figure, its baseline of the same run, and the target."""

import json
import sys

rows = {}
for row in json.load(open(sys.argv[1]))["benchmarks"]:
    if row.get("run_type") != "aggregate":
        rows.setdefault(row["name"].replace("/process_time", "").replace("/real_time", "").replace("/manual_time", ""), row)


def size(count):
    return f"{count >> 20} MiB" if count >= 1 << 20 else f"{count >> 10} KB"


table = []
for name, row in rows.items():
    kind, _, argument = name.partition("/")
    argument = argument.split("/")[0]
    if kind == "BM_ReadDocument":
        table.append((f"bytes to timeline, {size(int(argument))}", f"{row['real_time']:.3g} ms",
                      f"{row['ratio']:.2f} × libxml2's bare parse", "≤ 2.0 ×"))
    elif kind == "BM_TimelineMemory":
        table.append((f"memory of a timeline, {size(int(argument))} document", size(int(row["bytes"])),
                      f"{row['ratio']:.2f} × the document", ""))
    elif "throughput_ratio" in row:
        table.append(("10,000 beacons to a loopback server", f"{row['beacons_per_second']:,.0f}/s",
                      f"{row['throughput_ratio']:.2f} × a bare curl-multi loop", "≥ 0.9 ×"))
    elif "lower_bound_ratio" in row:
        table.append((f"{kind}, {int(argument):,} break{'s' if argument != '1' else ''}", f"{row['real_time']:.0f} ns",
                      f"{row['lower_bound_ratio']:.1f} × std::lower_bound over as many integers",
                      "< 200 ns" if argument == "1000" else ""))
    elif kind in ("updateInContent", "updateInAd"):
        table.append((kind, f"{row['real_time']:.0f} ns", f"{row['allocations']:.0f} allocations",
                      "< 300 ns, none" if kind == "updateInContent" else "< 2 µs"))
    elif kind == "constructionToFirstContentTime":
        baseline = rows["loadTimeline"]["real_time"]
        table.append(("construction to first content time, 12 breaks", f"{row['real_time'] / 1000:.2f} ms",
                      f"{row['real_time'] / baseline:.2f} × the load of the timeline alone", ""))
    elif kind == "updateThroughSession":
        baseline = rows["updateOfTracker"]["real_time"]
        table.append(("a progress update, player to application", f"{row['real_time']:.0f} ns",
                      f"{row['real_time'] / baseline:.1f} × the tracker alone", ""))
    elif kind == "hourOfViewing":
        table.append(("an hour of viewing, 12 breaks of 2 ads", f"{row['real_time']:.1f} ms",
                      f"{row['beacons']:.0f} beacons, {row['lifecycleEvents']:.0f} lifecycle events", "< 50 ms"))
    elif kind.startswith("contentAnalytics"):
        table.append((f"{kind}, {int(argument):,}", f"{row['real_time']:.0f} ns", "", ""))

print("| figure | measured | compared with its baseline | target |\n| --- | --- | --- | --- |")
for line in table:
    print("| " + " | ".join(line) + " |")
