"""A private Plasma session on Wayland without a screen: D-Bus, KWin and, if wanted, KDE's portal."""
import contextlib
import glob
import os
import re
import shutil
import signal
import subprocess
import tempfile

from desktop import PATIENCE, wait_for
from wayland_keyboard import WaylandKeyboard

SOCKET = "wayland-quillory"
# KWin answers questions about its windows only to its own scripts, and what those print is in its log.
LIST_WINDOWS = r"""
workspace.clientList().forEach(function (window) {
    say([window.internalId, window == workspace.activeClient, window.minimized,
         window.frameGeometry.width, window.frameGeometry.height, window.caption].join("\t"));
});
"""
ON_WINDOW = """
workspace.clientList().forEach(function (window) { if (window.caption == "%s") { %s; } });
"""
# The bus is to start none of these behind a test's back: what is wanted of them is started by hand.
PORTALS = ["org.freedesktop.portal.Desktop", "org.freedesktop.impl.portal.desktop.kde",
           "org.freedesktop.impl.portal.desktop.gtk"]


class Window:
    def __init__(self, line):
        self.id, active, minimized, width, height, self.title = line.split("\t", 5)
        self.size = float(width), float(height)
        self.active = active == "true"
        self.minimized = minimized == "true"


class PlasmaSession:
    """A context manager. `env` is for the programs that run in the session."""

    def __init__(self, kde_portal=True, text_scale=1):
        self._kde_portal = kde_portal
        self._text_scale = text_scale
        self._scripts = 0
        self._cleanup = contextlib.ExitStack()
        self.env = {}
        self.keyboard = None

    def __enter__(self):
        with contextlib.ExitStack() as cleanup:
            self._home = cleanup.enter_context(tempfile.TemporaryDirectory(prefix="plasma-", ignore_cleanup_errors=True))
            self._prepare_environment()
            self._start_bus(cleanup)
            self._start_kwin(cleanup)
            if self._kde_portal:
                self._start_portal(cleanup)
            self.keyboard = WaylandKeyboard(self.env["XDG_RUNTIME_DIR"], SOCKET)
            cleanup.callback(self.keyboard.close)
            self._cleanup = cleanup.pop_all()
        return self

    def __exit__(self, *_):
        self._cleanup.close()

    # Windows

    def windows(self):
        return [Window(line) for line in self._run_script(LIST_WINDOWS)]

    def window(self, title):
        return next((window for window in self.windows() if window.title == title), None)

    def wait_window(self, title):
        return wait_for(lambda: self.window(title), f"the window {title!r}")

    def wait_no_window(self, title):
        wait_for(lambda: not self.window(title), f"the window {title!r} to go")

    def wait_active(self, title):
        """Waits until the window has the focus, and returns it."""
        return wait_for(lambda: next((w for w in self.windows() if w.title == title and w.active), None),
                        f"the window {title!r} to be active")

    def minimize(self, title):
        self._run_script(ON_WINDOW % (title, "window.minimized = true"))
        wait_for(lambda: self.window(title).minimized, f"the window {title!r} to be minimized")

    def close_window(self, title):
        self._run_script(ON_WINDOW % (title, "window.closeWindow()"))
        self.wait_no_window(title)

    def focus(self, title):
        self._run_script(ON_WINDOW % (title, "workspace.activeClient = window"))
        self.wait_active(title)

    def _run_script(self, script):
        """Runs a script in KWin and returns the lines that it said."""
        self._scripts += 1
        mark = f"script-{self._scripts}:"
        path = os.path.join(self._home, f"{self._scripts}.js")
        with open(path, "w", encoding="utf-8") as file:
            file.write(f'function say(line) {{ print("{mark}" + line); }}\n{script}\nsay("end");')
        number = re.search(r"\d+", self._kwin("/Scripting", "org.kde.kwin.Scripting.loadScript", path, mark)).group()
        self._kwin("/" + number, "org.kde.kwin.Script.run")

        def said():
            with open(self._log_path("kwin"), encoding="utf-8", errors="replace") as log:
                lines = [line.rstrip("\n").partition(mark)[2] for line in log if mark in line]
            return lines if "end" in lines else None

        lines = wait_for(said, "KWin's script")
        self._kwin("/Scripting", "org.kde.kwin.Scripting.unloadScript", mark)
        return lines[:-1]

    # Services

    def _prepare_environment(self):
        folders = {"XDG_RUNTIME_DIR": "run", "XDG_CONFIG_HOME": "config", "XDG_DATA_HOME": "data",
                   "XDG_CACHE_HOME": "cache", "XDG_STATE_HOME": "state"}
        inherited = {key: value for key, value in os.environ.items()
                     if key not in ("DISPLAY", "WAYLAND_DISPLAY", "TMPDIR") and not key.startswith("XDG_")}
        self.env = {
            **inherited, **{key: os.path.join(self._home, name) for key, name in folders.items()},
            "HOME": self._home, "LANG": "C.UTF-8", "NO_AT_BRIDGE": "1", "GSETTINGS_BACKEND": "keyfile",
            "XDG_CURRENT_DESKTOP": "KDE", "XDG_SESSION_TYPE": "wayland", "KDE_FULL_SESSION": "true",
            "KDE_SESSION_VERSION": "5", "LIBGL_ALWAYS_SOFTWARE": "1", "GDK_BACKEND": "wayland",
            "QT_QPA_PLATFORM": "wayland", "WAYLAND_DISPLAY": SOCKET}
        for name in folders:
            os.makedirs(self.env[name], mode=0o700)
        settings = os.path.join(self.env["XDG_CONFIG_HOME"], "glib-2.0", "settings")
        os.makedirs(settings)
        with open(os.path.join(settings, "keyfile"), "w", encoding="utf-8") as file:
            file.write(f"[org/gnome/desktop/interface]\ntext-scaling-factor={self._text_scale:.1f}\n")

    def _start_bus(self, cleanup):
        services = os.path.join(self.env["XDG_RUNTIME_DIR"], "dbus-1", "services")
        os.makedirs(services)
        for name in PORTALS:
            with open(os.path.join(services, name + ".service"), "w", encoding="utf-8") as file:
                file.write(f"[D-BUS Service]\nName={name}\nExec=/bin/false\n")
        path = os.path.join(self.env["XDG_RUNTIME_DIR"], "bus")
        self.env["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + path
        self._start(cleanup, "bus", ["dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=unix:path=" + path])
        wait_for(lambda: os.path.exists(path), "the session bus")

    def _start_kwin(self, cleanup):
        # The installed file has a capability that containers forbid to execute, and a copy does not. KWin
        # looks for its own platform plugin by the name of its executable.
        kwin = os.path.join(self._home, "kwin_wayland")
        shutil.copyfile("/usr/bin/kwin_wayland", kwin)
        os.chmod(kwin, 0o700)
        self._start(cleanup, "kwin", [kwin, "--virtual", "--width", "1280", "--height", "1000", "--no-lockscreen",
                                      "--socket", SOCKET],
                    {"KWIN_WAYLAND_NO_PERMISSION_CHECKS": "1", "QT_QPA_PLATFORM": None, "WAYLAND_DISPLAY": None,
                     "QT_LOGGING_RULES": "kwin_scripting.debug=true;js.debug=true"})
        self._await_name("org.kde.KWin")
        self._await_name("org.kde.kglobalaccel")

    def _start_portal(self, cleanup):
        self._run("dbus-update-activation-environment",
                  *(f"{key}={self.env[key]}" for key in ("WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP", "QT_QPA_PLATFORM")))
        backend, = glob.glob("/usr/lib/*/libexec/xdg-desktop-portal-kde")
        # Of the backends that are installed, the portal is to know this one.
        backends = os.path.join(self._home, "portals")
        os.makedirs(backends, exist_ok=True)
        shutil.copy("/usr/share/xdg-desktop-portal/portals/kde.portal", backends)
        self._start(cleanup, "portal-kde", [backend])
        self._await_name("org.freedesktop.impl.portal.desktop.kde")
        # It may mount a file system of documents in the runtime folder.
        documents = os.path.join(self.env["XDG_RUNTIME_DIR"], "doc")
        cleanup.callback(subprocess.run, ["umount", "-l", documents], stderr=subprocess.DEVNULL, check=False)
        self._start(cleanup, "portal", ["/usr/libexec/xdg-desktop-portal"], {"XDG_DESKTOP_PORTAL_DIR": backends})
        self._await_name("org.freedesktop.portal.Desktop")

    def _start(self, cleanup, name, command, settings=None):
        env = {key: value for key, value in {**self.env, **(settings or {})}.items() if value is not None}
        with open(self._log_path(name), "wb") as log:
            process = subprocess.Popen(command, env=env, stdout=log, stderr=log, start_new_session=True)
        cleanup.callback(_end, process)

    def _run(self, *command):
        return subprocess.run(command, env=self.env, check=True, capture_output=True, text=True, timeout=PATIENCE).stdout

    def _kwin(self, path, method, *arguments):
        return self._run("gdbus", "call", "--session", "-d", "org.kde.KWin", "-o", path, "-m", method, *arguments)

    def _await_name(self, name):
        self._run("gdbus", "wait", "--session", "--timeout", str(PATIENCE), name)

    def _log_path(self, name):
        return os.path.join(self._home, name + ".log")


def _end(process):
    for stop in (signal.SIGTERM, signal.SIGKILL):
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, stop)
        with contextlib.suppress(subprocess.TimeoutExpired):
            process.wait(10)
            return
