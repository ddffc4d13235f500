#!/usr/bin/env python3
"""Measures kiln on 10,000 small TIFF files with records, beside the programs that people take for it.

    many_files.py KILN RECORD [COUNT]

RECORD is the program that prints an acquisition record (examples/AcquisitionRecord.cpp). Each command runs on all files in
one call, in three interleaved rounds; printed are medians of elapsed time a file and their ratios to the peers.
"""

import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path


def make_files(kiln, record, count, folder):
    pixels = Path(folder, "pixels.pgm")
    pixels.write_bytes(b"P5 64 64 255\n" + bytes(range(256)) * 16)
    document = Path(folder, "record.xml")
    document.write_bytes(subprocess.run([record, "a cell", "64", "64", "107 nm"], stdout=subprocess.PIPE, check=True).stdout)
    first = Path(folder, "0.tif")
    subprocess.run([kiln, "import", pixels, first, "--metadata", document], check=True)
    files = [first.name] + [f"{number}.tif" for number in range(1, count)]
    for name in files[1:]:
        shutil.copyfile(first, Path(folder, name))
    return files


def main():
    kiln, record = (os.path.abspath(path) for path in sys.argv[1:3])
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 10_000
    with tempfile.TemporaryDirectory(prefix="kiln-benchmark-") as folder:
        files = make_files(kiln, record, count, folder)
        commands = {
            "tiffinfo": ["tiffinfo"],
            "exiftool": ["exiftool", "-q"],
            "exiftool -json": ["exiftool", "-q", "-json"],
            "kiln info --no-pixels": [kiln, "info", "--no-pixels"],
            "kiln info": [kiln, "info"],
            "kiln info --json": [kiln, "info", "--json"],
            "kiln metadata --as-is": [kiln, "metadata", "--as-is"],
            "kiln metadata": [kiln, "metadata"],
            "kiln metadata --json": [kiln, "metadata", "--json"],
            "kiln validate": [kiln, "validate"],
        }
        times = {name: [] for name in commands}
        for _ in range(3):
            for name, command in commands.items():
                begin = time.monotonic()
                subprocess.run(command + files, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
                times[name].append((time.monotonic() - begin) / count * 1e6)
        medians = {name: statistics.median(values) for name, values in times.items()}
        print(f"{count} files of {os.path.getsize(Path(folder, files[0]))} bytes, {os.cpu_count()} processors, "
              f"load {os.getloadavg()[0]:.1f}")
        print(f"{'command':24} {'a file':>10}   ratio (ours / other)")
        for name, median in medians.items():
            peers = [] if not name.startswith("kiln") else [f"{median / medians[peer]:.2f} x {peer}"
                                                            for peer in ("tiffinfo", "exiftool")]
            print(f"{name:24} {median:7.1f} us   {', '.join(peers)}")


if __name__ == "__main__":
    main()
