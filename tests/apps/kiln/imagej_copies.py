#!/usr/bin/python3
"""Writes copies for ImageJ, and reads them as programs that know its files do.

    imagej_copies.py KILN PAGE

PAGE has the Python lines that give the calibration; they are run.
"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import numpy
import tifffile


METRES = {"nm": 1e-9, "um": 1e-6, "pm": 1e-12}


def main():
    kiln, page = sys.argv[1], Path(sys.argv[2]).read_text()
    lines = {name: code for code, name in re.findall(r"```python\n([^`]*)```\n\n<!-- run: (\w+) -->", page)}

    def run(*arguments, status=0):
        result = subprocess.run([kiln, *arguments], stderr=subprocess.PIPE, stdout=subprocess.PIPE)
        assert result.returncode == status, (arguments, result)
        return result.stderr.decode()

    samples = numpy.arange(60).reshape(6, 10)
    images = {"uint8": samples.astype("u1"), "uint16": (samples * 1000).astype("u2"), "float32": (samples / 7).astype("f4"),
              "rgb": numpy.repeat(samples.astype("u1")[..., None], 3, 2)}
    for name, pixels in images.items():
        tifffile.imwrite(f"{name}.tif", pixels)
        for given, width, unit in (("107 nm", 107.0, "nm"), ("1.5 \u00b5m", 1.5, "um"), ("2.5e-11", 25.0, "pm")):
            run("import", f"{name}.tif", "record.tif", "--pixel-size", given)
            run("export", "record.tif", "copy.tif", "--for-imagej")
            with tifffile.TiffFile("copy.tif") as tiff:
                assert tiff.is_imagej and tiff.imagej_metadata["unit"] == unit, tiff.imagej_metadata
                assert tiff.asarray().dtype == pixels.dtype and (tiff.asarray() == pixels).all(), name
                assert tiff.pages[0].tags["ResolutionUnit"].value == 1
            for kind, path, expected in (("ImageJ", "copy.tif", width), ("record", "record.tif", width * METRES[unit])):
                known = {"tifffile": tifffile, "path": path}
                exec(lines[kind], known)
                assert abs(known["width"] - expected) < 1e-5 * expected, (kind, known["width"])

    Path("old.tif").write_text("the old file")
    tifffile.imwrite("rgba.tif", numpy.zeros((4, 4, 4), "u1"), photometric="rgb", extrasamples=["unassalpha"])
    run("import", "rgba.tif", "rgba-record.tif", "--pixel-size", "1e-9")
    run("import", "uint8.tif", "plain.tif")
    for source, reason in (("rgba-record.tif", "old.tif: ImageJ cannot hold an image with opacity"),
                           ("plain.tif", "plain.tif: has no pixel size in its record")):
        assert reason in run("export", source, "old.tif", "--for-imagej", status=1)
    assert Path("old.tif").read_text() == "the old file"
    run("export", "record.tif", "copy.tif", "--for-imagej", "--size", "50%", status=2)
    run("export", "record.tif", "copy.png", "--for-imagej", status=2)
    assert "OUT: is IN" in run("export", "record.tif", "./record.tif", "--for-imagej", status=2)


if __name__ == "__main__":
    with tempfile.TemporaryDirectory(prefix="kiln-imagej-") as folder:
        sys.argv[1:] = [os.path.abspath(argument) for argument in sys.argv[1:]]
        os.chdir(folder)
        main()
