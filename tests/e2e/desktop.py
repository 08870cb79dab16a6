"""Sessions of the tests' own. `Session` is what all have; `Desktop` is one on X11, plasma.py has one on Wayland."""
import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

import dbus
import dbus.bus

PATIENCE = int(os.environ.get("QUILLORY_PATIENCE", "30"))  # seconds until an event that should come counts as missing

# A session bus that starts no services: what a machine has installed (a portal, say) is not to differ between desktops.
BUS = """<busconfig><type>session</type><keep_umask/><listen>unix:path={socket}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="{name}"/></policy>
<servicedir>{services}</servicedir></busconfig>"""
# What the desktop's portal needs, in this order, before its backends and itself.
PORTAL_SERVICES = ["xdg-permission-store", "xdg-document-portal"]


def wait_for(condition, what, timeout=PATIENCE):
    """Waits until `condition()` is true and returns its value."""
    deadline = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"timed out waiting for {what}")
        time.sleep(0.02)


class Session(contextlib.AbstractContextManager):
    """A session bus, and folders of its own for everything a program keeps; a child adds a display in `_start_display`.

    A child also has, for windows that it names by their ids: windows, active_window, geometry, minimize, close_window,
    _activate; and key. Where a window is asked for, its title does as well.
    """

    SERVICES = "/nonexistent"

    def __init__(self, **environment):
        self.home = tempfile.mkdtemp(prefix="quillory-home-")
        self.runtime = os.path.join(self.home, "run")
        os.mkdir(self.runtime, 0o700)
        self.processes = []
        self.env = {k: v for k, v in os.environ.items()
                    if k not in ("WAYLAND_DISPLAY", "TMPDIR", "DISPLAY", "DBUS_SESSION_BUS_ADDRESS")
                    and not k.startswith("XDG_")}
        self.env.update({"HOME": self.home, "XDG_RUNTIME_DIR": self.runtime, "LANG": "C.UTF-8", "GTK_A11Y": "none",
                         "GSETTINGS_BACKEND": "memory", "NO_AT_BRIDGE": "1", **environment})
        try:
            self.bus = self.start_bus(os.path.join(self.runtime, "bus"), services=self.SERVICES)
            self.env["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={self.runtime}/bus"
            self.dbus = dbus.bus.BusConnection(self.env["DBUS_SESSION_BUS_ADDRESS"])
            self._start_display()
        except BaseException:
            self.close()
            raise

    def __exit__(self, *_):
        self.close()

    def close(self):
        for process in reversed(self.processes):
            process.terminate()
        for process in self.processes:
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                self.end(process)
        # A portal may have mounted its file system of documents.
        subprocess.run(["umount", "-l", os.path.join(self.runtime, "doc")], stderr=subprocess.DEVNULL, check=False)
        shutil.rmtree(self.home, ignore_errors=True)

    # Programs

    def start(self, *command, env=None, **options):
        """Starts a part of the session; `env` changes its environment, or takes away what is None."""
        env = {name: value for name, value in {**self.env, **(env or {})}.items() if value is not None}
        options = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, **options}
        self.processes.append(subprocess.Popen(command, env=env, **options))
        return self.processes[-1]

    @staticmethod
    def end(process):
        process.kill()
        process.wait()

    def start_bus(self, socket, name="*", services="/nonexistent"):
        """A bus on which programs may own a name, or any, and which starts those of a folder."""
        config = pathlib.Path(f"{socket}.conf")
        config.write_text(BUS.format(socket=socket, name=name, services=services), encoding="utf-8")
        bus = self.start("dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile", "--print-address",
                         stdout=subprocess.PIPE)
        bus.stdout.readline()  # which comes once it listens
        return bus

    def start_portal(self, backend, executable, **environment):
        """The desktop's own portal, with one backend."""
        backends = os.path.join(self.home, "portals")
        os.mkdir(backends)
        shutil.copy(f"/usr/share/xdg-desktop-portal/portals/{backend}.portal", backends)
        environment["XDG_DESKTOP_PORTAL_DIR"] = backends
        for command in (*(f"/usr/libexec/{name}" for name in PORTAL_SERVICES), executable,
                        "/usr/libexec/xdg-desktop-portal"):
            self.start(command, env=environment)
        for name in (f"impl.portal.desktop.{backend}", "portal.Desktop"):
            self.wait_name(f"org.freedesktop.{name}")

    def wait_name(self, name):
        wait_for(lambda: self.dbus.name_has_owner(name), name)

    def run(self, *command, check=True, **options):
        result = subprocess.run(command, env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                timeout=PATIENCE, **options)
        if check and result.returncode != 0:
            raise AssertionError(f"{command}: {result.stderr}")
        return result.stdout

    def settle(self, app):
        """Waits until a program that was launched is done with what the session asks of it."""

    # Clipboard

    def copy(self, kind, content):
        """Another program copies."""
        owner = self.start(*self.COPY, kind, stdin=subprocess.PIPE, stderr=subprocess.PIPE)
        owner.stdin.write(content)
        owner.stdin.close()
        if self.COPY[0] == "xclip":
            owner.stderr.readline()  # once it owns the clipboard: whoever reads the last one's now may wait for ever
        wait_for(lambda: self.paste(kind) == content, "the clipboard")

    def paste(self, kind):
        """What another program gets, or None."""
        result = subprocess.run([*self.PASTE, kind], env=self.env, capture_output=True, timeout=PATIENCE)
        return result.stdout if result.returncode == 0 else None

    # Windows

    def close_other_windows(self):
        """Closes what the program has open beside its main window."""

    def wait_window(self, title):
        return wait_for(lambda: self.windows(title), f"the window {title!r}")[0]

    def wait_no_window(self, title):
        wait_for(lambda: not self.windows(title), f"the window {title!r} to go")

    def is_active(self, window):
        """The id of the window if it has the focus."""
        active = self.active_window()
        return active if active and (active == window or active in self.windows(window)) else None

    def wait_active(self, window):
        return wait_for(lambda: self.is_active(window), f"window {window!r} to be active")

    def focus(self, window):
        self._activate((self.windows(window) or [window])[0])
        return self.wait_active(window)


