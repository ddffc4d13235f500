#!/usr/bin/python3
"""Compares what the tool does on Windows with what it does on Linux, byte for byte.

    same_bytes.py LINUX_RECORD LINUX_KILN DATA [EMULATOR] KILN

LINUX_RECORD is the program acquisition_record and LINUX_KILN the tool, both for Linux; KILN is the tool under test. Both tools
run the same commands on the images of the demo. New identifiers and times are left out of the comparison. Status 77 says that
there are no programs for Linux.
"""

import re
import subprocess
import sys
import tempfile
from pathlib import Path

SKIPPED = 77
NEW = re.compile(rb"[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}|\d{4}-\d\d-\d\d[T ]\d\d:\d\d:\d\d[.0-9]*Z?", re.I)
COMMANDS = """
import IMAGE µ世.tif --pixel-size SIZE --metadata record.xml
import IMAGE plain.tif
import - piped.tif --pixel-size SIZE
import IMAGE -
info µ世.tif
info plain.tif
metadata µ世.tif --format xml
metadata µ世.tif --format json
metadata µ世.tif --output record.json --format json
metadata record.json --output again.xml
validate µ世.tif
validate again.xml
compare µ世.tif plain.tif
compare --allow-additions record.xml µ世.tif
format 1.07e-7 m --decimals 1
parse 107\N{NO-BREAK SPACE}µm m
import nothing.png out.tif
import record.xml out.tif
--help
import --help
""".strip().splitlines()


def run(tool, image, size, folder):
    """Returns a name and bytes for each command's output and for each file."""
    results = {}
    for line in COMMANDS:
        words = [{"IMAGE": "image.png", "SIZE": size}.get(word, word) for word in line.split(" ")]
        done = subprocess.run([*tool, *words], cwd=folder, input=image.read_bytes() if " - " in line else b"",
                              capture_output=True, check=False)
        results[f"output of {line}"] = done.stdout
        results[f"status of {line}"] = str(done.returncode).encode()
    for file in sorted(folder.iterdir()):
        results[file.name] = file.read_bytes()
    return results


def main():
    record, linux, data, *tool = sys.argv[1:]
    if not (Path(record).exists() and Path(linux).exists()):
        print("there are no programs for Linux to compare with")
        return SKIPPED
    different = 0
    compared = 0
    for name, about in {"cell": ("one cell", "550", "660", "107 nm"), "ihc": ("a tissue", "512", "512", "500 nm")}.items():
        document = subprocess.run([record, *about], capture_output=True, check=True).stdout
        results = []
        for each in ([linux], tool):
            with tempfile.TemporaryDirectory() as folder:
                Path(folder, "record.xml").write_bytes(document)
                image = Path(data, "images", name + ".png")
                Path(folder, "image.png").write_bytes(image.read_bytes())
                results.append(run(each, image, about[3], Path(folder)))
        for key in sorted(results[0].keys() | results[1].keys()):
            texts = [NEW.sub(b"NEW", result.get(key, b"missing")) for result in results]
            compared += len(texts[0])
            if texts[0] != texts[1]:
                different += 1
                at = next((i for i, pair in enumerate(zip(*texts)) if pair[0] != pair[1]), min(map(len, texts)))
                print(f"{name}, {key}: {len(texts[0])} and {len(texts[1])} bytes, different from byte {at}")
                print("   ", texts[0][max(0, at - 60):at + 60], "\n   ", texts[1][max(0, at - 60):at + 60])
    print(f"{compared} bytes compared, {different} differences")
    return 1 if different or compared == 0 else 0


sys.exit(main())
