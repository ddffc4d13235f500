"""Lets crash_probe crash in every way that Windows has, and reads what it leaves behind: the report itself, the minidump
with lldb and obj2yaml. Usage: windows_crashes.py PROGRAM SOURCES [RUNNER]; RUNNER runs programs for Windows elsewhere."""

import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

PROGRAM, SOURCES = sys.argv[1:3]
RUNNER = sys.argv[3:]
CXX = "E06D7363 CXX_EXCEPTION"
ABORT = "40000015 Unknown exception"
ABORTED = 3  # the status after abort()
FAILED = "Exception message: [not known: what() has failed itself]"
FOLDERS = tempfile.TemporaryDirectory(prefix="crashes")  # removed when this program ends
SYSTEM_THREADS = ("--thread c11 ", "--thread timer ")


def marks():
    """Where each scenario is at fault: file and line of its mark."""
    found = {}
    for file in pathlib.Path(SOURCES).glob("*.cpp"):
        for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
            mark = re.search(r"// <- ([a-z-]+)$", line)
            if mark and not file.name.endswith("_linux.cpp"):
                found[mark.group(1)] = (file.name, number)
    return found


MARKS = marks()


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\") if RUNNER else str(path)


class Crash:
    """One crash, and what it left behind."""

    def __init__(self, arguments, dump=False):
        self.arguments = arguments
        self.folder = pathlib.Path(tempfile.mkdtemp(dir=FOLDERS.name))
        # The system's own writer of minidumps takes seconds under wine.
        options = arguments if dump or "--with" in arguments else "--with fake-dump " + arguments
        # A variable of the environment chooses the folder; wine would replace the one that is set here.
        line = f"set ProgramData={windows_path(self.folder)}&& {windows_path(PROGRAM)} {options}"
        with open(self.folder / "out", "wb") as out, open(self.folder / "err", "wb") as err:
            try:
                self.status = subprocess.run(RUNNER + ["cmd", "/c", line], stdin=subprocess.DEVNULL, stdout=out,
                                             stderr=err, timeout=100, check=False).returncode & 0xFF
            except subprocess.TimeoutExpired:
                self.status = "hangs"
        self.said = "".join((self.folder / name).read_text(encoding="utf-8", errors="replace").replace("\r", "")
                            for name in ("out", "err"))
        self.reports = [file.read_bytes().decode("utf-8") for file in self.folder.rglob("*.txt")]
        self.dumps = list(self.folder.rglob("*.dmp"))
        self.halves = list(self.folder.rglob("*.part"))

    @property
    def report(self):
        return self.reports[0] if self.reports else ""


def program_lines(report):
    """The lines of the program in a report."""
    return [(file, int(line)) for file, line in re.findall(r" at \S*crash_probe[\\/](\w+\.cpp) line (\d+)", report)]


def run_all(arguments, dump=False):
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return dict(zip(arguments, pool.map(lambda one: Crash(one, dump), arguments)))


