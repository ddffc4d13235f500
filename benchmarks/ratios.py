#!/usr/bin/env python3
"""Prints one table from Google Benchmark's JSON: each subject beside its peer and its limit, as ratios of medians.

Benchmarks are named "<subject>/ours", "<subject>/peer" and, where the machine sets one, "<subject>/limit". A subject may
have several peers: "<subject>/peer:<name>".
"""

import json
import re
import statistics
import sys
from collections import defaultdict

UNIT = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def human(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.2f} {unit}"
    return f"{nanoseconds:.1f} ns"


def main(path):
    with open(path, encoding="utf-8") as file:
        document = json.load(file)

    times = defaultdict(lambda: defaultdict(list))
    counters = defaultdict(dict)
    known = {"real_time", "cpu_time", "iterations", "repetitions", "repetition_index", "threads", "time_unit"}
    for run in document["benchmarks"]:
        if run.get("run_type") != "iteration":
            continue
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run.get('error_message')}")
        match = re.match(r"(.*)/(ours|peer|limit)(?::([^/]*))?(/.*)?$", run["run_name"])
        if not match:
            continue
        subject, role, name, options = match.groups()
        label = role if name is None else f"{role}:{name}"
        # Files are the kernel's work, and a call of a thread is waiting: those benchmarks ask for elapsed time.
        which = "real_time" if options and re.search("real_time|manual_time", options) else "cpu_time"
        times[subject][label].append(run[which] * UNIT[run["time_unit"]])
        for key, value in run.items():
            if key.endswith("_MiB"):
                counters[subject].setdefault(f"{key} {label}", value)

    context = document["context"]
    load = ", ".join(f"{value:.1f}" for value in context.get("load_avg", []))
    print(f"{context['num_cpus']} processors, {context['mhz_per_cpu']} MHz, load {load}")
    print(f"{'subject':44} {'ours':>10} {'spread':>8}   ratio of medians (ours / other)")
    for subject in sorted(times):
        ours = times[subject].get("ours")
        if not ours:
            continue
        median = statistics.median(ours)
        spread = (max(ours) - min(ours)) / median * 100
        ratios = [f"{median / statistics.median(values):.2f} x {label} ({human(statistics.median(values))})"
                  for label, values in sorted(times[subject].items()) if label != "ours"]
        extra = [f"{key} {value:.1f}" for key, value in counters[subject].items()]
        print(f"{subject:44} {human(median):>10} {spread:7.0f}%   {', '.join(ratios + extra)}")


if __name__ == "__main__":
    main(sys.argv[1])
