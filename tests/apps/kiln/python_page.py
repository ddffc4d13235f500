#!/usr/bin/python3
"""Runs the program of docs/python.md on a file of ours and holds the page against it.

    python_page.py KILN RECORD SOURCE_DIR
"""

import os
import subprocess
import sys
import tempfile
from pathlib import Path


def main():
    kiln, record, source = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    program = source / "examples/python/read_images.py"
    with tempfile.TemporaryDirectory(prefix="kiln-python-") as folder:
        with open(Path(folder, "record.xml"), "wb") as document:
            subprocess.run([record, "one cell", "550", "660", "107 nm"], stdout=document, check=True)
        subprocess.run([kiln, "import", source / "tests/Data/images/cell.png", "cell.tif", "--metadata", "record.xml",
                        "--pixel-size", "107 nm"], cwd=folder, check=True)
        plain = {name: value for name, value in os.environ.items() if not name.startswith("LD_")}
        result = subprocess.run([sys.executable, program, "cell.tif"], cwd=folder, env=plain, check=True,
                                stdout=subprocess.PIPE)
    if len(program.read_text().splitlines()) > 30:
        sys.exit(f"{program.name} has more than 30 lines")
    quoted = f"```python\n{program.read_text()}```\n\n```text\n{result.stdout.decode()}```\n"
    if quoted not in (source / "docs/python.md").read_text():
        sys.exit(f"docs/python.md does not quote {program.name} and what it prints:\n{result.stdout.decode()}")


if __name__ == "__main__":
    main()