# Code, status of the process outside of Execute, whether Execute returns, scenarios. None: not tried. The runtime of gcc lets
# a thread go on after some codes.
FAULTS = [
    ("C0000005 ACCESS_VIOLATION", 0x05, True,
     "read-null read-bad read-non-canonical write-null write-constant jump-null jump-data jump-non-canonical in-malloc "
     "stdio-lock at-exit static-destructor"),
    ("C0000005 ACCESS_VIOLATION", 0x05, None, "two-threads"),
    ("C00000FD STACK_OVERFLOW", 0xFD, True, "stack-overflow"),
    ("C0000094 INT_DIVIDE_BY_ZERO", 0x94, True, "divide-zero"),
    ("C000009[45] INT_(DIVIDE_BY_ZERO|OVERFLOW)", 0x94, True, "divide-overflow"),  # wine does not tell them apart
    ("C000008E FLT_DIVIDE_BY_ZERO", 0x8E, True, "float-divide"),
    ("C0000091 FLT_OVERFLOW", 0x91, True, "float-overflow"),
    ("C0000090 FLT_INVALID_OPERATION", 0x90, True, "float-invalid"),
    ("C000001D ILLEGAL_INSTRUCTION", 0x1D, True, "illegal"),
    ("C0000096 PRIV_INSTRUCTION", 0x96, True, "privileged"),
    ("80000001 GUARD_PAGE", 0x01, True, "guard-page"),
    ("80000003 BREAKPOINT", None, True, "breakpoint breakpoint-last"),  # outside of Execute it is the system's affair
    ("80000002 DATATYPE_MISALIGNMENT", None, True, "raise-misaligned"),
    ("C0000006 IN_PAGE_ERROR", 0x06, True, "raise-in-page"),
    ("C0000008 INVALID_HANDLE", None, True, "raise-handle"),
    ("C000008C ARRAY_BOUNDS_EXCEEDED", None, True, "raise-bounds"),
    ("C0000374 Unknown exception", 0x74, True, "raise-heap"),
    ("E0000042 Unknown exception", 0x42, True, "raise-own"),
    (CXX, 0x63, True, "raise-msvc"),
    (ABORT, ABORTED, False, "abort assert terminate abort-caught"),
    (CXX, ABORTED, True, "throw-std throw-int throw-error rethrow rethrow-stored rethrow-elsewhere"),
    (CXX, ABORTED, False, "throw-noexcept throw-destructor"),
]


PROCESSES = 8  # for the crashes that are survived
ENDING = ("at-exit", "static-destructor")  # what is survived there has begun to end


