#!/usr/bin/python3
"""Holds trace files against the trace event format (JSON object form) and prints what is in them.

    check_trace.py TRACE...

Checked: the keys that each phase needs and their types, no keys that it does not have, times that are not before the
start, and that the complete events of a thread lie within or beside one another, as stages do. Printed: a line for each
event, "phase name arguments", within a trace by thread and begin, without times.
"""

import json
import math
import sys

ALWAYS = {"ph": str, "name": str, "cat": str, "pid": int, "tid": int, "ts": float}
KEYS = {
    "X": {"dur": float},
    "C": {"args": dict},
    "i": {"s": str},
    "M": {"args": dict},
}
OPTIONAL = {"X": {"args": dict}}
METADATA = {"process_name", "thread_name"}


def refuse(constant):
    raise ValueError(f"{constant} is no JSON")


def unique(pairs):
    assert len(dict(pairs)) == len(pairs), pairs
    return dict(pairs)


def check_keys(event):
    wanted = ALWAYS | KEYS[event["ph"]]
    assert set(wanted) <= set(event) <= set(wanted | OPTIONAL.get(event["ph"], {})), event
    for key, value in event.items():
        kind = (wanted | OPTIONAL.get(event["ph"], {}))[key]
        assert isinstance(value, kind) and not isinstance(value, bool), event


def check(event, process):
    check_keys(event)
    assert event["pid"] == process, event
    assert event["ts"] >= 0.0 and event.get("dur", 0.0) >= 0.0, event
    assert event["ph"] != "i" or event["s"] in ("g", "p", "t"), event
    assert event["ph"] != "M" or event["name"] in METADATA and isinstance(event["args"]["name"], str), event
    if event["ph"] == "C":
        assert event["args"] and all(math.isfinite(value) for value in event["args"].values()), event


def check_nesting(events):
    """The open stages form a stack; times are whole nanoseconds."""
    ends = []
    for event in sorted(events, key=lambda event: (event["ts"], -event["dur"])):
        begin, end = round(event["ts"] * 1000), round((event["ts"] + event["dur"]) * 1000)
        while ends and ends[-1] <= begin:
            ends.pop()
        assert not ends or end <= ends[-1], event
        ends.append(end)


def main():
    for name in sys.argv[1:]:
        with open(name, encoding="utf-8") as file:
            trace = json.load(file, parse_constant=refuse, object_pairs_hook=unique)
        assert set(trace) == {"traceEvents", "displayTimeUnit", "otherData"}, set(trace)
        assert trace["displayTimeUnit"] in ("ms", "ns")
        events = trace["traceEvents"]
        for event in events:
            check(event, events[0]["pid"])
        threads = {}
        for event in events:
            threads.setdefault(event["tid"], []).append(event)
        for own in threads.values():
            check_nesting([event for event in own if event["ph"] == "X"])
            for event in sorted(own, key=lambda event: (event["ts"], -event.get("dur", 0.0))):
                print(event["ph"], event["name"], json.dumps(event.get("args", {})))
        print("dropped", trace["otherData"]["droppedEvents"])


if __name__ == "__main__":
    main()
