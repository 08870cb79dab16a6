#!/usr/bin/python3
"""Reads a built program and says what it lacks of what cmake/Hardening.cmake asks for:

  hardening.py CONFIGURATION PROGRAM OBJECT…     with the object files and archives that it was linked from

That the checks can fail is shown first, on a program built without any of it.
"""
import os
import platform
import re
import subprocess
import sys
import tempfile

BARE = ["-O2", "-g", "-no-pie", "-U_FORTIFY_SOURCE", "-fno-stack-protector", "-fno-stack-clash-protection", "-fcf-protection=none",
        "-Wl,-z,norelro,-z,lazy,-z,execstack"]


def readelf(options, *files):
    return subprocess.run(["readelf", "-W", *options.split(), *files], check=True, capture_output=True, text=True).stdout


def faults(configuration, program, *objects):
    """What the program lacks, each named by what would have shown it."""
    segments, dynamic, symbols = readelf("-l", program), readelf("-d", program), readelf("--dyn-syms", program)
    checks = {
        "position independent: type DYN": "DYN" in re.search(r"Type:(.*)", readelf("-h", program)).group(1),
        "position independent: flag PIE": re.search(r"\(FLAGS_1\).*\bPIE\b", dynamic),
        "segment GNU_RELRO": "GNU_RELRO" in segments,
        "flag NOW": re.search(r"\(FLAGS_1\).*\bNOW\b", dynamic),
        "stack that is not executable": re.search(r"GNU_STACK(\s+0x\w+){5} RW ", segments),
        "calls of __stack_chk_fail": re.search(r"UND __stack_chk_fail\b", symbols),
    }
    if configuration != "Debug":
        checks["calls of the checking functions (__*_chk)"] = re.search(r"UND __\w+_chk\b", symbols)
    # The linked program carries this mark only where the C library's start files do, which Debian 12's do not.
    if platform.machine() == "x86_64":
        files = len(re.findall(r"^\s*Type:\s+REL\b", readelf("-h", *objects), re.M))
        marked = len(re.findall(r"x86 feature:.*\bIBT, SHSTK\b", readelf("-n", *objects)))
        checks["control-flow protection in each object"] = files > 0 and marked == files
    # Nothing in the program tells of this one but the options that are kept with the debug information.
    if configuration in ("Debug", "RelWithDebInfo"):
        producers = re.findall(r"DW_AT_producer.*: (GNU C\+\+.*)", readelf("--debug-dump=info --dwarf-depth=1", program))
        checks["-fstack-clash-protection"] = producers and all("-fstack-clash-protection" in line for line in producers)
    return {name for name, holds in checks.items() if not holds}, set(checks)


def main(configuration, program, *objects):
    with tempfile.TemporaryDirectory() as folder:
        bare, bare_object = os.path.join(folder, "bare"), os.path.join(folder, "bare.o")
        compiler = [os.environ.get("CXX", "c++"), *BARE]
        subprocess.run([*compiler, "-c", "-x", "c++", "-", "-o", bare_object], text=True, check=True,
                       input="#include <cstdio>\nint main(int count, char**) { std::printf(\"%d\", count); }\n")
        subprocess.run([*compiler, bare_object, "-o", bare], check=True)
        lacking, checked = faults(configuration, bare, bare_object)
        if lacking != checked:
            sys.exit(f"These checks cannot fail: {', '.join(sorted(checked - lacking))}")
    lacking, checked = faults(configuration, program, *objects)
    if lacking:
        sys.exit(f"{program} lacks: {', '.join(sorted(lacking))}")
    print(f"{len(checked)} properties: {', '.join(sorted(checked))}")


if __name__ == "__main__":
    main(*sys.argv[1:])
