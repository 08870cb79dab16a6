"""A private GNOME session on Wayland without a screen: its shell, and the portal and the settings that the bus starts."""
import json
import os

import dbus

from desktop import Session, wait_for
from plasma import ALERT
from wayland_keyboard import KEY_CODES

QUESTION = "Add Keyboard Shortcuts"
WINDOWS = "global.get_window_actors().map((actor) => actor.meta_window)"
STORE = "org.gnome.settings-daemon.global-shortcuts"
KEYS = "'shortcuts': <['<Shift><Super>e']>, "
REMOTE = "org.gnome.Mutter.RemoteDesktop"


class GnomeSession(Session):
    SERVICES = "/usr/share/dbus-1/services"

    def __init__(self, prefix):
        # The portal looks a program up by its desktop entry, which counts if the program is in the path.
        super().__init__(
            XDG_CURRENT_DESKTOP="GNOME", XDG_SESSION_TYPE="wayland", LIBGL_ALWAYS_SOFTWARE="1", GDK_BACKEND="wayland",
            WAYLAND_DISPLAY="wayland-quillory", GSETTINGS_BACKEND="dconf", PATH=f"{prefix}/bin:{os.environ['PATH']}",
            XDG_DATA_DIRS=f"{prefix}/share:/usr/local/share:/usr/share")

    def _start_display(self):
        system = os.path.join(self.runtime, "system")
        self.start_bus(system)
        self.start("gnome-shell", "--headless", "--wayland", "--no-x11", "--wayland-display", self.env["WAYLAND_DISPLAY"],
                   "--virtual-monitor", "1280x1024", "--unsafe-mode",  # which answers `_evaluate`
                   env={"WAYLAND_DISPLAY": None, "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={system}"})
        self.wait_name(REMOTE)
        shell = ("--session", "--dest", "org.gnome.Shell", "--object-path", "/org/gnome/Shell")
        wait_for(lambda: "Eval" in self.run("gdbus", "introspect", *shell, check=False), "the shell")
        self._shell = self.dbus.get_object("org.gnome.Shell", "/org/gnome/Shell", introspect=False)
        remote = self.dbus.get_object(REMOTE, "/org/gnome/Mutter/RemoteDesktop", introspect=False)
        self._remote = self.dbus.get_object(REMOTE, remote.CreateSession(dbus_interface=REMOTE), introspect=False)
        self._remote.Start(dbus_interface=f"{REMOTE}.Session")
        wait_for(lambda: self._evaluate("!Main.layoutManager._startingUp"), "the desktop")
        self._evaluate("Main.overview.hide()")
        wait_for(lambda: self._evaluate("!Main.overview.visible"), "the overview to go")

    def windows(self, title):
        return self._evaluate(f"{WINDOWS}.filter((w) => w.title == {json.dumps(title)} && !w.minimized).map((w) => w.get_id())")

    def active_window(self):
        return self._evaluate(f"{WINDOWS}.find((w) => w.has_focus())?.get_id()")

    def _activate(self, window, method="activate"):
        self._evaluate(f"{WINDOWS}.find((w) => w.get_id() == {window})?.{method}(global.get_current_time())")

    def minimize(self, title, method="minimize"):
        self._activate(self.wait_window(title), method)
        self.wait_no_window(title)

    def close_window(self, title):
        self.minimize(title, "delete")

    def settle(self, app):
        """Says no to the desktop's question, which stands before the window, then yes: the alert leads back to it."""
        self.wait_active(QUESTION)
        wait_for(lambda: self.windows(ALERT) or self.is_active(QUESTION) and self.key("Escape"), "the alert")
        wait_for(lambda: self.is_active(QUESTION) or self.is_active(ALERT) and self.key("Return"), "the question again")
        wait_for(lambda: self.key("alt+a") or not self.windows(QUESTION), "the question to be answered")
        app.log.wait("Accessibility permission granted - hotkey now active")

    def let_hotkey(self, granted):
        """The user takes the chord away in the settings, or gives it back; these keep it, and tell the portal twice then."""
        def kept(keys):
            return f"[('bring-to-front', {{{keys}'description': <'Bring Quillory to the front'>}})]"

        name, given = "com.quillory.Quillory", KEYS if granted else ""
        self.run("gsettings", "set", f"{STORE}.application:/{STORE.replace('.', '/')}/{name}/", "shortcuts", kept(given))
        for keys in dict.fromkeys(("", given)):
            self.run("gdbus", "call", "--session", "--dest", "org.freedesktop.impl.portal.desktop.gnome", "--object-path",
                     "/org/gnome/globalshortcuts", "--method", "org.gnome.GlobalShortcutsRebind.RebindShortcuts", name, kept(keys))

    def key(self, *chords):
        for keys in (chord.split("+") for chord in chords):
            for key, down in [(key, True) for key in keys] + [(key, False) for key in reversed(keys)]:
                self._remote.NotifyKeyboardKeycode(dbus.UInt32(KEY_CODES[key]), down, dbus_interface=f"{REMOTE}.Session")

    def _evaluate(self, script):
        done, value = self._shell.Eval(f"JSON.stringify(({script}) ?? null)", dbus_interface="org.gnome.Shell")
        assert done, value
        return json.loads(json.loads(value))
