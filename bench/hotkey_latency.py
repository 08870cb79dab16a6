#!/usr/bin/python3
"""How long the hotkey takes under X11, and what it costs while nobody presses it.

  bench/hotkey_latency.py [PREFIX]        PREFIX: install prefix or build folder; default: build

Prints the time from starting `xdotool key super+shift+e`, in another window, to the main window being
active under openbox (so it includes xdotool's own start and its key presses), and how often each thread
of the idle program woke up in ten seconds.
"""
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "e2e"))

from application import Application, InstallTree, Log
from desktop import Desktop
from programs import KeyWindow

RUNS = 20
SETTLE_SECONDS = 15  # the web engine has work of its own after the window was used
IDLE_SECONDS = 10
IDLE_PAGE = "<!doctype html><title>Idle</title>"


def wake_ups(pid):
    """Voluntary context switches of each thread so far, by thread."""
    counts = {}
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        status = (task / "status").read_text()
        counts[task.name] = int(status.partition("\nvoluntary_ctxt_switches:")[2].split()[0])
    return counts


def measure_latency(desktop, window, other):
    spy = subprocess.Popen(["xprop", "-root", "-spy", "_NET_ACTIVE_WINDOW"], env=desktop.env, stdout=subprocess.PIPE)
    active = Log(spy.stdout)
    wanted = f"_NET_ACTIVE_WINDOW(WINDOW): window id # {int(window):#x}"
    times = []
    for _ in range(RUNS):
        desktop.focus(other)
        time.sleep(0.3)
        seen = len(active.lines)
        start = time.monotonic()
        keys = subprocess.Popen(["xdotool", "key", "super+shift+e"], env=desktop.env)
        active.wait(wanted, seen)
        times.append((time.monotonic() - start) * 1000)
        keys.wait()
    spy.kill()
    spy.wait()
    return times


def main():
    prefix = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build")
    desktop = Desktop()
    with tempfile.TemporaryDirectory() as folder:
        tree = InstallTree(prefix, os.path.join(folder, "tree"), page=IDLE_PAGE)
        app = Application(desktop, tree.binary, tree.page_folder)
        try:
            app.log.wait("=" * 28)
            with KeyWindow(desktop) as program:
                other = desktop.wait_window(program.TITLE)
                times = measure_latency(desktop, app.window(), other)
                print(f"key press to active window, {RUNS} times: median {statistics.median(times):.0f} ms, "
                      f"fastest {min(times):.0f} ms, slowest {max(times):.0f} ms")
                time.sleep(SETTLE_SECONDS)
                before = wake_ups(app.process.pid)
                time.sleep(IDLE_SECONDS)
                after = wake_ups(app.process.pid)
            print(f"wake-ups of idle threads in {IDLE_SECONDS} s:")
            for task, count in sorted(after.items()):
                name = pathlib.Path(f"/proc/{app.process.pid}/task/{task}/comm").read_text().strip()
                role = "main thread" if task == str(app.process.pid) else name
                if count != before.get(task, 0) or role in ("main thread", "hotkey"):
                    print(f"  {role}: {count - before.get(task, 0)}")
        finally:
            app.kill()
            desktop.close()


if __name__ == "__main__":
    main()
