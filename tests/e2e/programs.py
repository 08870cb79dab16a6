"""Programs of the tests' own, run beside the one under test."""
import base64
import contextlib
import json
import os
import pathlib
import re
import subprocess
import sys

import dbus

from application import Log

FOLDER = os.path.dirname(os.path.abspath(__file__))


class Program(contextlib.AbstractContextManager):
    """A program that prints what happens to it and reads commands; it ends with the block that it is used for."""

    def __init__(self, session, *command):
        self.process = session.start(sys.executable, *command, cwd=FOLDER, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.log = Log(self.process.stdout)

    def __exit__(self, *_):
        self.kill()

    def tell(self, *command):
        self.process.stdin.write(f"{json.dumps(command)}\n".encode())
        self.process.stdin.flush()

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.log.wait_end()


class KeyWindow(Program):
    """A window of another program, with the focus; see other_program.py."""

    TITLE = "Another program"

    def __init__(self, session):
        super().__init__(session, "other_program.py", self.TITLE)
        self.log.wait("active")
        self.window = session.wait_active(self.TITLE)

    def presses(self, start=0):
        return [line.partition(" ")[2] for line in self.log.lines[start:] if line.startswith("press ")]

    def activation_token(self):
        start = len(self.log.lines)
        self.tell("token")
        return self.log.wait(re.compile("^token (.+)"), start)[0].partition(" ")[2]

    def copy(self, contents, how="copy"):
        """Copies in several types at once."""
        self.tell(how, *(part for kind, content in contents.items() for part in (kind, base64.b64encode(content).decode())))
        self.log.wait("copied")


class Portal(Program):
    """The desktop's portal on a session's bus, answered by the test: file panels, global shortcuts, settings (portal.py).

    `ENVIRONMENT` makes a program's panels ask it.
    """

    ENVIRONMENT = {"GDK_DEBUG": "portals"}
    SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"

    def __init__(self, session, answer="grant", version=1, registry=False):
        parameters = {"answer": answer, "version": version, "registry": registry}
        super().__init__(session, "-m", "dbusmock", "--session", "--logfile", "/dev/null", "--template", "portal.py",
                         "--parameters", json.dumps(parameters))
        self.log.wait('["ready"]')
        self._panels = 0
        name = "org.freedesktop.portal.Desktop"
        portal = session.dbus.get_object(name, "/org/freedesktop/portal/desktop", introspect=False)
        self._mock = dbus.Interface(portal, "org.freedesktop.DBus.Mock")

    def calls(self):
        """The method and the arguments of each call."""
        return [[call[0], *call[3:]] for call in map(json.loads, self.log.lines[1:])]

    def wait_call(self, method):
        """The arguments of the first call of a method."""
        return json.loads(self.log.wait(re.compile(rf'^\["{method}"'))[0])[3:]

    # File panels

    def wait_panel(self):
        """The next panel that was asked for: method, title, options."""
        line, place = self.log.wait(re.compile(r'^\["(Open|Save)File"'), self._panels)
        self._panels = place + 1
        return dict(zip(("method", "sender", "request", "title", "options"), json.loads(line)))

    def answer(self, panel, path=None):
        """Confirms a panel with a path, or cancels it."""
        uris = dbus.Array([pathlib.Path(path).as_uri()] if path else [], signature="s")
        self._emit("org.freedesktop.portal.Request", "Response", "ua{sv}", dbus.UInt32(0 if path else 1),
                   dbus.Dictionary({"uris": uris}, signature="sv"),
                   path=panel["request"], destination=panel["sender"])

    def cancel_all(self):
        """Cancels what the test has not asked about."""
        while any(re.match(r'\["(Open|Save)File"', line) for line in self.log.lines[self._panels:]):
            self.choose()

    def choose(self, path=None):
        """Waits for a panel and answers it."""
        panel = self.wait_panel()
        self.answer(panel, path)
        return panel

    # Settings

    def prefer(self, scheme, accent):
        """The appearance from now on: 0 for no preference, 1 for dark, 2 for light; red, green and blue up to 1."""
        self._mock.Prefer("color-scheme", dbus.UInt32(scheme))
        self._mock.Prefer("accent-color", dbus.Struct(accent, signature="ddd"))

    # Shortcuts

    def bind(self, granted):
        """Answers the request that still waits."""
        self._mock.Bind(granted)

    def activate(self, token=None, session=None):
        """The user presses the shortcut, or that of another program's session."""
        options = dbus.Dictionary({"activation_token": token} if token else {}, signature="sv")
        self._emit(self.SHORTCUTS, "Activated", "osta{sv}", dbus.ObjectPath(session or self._session()),
                   "bring-to-front", dbus.UInt64(0), options)

    def change_shortcuts(self, *names):
        """The user takes the shortcut away in the settings, or gives it back."""
        shortcuts = [dbus.Struct((name, dbus.Dictionary(signature="sv"))) for name in names]
        self._emit(self.SHORTCUTS, "ShortcutsChanged", "oa(sa{sv})", dbus.ObjectPath(self._session()),
                   dbus.Array(shortcuts, signature="(sa{sv})"))

    def _session(self):
        sender = json.loads(self.log.wait(re.compile(r'^\["CreateSession"'))[0])[1]
        return f"/org/freedesktop/portal/desktop/session/{sender[1:].replace('.', '_')}/quillory"

    def _emit(self, interface, name, signature, *arguments, **details):
        self._mock.EmitSignalDetailed(interface, name, signature, dbus.Array(arguments, signature="v"),
                                      dbus.Dictionary(details, signature="sv"))