class WindowsCrashes(unittest.TestCase):
    def check(self, crash, status, expected):
        """Of each scenario one report. Expected: code, mark, and whether the mark is anywhere instead of on top."""
        self.assertEqual(crash.status, status, crash.said)
        self.assertEqual(len(crash.reports), len(expected), crash.said)
        self.assertEqual(crash.halves, [])
        for code, mark, anywhere in expected:
            with self.subTest(mark=mark):
                found = [one for one in crash.reports if re.search(f"Exception code: {code}\r\n", one)
                         and mark in program_lines(one)[:None if anywhere else 1]]
                self.assertEqual(len(found), 1, crash.reports)
                # With the name of the function, and the version from the resource of the program.
                self.assertRegex(found[0], r"\n  [\w:<>~(),* ]+ at \S*" + re.escape(mark[0]))
                self.assertIn("Revision: 1.0.0.0 \r\n", found[0])

    def test_every_crash_is_reported(self):
        cases = {}  # by arguments: status, what is expected
        survived = []
        for code, status, returns, scenarios in FAULTS:
            for name in scenarios.split():
                mark = MARKS["raise" if name.startswith("raise-") and name != "raise-msvc" else name]
                expected = (code, mark, code == CXX and not name.startswith("raise"))
                if status is not None:
                    cases["--thread bare " + name] = (status, [expected])
                if status is not None and name == scenarios.split()[0]:
                    cases[name] = (status, [expected])
                if returns and name not in ENDING:
                    survived.append((name, expected))
                elif returns is not None:
                    cases["--thread worker --execute " + name] = (0 if returns else status, [expected])
        for group in (survived[start::PROCESSES] for start in range(PROCESSES)):
            cases["--thread worker --execute " + " ".join(name for name, _ in group)] = (0, [one for _, one in group])
        for arguments, crash in run_all(list(cases)).items():
            with self.subTest(arguments):
                status, expected = cases[arguments]
                self.check(crash, status, expected)
                if "--execute" in arguments and status == 0:
                    self.assertEqual(len(re.findall("^returned$", crash.said, re.MULTILINE)), len(expected), crash.said)

    def test_reports_are_made_whatever_the_state_of_the_process(self):
        # Arguments, status, number of reports, text of the report, text on the streams.
        rows = [
            ("before-main", 5, 1, "BeforeMain", ""),
            ("--flags 0 read-null", 5, 0, "", ""),
            ("--flags 0 --execute read-null", 0, 1, "ReadNull", "returned\n"),
            ("--flags 0 --execute throw-std", 0, 1, "ThrowStandard", "returned\n"),
            ("--flags 31 --execute read-null", 0, 1, "ReadNull", "Terminating Orbex.\n"),
            ("--flags 1039 raise-heap", 0x74, 1, "C0000374", "Heap corruption detected\n"),
            ("--flags 1039 --execute raise-heap", 0, 1, "C0000374", "Heap corruption detected\n"),
            ("--execute --times 3 read-null", 0, 3, "", "returned\nreturned\nreturned\n"),
            ("--thread worker --execute --times 3 stack-overflow", 0, 3, "Recurse", "returned\nreturned\nreturned\n"),
            ("--execute --times 3 float-divide", 0, 3, "FloatDivide", "returned\nreturned\nreturned\n"),
            ("--execute --handler nothing read-null", 0, 0, "", "returned\n"),
            ("--execute --handler throws read-null", 0, 1, "ReadNull", "returned\n"),
            ("--execute --handler faults read-null", 0, 1, "Misbehave", "returned\n"),
            ("--notify yes read-null", 0, 1, "ReadNull", "asked\nfunction called\nreturned\n"),
            ("--thread worker --notify no stack-overflow", 0, 0, "", "asked\nfunction called\nreturned\n"),
            ("--thread worker --notify drops throw-std", 0, 1, "ThrowStandard", "asked\nreturned\n"),
            ("--thread worker --notify throws throw-int", 0, 1, "ThrowNumber", "asked\nreturned\n"),
            ("--thread worker throw-std", ABORTED, 1, "ThrowStandard", ") is being abnormally terminated\n"),
            ("--with own-filter read-null", 5, 1, "ReadNull", "own filter\n"),
            ("--with broken-pipe --execute read-null", 0, 1, "ReadNull", ""),
            ("--with own-terminate throw-std", ABORTED, 1, "message: the stage is stuck", "own terminate handler\n"),
            ("--with own-terminate throw-noexcept", ABORTED, 1, CXX, "own terminate handler\n"),
            ("--with own-terminate terminate", ABORTED, 1, ABORT, "own terminate handler\n"),
            ("--execute throw-warning", 0, 0, "", "returned\n"),
            ("--execute in-loader", 0, 0, "", "returned\n"),  # the loader's handler is further in
            ("overflow-in-loader", 0xFD, 0, "", ""),  # no thread can begin then
            ("raise-name", 0, 0, "", "returned\n"),
            ("--thread worker --execute raise-name", 0, 0, "", "returned\n"),
            ("--thread worker --execute end-thread", 0, 0, "", "process"),
            ("end-thread", 0, 0, "", "process"),  # the library's own threads do not keep the process
        ]
        rows += [(thread + "read-null", 5, 1, "ReadNull", "") for thread in SYSTEM_THREADS]
        rows += [(thread + "stack-overflow", 0xFD, 1, "Recurse", "") for thread in SYSTEM_THREADS]
        rows += [(thread + "throw-std", ABORTED, 1, "ThrowStandard", "") for thread in SYSTEM_THREADS]
        crashes = run_all([row[0] for row in rows])
        for arguments, status, reports, told, said in rows:
            with self.subTest(arguments):
                crash = crashes[arguments]
                self.assertEqual(crash.status, status, crash.said)
                self.assertEqual(len(crash.reports), reports, crash.said)
                self.assertIn(told, crash.report)
                self.assertIn(said, crash.said)

    def test_reports_tell_type_and_text_and_place_of_an_exception(self):
        place = ("Thrown at", "ThrowText<")
        rows = [
            ("throw-std", ("Exception message: the stage is stuck \r", "is of type std::runtime_error\r\n", "Thrown at")),
            ("throw-int", ("is of type int\r\n", "Thrown at")),
            ("--execute throw-std", ("is stuck \r", "Thrown at \r\n  Ardo::Kiln::CrashProbe::ThrowStandard")),
            ("--execute rethrow-elsewhere", ("another thread \r", "Thrown at \r\n  Ardo::Kiln::CrashProbe::ThrowElsewhere")),
            ("--execute rethrow", ("thrown once more \r", "Thrown at \r\n  Ardo::Kiln::CrashProbe::ThrowFirst")),
            ("text-faults", (FAILED,) + place), ("text-faults-noexcept", (FAILED,) + place),
            ("text-throws", (FAILED,) + place), ("text-aborts", (FAILED,) + place), ("text-nowhere", (FAILED,) + place),
            ("--execute text-faults", (FAILED,) + place), ("--thread worker --execute text-aborts", (FAILED,) + place),
            ("text-unasked", ("is of type int\r\n",)),
            ("text-forges", ("message: first\\r\\nException code: 00000000 FORGED\\n\\x1B[2J\\xFF\\u2028 \r",)),
            ("text-long", ("[cut: 20000 bytes] \r",)),
        ]
        crashes = run_all([row[0] for row in rows])
        for arguments, told in rows:
            with self.subTest(arguments):
                self.assertIn(f"Exception code: {CXX}\r\n", crashes[arguments].report, crashes[arguments].said)
                for text in told:
                    self.assertIn(text, crashes[arguments].report)
        made = Crash("rethrow-made")
        self.assertIn("made, not thrown", made.report)
        self.assertNotIn("Thrown at", made.report)

    def test_log_is_flushed_and_its_files_are_named(self):
        crash = Crash("--with log read-null")
        self.assertIn("the last record\n", next(crash.folder.rglob("Probe.log")).read_text(encoding="utf-8"))
        self.assertRegex(crash.report, r"\r\n Log files \r\n(.*\r\n)?.*\\Probe\.log\r\n")

    @unittest.skipUnless(shutil.which("lldb-14") and shutil.which("obj2yaml-14"), "needs lldb and obj2yaml")
    def test_debuggers_open_the_minidumps(self):
        codes = {"read-null": 0xC0000005, "--thread worker --execute divide-zero": 0xC0000094,
                 "--thread bare throw-std": 0xE06D7363, "--thread bare stack-overflow": 0xC00000FD}
        crashes = run_all(list(codes), dump=True)
        for arguments, crash in crashes.items():
            with self.subTest(arguments):
                self.assertEqual(len(crash.dumps), 1, crash.said)
        shown = self.debug([crash.dumps[0] for crash in crashes.values()])
        for (arguments, crash), text in zip(crashes.items(), shown):
            with self.subTest(arguments):
                self.read_dump(crash, codes[arguments], text)

    def debug(self, dumps):
        """What lldb shows of each of the minidumps. One process reads the debug information of the program once."""
        commands = [f"settings append target.exec-search-paths {pathlib.Path(PROGRAM).parent}"]
        for dump in dumps:
            name = shutil.copy(dump, dump.parents[0] / "dump")  # without the brackets
            commands += [f"target create --core {name}", "thread list", "bt 40"]
        debugger = subprocess.run(["timeout", "300", "lldb-14", "-b"] + [word for one in commands for word in ("-o", one)],
                                  capture_output=True, text=True, check=False).stdout
        shown = debugger.split("(lldb) target create")[1:]  # it repeats the commands
        self.assertEqual(len(shown), len(dumps), debugger)
        return shown

    def read_dump(self, crash, code, shown):
        thread = int(re.search(r"^process \d+, thread (\d+)$", crash.said, re.MULTILINE).group(1))
        address = int(re.search(r"At address 0x([0-9A-F]+)", crash.report).group(1), 16)
        streams = subprocess.run(["obj2yaml-14", crash.dumps[0]], capture_output=True, text=True, check=True).stdout
        exception = streams[streams.index("Type:            Exception"):]
        self.assertRegex(exception, f"Thread ID:\\s+0x{thread:X}\n")
        self.assertRegex(exception, f"Exception Code:\\s+0x{code:X}\n")
        self.assertRegex(streams, f"Thread Id:\\s+0x{thread:X}\n")
        self.assertRegex(streams, r"Module Name:\s+'.*\\crash_probe\.exe'")
        self.assertRegex(shown, rf"\* thread #\d+: tid = 0x{thread:04x}.* stop reason = Exception 0x{code:x} "
                                rf"encountered at address 0x{address:x}")
        if code != 0xE06D7363:  # it does not walk through the runtime, which has no debug information
            mark = MARKS[crash.arguments.split()[-1]]
            self.assertRegex(shown, r"frame #\d+: 0x\w+ crash_probe\.exe`.* at %s:%d" % mark)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
