#!/usr/bin/python3
"""Opens the files that the exporter writes with two readers that do not use libtiff, pixel for pixel.

    independent_readers.py [EMULATOR] WRITE_SAMPLES

WRITE_SAMPLES is the program that writes the files. tifffile and Pillow, which decodes uncompressed files itself, read
every kind, padded rows included.
"""

import subprocess
import sys
import tempfile
from pathlib import Path

import numpy
import tifffile
from PIL import Image

# Pillow's names for what it reads.
PILLOW_MODES = {(1, "uint8"): "L", (1, "uint16"): "I;16", (1, "float32"): "F", (3, "uint8"): "RGB", (4, "uint8"): "RGBA"}


def same(name, reader, expected, actual):
    """Compares bytes, so that floats that are not numbers count, too."""
    if expected.shape == actual.shape and expected.tobytes() == actual.astype(expected.dtype).tobytes():
        return True
    print(f"{name}: {reader} reads other pixels ({actual.shape}, {actual.dtype})")
    return False


def main():
    with tempfile.TemporaryDirectory() as folder:
        lines = subprocess.run([*sys.argv[1:], folder], check=True, capture_output=True, text=True).stdout.splitlines()
        good = len(lines) == 15
        for line in lines:
            name, width, height, samples, dtype = line.split()
            samples = int(samples)
            shape = (int(height), int(width)) + ((samples,) if samples > 1 else ())
            expected = numpy.frombuffer(Path(folder, name + ".raw").read_bytes(), dtype)
            if name.startswith("padded"):  # rows of 37 RGB pixels, 120 bytes from one to the next
                expected = expected[:7 * 120].reshape(7, 120)[:, :111]
            expected = numpy.ascontiguousarray(expected).reshape(-1)[:numpy.prod(shape)].reshape(shape)
            path = Path(folder, name + ".tif")

            with tifffile.TiffFile(path) as tiff:
                good &= len(tiff.pages) == 1
                good &= same(name, "tifffile", expected, tiff.pages[0].asarray())
                tags = tiff.pages[0].tags
                fixed = {274: 1, 259: 1, 284: 1, 258: {1: 8 * numpy.dtype(dtype).itemsize}.get(samples, (8,) * samples),
                         262: 1 if samples == 1 else 2, 339: {"float32": 3}.get(dtype, 1 if samples == 1 else (1,) * samples)}
                for tag, value in fixed.items():
                    if tags[tag].value != value:
                        print(f"{name}: tag {tag} is {tags[tag].value}, not {value}")
                        good = False
                good &= 338 not in tags and tiff.pages[0].dataoffsets[0] == 4096
                has_metadata = 34683 in tiff.pages[0].tags
                good &= has_metadata == (not name.startswith("uint16"))
                if has_metadata:
                    good &= "<Metadata" in tiff.pages[0].tags[34683].value
                    numerator, denominator = tiff.pages[0].tags[65450].value
                    good &= numerator / denominator == 4e7

            with Image.open(path) as image:
                image.load()
                if image.mode != PILLOW_MODES[samples, dtype]:
                    print(f"{name}: Pillow takes it for {image.mode}")
                    good = False
                good &= same(name, "Pillow", expected, numpy.asarray(image).reshape(shape))
        print(f"{len(lines)} files, two readers: {'the same pixels' if good else 'DIFFERENT'}")
        return 0 if good else 1


sys.exit(main())
