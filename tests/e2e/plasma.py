"""A private Plasma session on Wayland without a screen: KWin and, if wanted, KDE's portal."""
import glob
import os
import pathlib
import re
import shutil
import subprocess

import dbus

from application import Log
from desktop import Session
from wayland_keyboard import WaylandKeyboard

SOCKET = "wayland-quillory"
META_SHIFT_E = 0x12000045  # as Qt writes it
ALERT = "Accessibility Permission Required"
# KWin answers questions about its windows only to its own scripts, and what those print is in its log.
# Its words for them are others since version 6.
LIST = "(workspace.windowList || workspace.clientList)().forEach"
ACTIVE = '("activeWindow" in workspace ? "activeWindow" : "activeClient")'
LIST_WINDOWS = LIST + r"""(function (window) {
    const place = window.frameGeometry;
    say([window.internalId, window == workspace[""" + ACTIVE + r"""], window.minimized, place.x, place.y, place.width,
         place.height, window.caption].join("\t"));
});
"""
ON_WINDOW = LIST + '(function (window) { if (window.internalId == "%s") { %s; } });'


class PlasmaSession(Session):
    COPY = ["wl-copy", "--foreground", "--type"]
    PASTE = ["wl-paste", "--no-newline", "--type"]

    def __init__(self, kde_portal=True):
        self._kde_portal = kde_portal
        self._scripts = 0
        super().__init__(
            XDG_CURRENT_DESKTOP="KDE", XDG_SESSION_TYPE="wayland", LIBGL_ALWAYS_SOFTWARE="1", GDK_BACKEND="wayland",
            QT_QPA_PLATFORM="wayland", WAYLAND_DISPLAY=SOCKET, GSETTINGS_BACKEND="keyfile")

    def _start_display(self):
        # The installed file has a capability that containers forbid to execute, and a copy does not. KWin
        # looks for its own platform plugin by the name of its executable.
        kwin = os.path.join(self.home, "kwin_wayland")
        shutil.copyfile("/usr/bin/kwin_wayland", kwin)
        os.chmod(kwin, 0o700)
        self.display = self.start(
            kwin, "--virtual", "--width", "1280", "--height", "1000", "--no-lockscreen", "--socket", SOCKET,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            env={"KWIN_WAYLAND_NO_PERMISSION_CHECKS": "1", "QT_QPA_PLATFORM": None, "WAYLAND_DISPLAY": None,
                 "QT_LOGGING_RULES": "kwin_scripting.debug=true;js.debug=true"})
        self._log = Log(self.display.stdout)
        self.wait_name("org.kde.KWin")
        self.wait_name("org.kde.kglobalaccel")
        if self._kde_portal:
            backend, = glob.glob("/usr/lib/*/libexec/xdg-desktop-portal-kde")
            # Since version 6 it opens the system's settings at a first grant, and they would take the focus.
            for opener in ("xdg-open", "kde-open"):
                os.symlink("/bin/true", os.path.join(self.home, opener))
            self.start_portal("kde", backend, PATH=f"{self.home}:{self.env['PATH']}")
        self._keyboard = WaylandKeyboard(os.path.join(self.runtime, SOCKET))

    def scale_text(self, factor):
        """For the programs that are started from now on."""
        settings = pathlib.Path(self.home, ".config/glib-2.0/settings/keyfile")
        settings.parent.mkdir(parents=True, exist_ok=True)
        settings.write_text(f"[org/gnome/desktop/interface]\ntext-scaling-factor={factor:.1f}\n", encoding="utf-8")

    # Windows

    def windows(self, title):
        """The ids of the windows on the screen whose title is exactly `title`."""
        return [window[0] for window in self._windows() if window[7] == title and window[2] == "false"]

    def active_window(self):
        return next((window[0] for window in self._windows() if window[1] == "true"), "")

    def _activate(self, window):
        self._run_script(ON_WINDOW % (window, f"workspace[{ACTIVE}] = window"))

    def minimize(self, title):
        self._run_script(ON_WINDOW % (self.wait_window(title), "window.minimized = true"))
        self.wait_no_window(title)

    def close_window(self, title):
        self._run_script(ON_WINDOW % (self.wait_window(title), "window.closeWindow()"))
        self.wait_no_window(title)

    def geometry(self, window):
        """Position and size of a window with its frame: X, Y, WIDTH, HEIGHT."""
        place = next(w[3:7] for w in self._windows() if window in (w[0], w[7]))
        return dict(zip(("X", "Y", "WIDTH", "HEIGHT"), map(float, place)))

    def _windows(self):
        return [line.split("\t", 7) for line in self._run_script(LIST_WINDOWS)]

    # The hotkey

    def dismiss_alert(self):
        """Answers "Later" to what the program says without a permission for its hotkey."""
        self.wait_active(ALERT)
        self.key("Tab", "Return")
        self.wait_no_window(ALERT)

    def settle(self, app):
        """Waits for the hotkey, which a portal that takes its time gives later."""
        app.log.wait("Global hotkey Cmd+Shift+E registered")

    def let_hotkey(self, granted):
        """The user takes the chord away in the settings, or gives it back."""
        service = self.dbus.get_object("org.kde.kglobalaccel", "/kglobalaccel", introspect=False)
        accel = dbus.Interface(service, "org.kde.KGlobalAccel")
        program, = [names[0] for names in accel.allMainComponents() if "quillory" in names[0]]
        accel.setForeignShortcut([program, "bring-to-front", "", ""], dbus.Array([META_SHIFT_E] if granted else [], signature="i"))

    # Keys

    def key(self, *chords):
        for chord in chords:
            self._keyboard.press(chord)

    def _run_script(self, script):
        """Runs a script in KWin and returns the lines that it said."""
        self._scripts += 1
        mark = f"script-{self._scripts}:"
        path = pathlib.Path(self.home, f"{self._scripts}.js")
        path.write_text(f'function say(line) {{ print("{mark}" + line); }}\n{script}\nsay("end");', encoding="utf-8")
        start = len(self._log.lines)
        scripting = dbus.Interface(self.dbus.get_object("org.kde.KWin", "/Scripting", introspect=False),
                                   "org.kde.kwin.Scripting")
        scripting.loadScript(str(path), mark)
        scripting.start()
        _, end = self._log.wait(re.compile(f"{mark}end"), start)
        scripting.unloadScript(mark)
        return [line.partition(mark)[2] for line in self._log.lines[start:end] if mark in line]
