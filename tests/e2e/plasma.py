"""A private Plasma session on Wayland without a screen: D-Bus, KWin and, if wanted, KDE's portal."""
import contextlib
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time

from wayland_keyboard import WaylandKeyboard

SOCKET = "wayland-quillory"
PORTAL_BACKEND = "libexec/xdg-desktop-portal-kde"
# KWin has no way to ask for its windows but its own scripts, which can answer into its log.
LIST_WINDOWS = """
workspace.clientList().forEach(function (window) {
    print("%(mark)s", [window.internalId, window == workspace.activeClient, window.minimized,
                       window.resourceClass, window.caption].join("\\t"));
});
print("%(mark)s end");
"""


class Window:
    def __init__(self, line):
        self.id, active, minimized, self.app_id, self.title = line.split("\t", 4)
        self.active = active == "true"
        self.minimized = minimized == "true"


class PlasmaSession:
    """Use as a context manager. `environment` is for the programs that run in the session."""

    def __init__(self, folder, kde_portal=True):
        self._folder = folder
        self._kde_portal = kde_portal
        self._scripts = 0
        self._cleanup = contextlib.ExitStack()
        self.environment = {}
        self.keyboard = None

    def __enter__(self):
        with contextlib.ExitStack() as cleanup:
            # A socket's path is short, and pytest's folders are not.
            self._home = cleanup.enter_context(tempfile.TemporaryDirectory(prefix="plasma-"))
            self._prepare_environment()
            self._start_bus(cleanup)
            self._start_kwin(cleanup)
            if self._kde_portal:
                self._start_portal(cleanup)
            self.keyboard = WaylandKeyboard(self.environment["XDG_RUNTIME_DIR"], SOCKET)
            cleanup.callback(self.keyboard.close)
            self._cleanup = cleanup.pop_all()
        return self

    def __exit__(self, *_):
        self._cleanup.close()

    def windows(self):
        """From bottom to top."""
        self._scripts += 1
        mark = f"windows-{self._scripts}"
        script = os.path.join(self._home, mark + ".js")
        with open(script, "w", encoding="utf-8") as file:
            file.write(LIST_WINDOWS % {"mark": mark})
        number = self._kwin("/Scripting", "org.kde.kwin.Scripting.loadScript", script, mark)
        self._kwin("/" + re.search(r"\d+", number).group(), "org.kde.kwin.Script.run")
        log = self._await(lambda: self._log_with(f"{mark} end"), "KWin's list of windows")
        self._kwin("/Scripting", "org.kde.kwin.Scripting.unloadScript", mark)
        return [Window(line) for line in re.findall(rf"{mark} (.*\t.*)", log)]

    def window(self, app_id):
        return next((window for window in self.windows() if window.app_id == app_id), None)

    def start_kde_portal(self):
        """Starts KDE's portal where it was left out, or has been ended."""
        self._start_portal(self._cleanup)

    def _prepare_environment(self):
        folders = {"XDG_RUNTIME_DIR": "run", "XDG_CONFIG_HOME": "config", "XDG_DATA_HOME": "data",
                   "XDG_CACHE_HOME": "cache", "XDG_STATE_HOME": "state"}
        inherited = {key: value for key, value in os.environ.items() if key not in ("DISPLAY", "WAYLAND_DISPLAY")}
        self.environment = inherited | {key: os.path.join(self._home, name) for key, name in folders.items()} | {
            "XDG_CURRENT_DESKTOP": "KDE", "XDG_SESSION_TYPE": "wayland", "KDE_FULL_SESSION": "true",
            "KDE_SESSION_VERSION": "5", "LIBGL_ALWAYS_SOFTWARE": "1", "LANG": "C.UTF-8",
            "GDK_BACKEND": "wayland", "QT_QPA_PLATFORM": "wayland", "WAYLAND_DISPLAY": SOCKET}
        for name in folders:
            os.makedirs(self.environment[name], mode=0o700)

    def _start_bus(self, cleanup):
        address = f"unix:path={self.environment['XDG_RUNTIME_DIR']}/bus"
        self._start(cleanup, "dbus", ["dbus-daemon", "--session", "--nofork", "--address=" + address])
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address
        self._await(lambda: os.path.exists(address.partition("=")[2]), "the session bus")

    def _start_kwin(self, cleanup):
        # The installed file has a capability that containers forbid to execute, and a copy does not. KWin
        # looks for its own platform plugin by the name of its executable.
        kwin = os.path.join(self._home, "kwin_wayland")
        shutil.copyfile("/usr/bin/kwin_wayland", kwin)
        os.chmod(kwin, 0o700)
        settings = {"KWIN_WAYLAND_NO_PERMISSION_CHECKS": "1", "QT_LOGGING_RULES": "kwin_scripting.debug=true;js.debug=true"}
        settings["QT_QPA_PLATFORM"] = settings["WAYLAND_DISPLAY"] = None
        self._start(cleanup, "kwin", [kwin, "--virtual", "--width", "1280", "--height", "1000", "--no-lockscreen",
                                      "--socket", SOCKET], settings)
        self._await_name("org.kde.KWin")
        self._await_name("org.kde.kglobalaccel")

    def _start_portal(self, cleanup):
        variables = [f"{key}={self.environment[key]}" for key in ("WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP")]
        self._run(["dbus-update-activation-environment", *variables])
        backend = next(path for path in (f"/usr/lib/{os.uname().machine}-linux-gnu/{PORTAL_BACKEND}", f"/usr/{PORTAL_BACKEND}")
                       if os.path.exists(path))
        self._start(cleanup, "portal-kde", [backend])
        self._await_name("org.freedesktop.impl.portal.desktop.kde")
        # It may mount a file system of documents in the runtime folder.
        documents = os.path.join(self.environment["XDG_RUNTIME_DIR"], "doc")
        cleanup.callback(subprocess.run, ["umount", "-l", documents], stderr=subprocess.DEVNULL, check=False)
        self._start(cleanup, "portal", ["/usr/libexec/xdg-desktop-portal"])
        self._await_name("org.freedesktop.portal.Desktop")

    def _start(self, cleanup, name, command, settings=None):
        environment = {key: value for key, value in (self.environment | (settings or {})).items() if value is not None}
        with open(self._log_path(name), "wb") as log:
            process = subprocess.Popen(command, env=environment, stdout=log, stderr=log, start_new_session=True)
        cleanup.callback(_end, process)

    def _run(self, command):
        return subprocess.run(command, env=self.environment, check=True, capture_output=True, text=True).stdout

    def _kwin(self, path, method, *arguments):
        return self._run(["gdbus", "call", "--session", "-d", "org.kde.KWin", "-o", path, "-m", method, *arguments])

    def _await_name(self, name):
        self._run(["gdbus", "wait", "--session", "--timeout", "20", name])

    def _log_path(self, name):
        return os.path.join(self._folder, name + ".log")

    def _log_with(self, text):
        with open(self._log_path("kwin"), encoding="utf-8", errors="replace") as log:
            content = log.read()
        return content if text in content else None

    @staticmethod
    def _await(condition, what):
        deadline = time.monotonic() + 20
        while time.monotonic() < deadline:
            if result := condition():
                return result
            time.sleep(0.01)
        raise TimeoutError(what)


def _end(process):
    with contextlib.suppress(ProcessLookupError):
        os.killpg(process.pid, signal.SIGTERM)
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
