#!/usr/bin/python3
"""Measures the viewer on a screen in memory.

    run.py FRAME_TIMES VIEWER [PEER...]

FRAME_TIMES is the program of FrameTimes.cpp. The times to the first picture are those of the whole process: from its start
until the middle of the screen shows the image. Each PEER is a command line, for example "feh", to which the file of 16 bits
is added; they do not read floats. Rounds of the programs are interleaved.
"""

import os
import shlex
import statistics
import subprocess
import sys
import tempfile
import time

from PIL import ImageGrab

ROUNDS = 7
LIMIT = 60  # seconds


def first_picture(command, environment, display):
    """Seconds until the middle of the screen has the many grey values of an image."""
    begin = time.monotonic()
    process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        while time.monotonic() - begin < LIMIT:
            part = ImageGrab.grab(bbox=(250, 300, 450, 500), xdisplay=display).convert("L")
            counts = part.histogram()
            # Text on an empty window has many grey values, too, but most of its pixels have one.
            if sum(count > 3 for count in counts) > 40 and max(counts) < sum(counts) / 4:
                return time.monotonic() - begin
        raise SystemExit(f"{command[0]} shows no image within {LIMIT} s")
    finally:
        process.kill()
        process.wait()


def first_pictures(file, commands, environment, display):
    times = [[] for _ in commands]
    for _ in range(ROUNDS):
        for command, values in zip(commands, times):
            values.append(first_picture([*command, file], environment, display))
    for command, values in zip(commands, times):
        print(f"first picture of {os.path.basename(file)}: {os.path.basename(command[0]):10}"
              f"{statistics.median(values) * 1000:8.0f} ms, least {min(values) * 1000:.0f} ms")


def main():
    frame_times, viewer, *peers = sys.argv[1:]
    read, write = os.pipe()
    screen = subprocess.Popen(
        ["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x1024x24", "-nolisten", "tcp", "-noreset"],
        pass_fds=[write],
        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(write)
    try:
        display = ":" + os.read(read, 16).decode().strip()
        with tempfile.TemporaryDirectory() as folder:
            environment = dict(os.environ, DISPLAY=display, QT_QPA_PLATFORM="xcb", QT_XCB_GL_INTEGRATION="none",
                               XDG_CONFIG_HOME=folder, XDG_DATA_HOME=folder, XDG_RUNTIME_DIR=folder)
            print(f"load {', '.join(f'{load:.1f}' for load in os.getloadavg())}")
            rows = subprocess.run([frame_times, folder], env=environment, stdout=subprocess.PIPE, text=True, check=True)
            print(f"{'subject, in ms unless it says more':36} {'ours':>9} {'95 %':>9} {'QLabel':>9} {'95 %':>9}")
            for row in rows.stdout.splitlines():
                subject, *numbers = row.split("\t")
                print(f"{subject:36}" + "".join(f" {float(number):9.2f}" for number in numbers))
            first_pictures(os.path.join(folder, "16bit.tif"), [[viewer], *[shlex.split(peer) for peer in peers]],
                           environment, display)
            first_pictures(os.path.join(folder, "float.tif"), [[viewer]], environment, display)
            print(f"load {', '.join(f'{load:.1f}' for load in os.getloadavg())}")
    finally:
        screen.terminate()


main()
