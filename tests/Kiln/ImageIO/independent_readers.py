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


def chunks(path):
    """The ancillary chunks of a PNG file by their names."""
    data, found, at = path.read_bytes(), {}, 8
    while at < len(data):
        size = int.from_bytes(data[at:at + 4], "big")
        found[data[at + 4:at + 8].decode()] = data[at + 8:at + 8 + size]
        at += size + 12
    return found


def close(name, what, expected, actual, tolerance=1e-6):
    if abs(actual / expected - 1) <= tolerance:
        return True
    print(f"{name}: {what} is {actual}, not {expected}")
    return False


def pictures(folder):
    """The pixel sizes that general programs find in pictures, where the format has room for them."""
    good = True
    expected = numpy.frombuffer(Path(folder, "picture.raw").read_bytes(), "uint8").reshape(50, 60, 3)
    for name, size in (("micro", 2.5e-7), ("nano", 1e-9), ("pico", 1e-12)):
        x, y = 0.01 / size, 0.005 / size  # pixels per centimetre
        with tifffile.TiffFile(Path(folder, name + ".tif")) as tiff:
            page = tiff.pages[0]
            good &= same(name, "tifffile", expected, page.asarray())
            if name != "pico":
                for tag, value in ((282, x), (283, y)):
                    numerator, denominator = page.tags[tag].value
                    good &= close(name, f"tag {tag}", value, numerator / denominator)
            good &= page.tags[296].value == 3
        with Image.open(Path(folder, name + ".png")) as image:
            good &= same(name, "Pillow", expected, numpy.asarray(image))
            if name != "pico":
                good &= close(name, "PNG density", x * 2.54, image.info["dpi"][0])
                good &= close(name, "PNG density", y * 2.54, image.info["dpi"][1])
        found = chunks(Path(folder, name + ".png"))
        unit, (width, height) = found["sCAL"][0], found["sCAL"][1:].split(b"\0")
        good &= unit == 1 and close(name, "sCAL", size, float(width)) and close(name, "sCAL", 2 * size, float(height))
        good &= ("pHYs" in found) == (name != "pico")
        with Image.open(Path(folder, name + ".jpg")) as image:
            good &= int(numpy.abs(numpy.asarray(image).astype(int) - expected).max()) <= 12
            if name == "micro":
                good &= image.info["jfif_unit"] == 2 and image.info["jfif_density"] == (round(x), round(y))
            if name != "pico":
                exif = image.getexif()
                good &= exif[296] == 3 and close(name, "Exif", x, float(exif[282])) and close(name, "Exif", y, float(exif[283]))
    return good


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
        good &= pictures(folder)
        print(f"{len(lines)} files, two readers: {'the same pixels' if good else 'DIFFERENT'}")
        return 0 if good else 1


sys.exit(main())
