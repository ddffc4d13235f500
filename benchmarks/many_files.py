#!/usr/bin/env python3
"""Measures kiln on 10,000 small TIFF files with records, beside the programs that people take for it.

    many_files.py KILN RECORD [COUNT]

RECORD is the program that prints an acquisition record (examples/AcquisitionRecord.cpp). Each command runs on all files in
one call, in three interleaved rounds; xmllint, the peer of "kiln validate", runs on their documents. The files lie in memory
where the system has such a folder. Printed are medians, a file: elapsed time, processor time, and the ratios of elapsed times
within a round to those of the peers.
"""

import os
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path


def output_of(command):
    return subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout


def make_files(kiln, record, count, folder):
    pixels = Path(folder, "pixels.pgm")
    pixels.write_bytes(b"P5 64 64 255\n" + bytes(range(256)) * 16)
    document = Path(folder, "record.xml")
    document.write_bytes(output_of([record, "a cell", "64", "64", "107 nm"]))
    first = Path(folder, "0.tif")
    subprocess.run([kiln, "import", pixels, first, "--metadata", document], check=True)
    document.write_bytes(output_of([kiln, "metadata", "--as-is", first]))
    files = [first.name] + [f"{number}.tif" for number in range(1, count)]
    for name in files[1:]:
        shutil.copyfile(first, Path(folder, name))
    for name in files:
        shutil.copyfile(document, Path(folder, name).with_suffix(".xml"))
    return files


def processor_time():
    """Of all programs that have ended, in seconds."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def main():
    kiln, record = (os.path.abspath(path) for path in sys.argv[1:3])
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 10_000
    memory = "/dev/shm" if os.path.isdir("/dev/shm") else None # nothing is read from a disk
    with tempfile.TemporaryDirectory(prefix="kiln-benchmark-", dir=memory) as folder:
        files = make_files(kiln, record, count, folder)
        documents = [Path(name).with_suffix(".xml") for name in files]
        schema = Path(__file__).resolve().parent.parent / "share" / "ArdoMetadata.xsd"
        commands = {
            "tiffinfo": ["tiffinfo"],
            "exiftool": ["exiftool", "-q"],
            "exiftool -json": ["exiftool", "-q", "-json"],
            "xmllint --schema": ["xmllint", "--noout", "--schema", schema],
            "kiln info --no-pixels": [kiln, "info", "--no-pixels"],
            "kiln info": [kiln, "info"],
            "kiln info --json": [kiln, "info", "--json"],
            "kiln metadata --as-is": [kiln, "metadata", "--as-is"],
            "kiln metadata": [kiln, "metadata"],
            "kiln metadata --json": [kiln, "metadata", "--json"],
            "kiln validate": [kiln, "validate"],
        }
        times = {name: [] for name in commands}
        processor_times = {name: [] for name in commands}
        for _ in range(3):
            for name, command in commands.items():
                inputs = documents if name.startswith("xmllint") else files
                processor_begin = processor_time()
                begin = time.monotonic()
                subprocess.run(command + inputs, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
                times[name].append((time.monotonic() - begin) / count * 1e6)
                processor_times[name].append((processor_time() - processor_begin) / count * 1e6)
        print(f"{count} files of {os.path.getsize(Path(folder, files[0]))} bytes, {os.cpu_count()} processors, "
              f"load {os.getloadavg()[0]:.1f}")
        print(f"{'command':24} {'a file':>10} {'processor':>10}   ratio (ours / other)")
        for name, elapsed in times.items():
            peers = ["tiffinfo", "exiftool"] if name.startswith("kiln") else []
            peers += ["xmllint --schema"] if name == "kiln validate" else []
            ratios = {peer: statistics.median(map(lambda ours, other: ours / other, elapsed, times[peer])) for peer in peers}
            peers = [f"{ratio:.2f} x {peer}" for peer, ratio in ratios.items()]
            print(f"{name:24} {statistics.median(elapsed):7.1f} us {statistics.median(processor_times[name]):7.1f} us"
                  f"   {', '.join(peers)}")


if __name__ == "__main__":
    main()
