"""Quillory and the floor program under one hand: both show the page of the tests and log what they do."""
import os
import pathlib
import re
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "e2e"))

from application import DRIVER, Application, InstallTree, Log  # noqa: E402
from desktop import Desktop  # noqa: E402
from programs import Portal  # noqa: E402

PATIENCE = 120
MEBIBYTE = 1 << 20


class TimedLog(Log):
    """Knows when each line came."""

    def __init__(self, stream):
        self.times = []
        super().__init__(self._timed(stream))

    def _timed(self, stream):
        for line in stream:
            self.times.append(time.time())
            yield line

    def time_of(self, wanted):
        return self.times[self.wait(wanted, timeout=PATIENCE)[1]]


class Program(Application):
    """A running program; `started` is when it was executed."""

    def __init__(self, desktop, command, page_folder, env=None):
        self.desktop = desktop
        self.page_folder = page_folder
        for script in page_folder.glob("script-*.js"):
            script.unlink()
        self.started = time.time()
        self.process = subprocess.Popen(command, env={**desktop.env, **(env or {})}, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.log = TimedLog(self.process.stdout)
        self._scripts = 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.kill()

    def tree_pss(self):
        """Memory of the process and all that it started, shared pages counted in shares."""
        total = 0
        for pid in [self.process.pid, *self.children()]:
            try:
                rollup = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
            except OSError:
                continue
            total += int(re.search(r"^Pss:\s+(\d+) kB", rollup, re.M).group(1)) * 1024
        return total

    def wake_ups(self):
        """How often a thread of the native process has waited and gone on, by thread."""
        counts = {}
        for task in pathlib.Path(f"/proc/{self.process.pid}/task").iterdir():
            try:
                name = (task / "comm").read_text().strip()
                status = (task / "status").read_text()
            except OSError:
                continue
            count = int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status, re.M).group(1))
            counts[name] = counts.get(name, 0) + count
        return counts


class Rig:
    """A desktop, a portal that answers the panels, and both programs with a page of their own."""

    def __init__(self, build, folder):
        self.build = pathlib.Path(build)
        self.folder = pathlib.Path(folder)
        self.desktop = Desktop()
        self.portal = Portal(self.desktop)
        self.trees = {}

    def close(self):
        self.portal.kill()
        self.desktop.close()

    def _tree(self, page):
        if page not in self.trees:
            self.trees[page] = InstallTree(self.build, self.folder / f"tree-{len(self.trees)}", page)
        return self.trees[page]

    def shell(self, page=DRIVER):
        tree = self._tree(page)
        return Program(self.desktop, [tree.binary], tree.page_folder, Portal.ENVIRONMENT)

    def floor(self, file=None, page=DRIVER):
        tree = self._tree(page)
        command = [self.build / "bench" / "floor", tree.page_folder / "index.html"]
        return Program(self.desktop, command + ([file] if file else []), tree.page_folder, Portal.ENVIRONMENT)

    def grab(self):
        return Program(self.desktop, [self.build / "bench" / "grab"], self._tree(DRIVER).page_folder)

    def answer(self, path):
        """Answers the next panel; returns when."""
        panel = self.portal.wait_panel()
        now = time.time()
        self.portal.answer(panel, path)
        return now


def ready(program, settled=False):
    program.wait_ready()
    if settled and program.process.args[0].name == "quillory":
        program.log.wait("=" * 28)
    return program
