"""Reads the pixels and the record of TIFF files: read_images.py FILE..."""

import sys
import xml.etree.ElementTree as ElementTree
import tifffile


def to_value(element):
    """An element as a dictionary, a list, a text, or a number with its unit."""
    if element.tag in ("Apertures", "Detectors", "GasInjectionSystems", "Gases", "Shutters", "CustomProperties"):
        return [to_value(child) for child in element]
    if len(element):
        return {child.tag: to_value(child) for child in element}
    if "unit" in element.attrib:
        return float(element.text) * 10 ** int(element.get("unitPrefixPower", 0)), element.get("unit")
    return element.text or element.attrib or ""


def read_image(path):
    """The pixels as a NumPy array, and the record as a dictionary; None without a record."""
    with tifffile.TiffFile(path) as tiff:
        tag = tiff.pages[0].tags.get(34683)  # it holds the record's XML document
        return tiff.asarray(), to_value(ElementTree.fromstring(tag.value)) if tag else None


for name in sys.argv[1:]:
    pixels, record = read_image(name)
    print(name, pixels.shape, pixels.dtype, "mean", round(float(pixels.mean()), 2))
    if record and (size := record["BinaryResult"].get("PixelSize")):
        print("  a pixel is {:.4g} {} wide, acquired at".format(*size["X"]), record["Optics"].get("AccelerationVoltage"), "V")