class Desktop(Session):
    """Xvfb and openbox."""

    COPY = ["xclip", "-quiet", "-selection", "clipboard", "-i", "-t"]
    PASTE = ["xclip", "-selection", "clipboard", "-o", "-t"]

    def __init__(self, screen="1280x1024x24", **environment):
        self._screen = screen
        super().__init__(**environment)

    def _start_display(self):
        read, write = os.pipe()
        self.display = self.start("Xvfb", "-displayfd", str(write), "-screen", "0", self._screen, "-nolisten", "tcp",
                                  "-noreset", "-fbdir", self.home, pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as number:
            self.env["DISPLAY"] = ":" + number.readline().strip()
        self.window_manager = self.start("openbox")
        wait_for(lambda: "window id" in self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK", check=False),
                 "the window manager")

    # Windows

    def windows(self, title):
        """The ids of the windows on the screen whose title is exactly `title`."""
        return self.run("xdotool", "search", "--onlyvisible", "--name", f"^{re.escape(title)}$", check=False).split()

    def active_window(self):
        return self.run("xdotool", "getactivewindow", check=False).strip()

    def _activate(self, window):
        self.run("xdotool", "windowactivate", window)

    def minimize(self, title):
        self.run("xdotool", "windowminimize", self.wait_window(title))
        self.wait_no_window(title)

    def close_window(self, title):
        self.focus(title)
        self.key("alt+F4")
        self.wait_no_window(title)

    def close_other_windows(self):
        main = self.windows("Quillory")
        for window in self._of_the_program() - set(main):
            self.focus(window)
            self.key("alt+F4")
            wait_for(lambda: window not in self._of_the_program(), "a window to close")

    def _of_the_program(self):
        return set(self.run("xdotool", "search", "--onlyvisible", "--class", "com.quillory.Quillory", check=False).split())

    def geometry(self, window):
        """Position and size of a window's content: X, Y, WIDTH, HEIGHT."""
        out = self.run("xwininfo", "-id", (self.windows(window) or [window])[0])
        values = re.findall(r"(?:Absolute upper-left [XY]|Width|Height):\s+(-?\d+)", out)
        return dict(zip(("X", "Y", "WIDTH", "HEIGHT"), map(int, values)))

    # Keys

    def key(self, *keys):
        self.run("xdotool", "key", "--clearmodifiers", *keys)

    def type(self, text):
        self.run("xdotool", "type", "--delay", "2", text)

    def choose_from_menu(self, window, menu, item):
        """Opens the menu bar by keyboard and chooses an item, both counted from 0."""
        def popups():
            return self._of_the_program() - {window}
        self.focus(window)
        before = popups()
        self.key("F10")
        wait_for(lambda: popups() - before, "the menu")
        for _ in range(menu):
            shown = popups()
            self.key("Right")
            wait_for(lambda: popups() - shown, "the next menu")
        self.key(*["Down"] * item, "Return")
        wait_for(lambda: not popups() - before or self.active_window() != window, "the menu to close")

    def open_about(self, title="About Quillory"):
        """Chooses the About window from the menu; returns its id."""
        self.choose_from_menu(self.wait_window("Quillory"), 0, 0)
        self.wait_window(title)
        return self.wait_active(title)

    def answer_panel(self, title, path, replace=False):
        """Types a path into an open or save panel and confirms it, and that it is to replace a file."""
        window = self.wait_window(title)
        self.focus(window)
        self.key("ctrl+a")
        # Behind a folder's name the panel would put what is in it, as soon as it has read that; behind a dot it puts nothing.
        self.type(os.path.join(path, "x/.") if os.path.isdir(path) else str(path))
        # What the panel has completed meanwhile stands behind it.
        self.key("shift+End", "Delete", "Return")
        if replace:
            wait_for(lambda: self.active_window() not in ("", window), "the question whether to replace the file")
            self.key("alt+r")
        self.wait_no_window(title)

    def cancel_panel(self, title):
        self.focus(self.wait_window(title))
        self.key("Escape")
        self.wait_no_window(title)
