"""Programs of the tests' own, run beside the one under test."""
import contextlib
import json
import os
import re
import subprocess
import sys

from application import Log

FOLDER = os.path.dirname(os.path.abspath(__file__))


class Program:
    """A script of this folder that prints what happens to it and reads commands."""

    def __init__(self, env, script, *arguments):
        self._process = subprocess.Popen([sys.executable, os.path.join(FOLDER, script), *arguments], env=env,
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.log = Log(self._process.stdout)

    def tell(self, command):
        self._process.stdin.write(f"{command}\n".encode())
        self._process.stdin.flush()

    def kill(self):
        self._process.kill()
        self._process.wait()
        self._process.stdin.close()
        self.log.wait_end()


class KeyWindow(Program):
    """A window of another program, with the focus."""

    TITLE = "Another program"

    def __init__(self, desktop):
        super().__init__(desktop.env, "key_window.py", self.TITLE)
        self.log.wait("active")

    def presses(self, start=0):
        return [line.partition(" ")[2] for line in self.log.lines[start:] if line.startswith("press ")]

    def activation_token(self):
        start = len(self.log.lines)
        self.tell("token")
        return self.log.wait(re.compile("^token (.+)"), start)[0].partition(" ")[2]


class Portal(Program):
    """The portal for global shortcuts on the session's bus; see portal.py for its arguments and commands."""

    def __init__(self, desktop, *arguments):
        super().__init__(desktop.env, "portal.py", *arguments)
        self.log.wait('["ready"]')

    def calls(self):
        return [json.loads(line) for line in self.log.lines if line != '["ready"]']

    def wait_call(self, method):
        line, _ = self.log.wait(re.compile(rf'^\["{method}"'))
        return json.loads(line)[1:]


@contextlib.contextmanager
def running(program):
    try:
        yield program
    finally:
        program.kill()
