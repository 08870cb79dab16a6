"""The confinement that the Flatpak manifest asks for, made of bubblewrap and the system's own libraries."""
import os
import pathlib
import re

APP_ID = "com.quillory.Quillory"
MANIFEST = pathlib.Path(__file__).parents[2] / f"packaging/flatpak/{APP_ID}.yml"
RUNTIME = "/run/user/app"
# What a Flatpak runtime has of its own, and what Flatpak shows of the system.
SYSTEM_FILES = ["/etc/alternatives", "/etc/fonts", "/etc/ld.so.cache", "/etc/machine-id", "/etc/passwd",
                "/etc/group", "/var/cache/fontconfig", "/sys/block", "/sys/bus", "/sys/class", "/sys/dev", "/sys/devices"]


def permissions():
    """What the manifest asks for, and nothing else is given."""
    return re.search(r"^finish-args:\n((?:  - .*\n)+)", MANIFEST.read_text(), re.M).group(1).replace("  - ", "").split()


class Sandbox:
    """Read-only system, an empty home, a session bus on which only this program is, and what the manifest asks for."""

    def __init__(self, desktop, prefix):
        self._desktop = desktop
        self._prefix = prefix
        self.home = pathlib.Path(desktop.home)
        self.downloads = self.home / "Downloads"
        self.downloads.mkdir(exist_ok=True)
        # Flatpak gives all instances of one application this folder in common.
        self._shared = pathlib.Path(desktop.runtime, "app", APP_ID)
        self._shared.mkdir(0o700, parents=True, exist_ok=True)
        # Flatpak filters the session bus; here the sandbox has one of its own.
        self._bus = self._shared.parent / "bus"
        desktop.start_bus(self._bus, APP_ID)

    def command(self, *program):
        """What runs `program` confined; the environment in there has nothing of this one's."""
        display = self._desktop.env["DISPLAY"]
        socket = "/tmp/.X11-unix/X" + display.lstrip(":")
        given = {
            "--socket=wayland": [], "--share=ipc": [],
            "--socket=fallback-x11": ["--ro-bind", socket, socket],
            "--device=dri": ["--dev-bind-try", "/dev/dri", "/dev/dri"],
            "--filesystem=xdg-download": ["--bind", self.downloads, self.downloads],
            "--share=network": ["--share-net"], "--filesystem=home": ["--bind", self.home, self.home],
        }
        environment = {
            "HOME": self.home, "PATH": "/usr/bin", "LANG": "C.UTF-8", "DISPLAY": display, "XDG_RUNTIME_DIR": RUNTIME,
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={RUNTIME}/bus", "FLATPAK_ID": APP_ID,
            "GSETTINGS_BACKEND": "memory", "GTK_A11Y": "none"}
        arguments = ["bwrap", "--die-with-parent", "--unshare-net", "--unshare-pid", "--unshare-uts",
                     "--ro-bind", "/usr", "/usr", "--proc", "/proc", "--dev", "/dev", "--tmpfs", "/tmp",
                     "--dir", RUNTIME, "--chmod", "0700", RUNTIME,
                     "--bind", self._bus, f"{RUNTIME}/bus", "--bind", self._shared, f"{RUNTIME}/app/{APP_ID}",
                     "--tmpfs", self.home, "--ro-bind", self._prefix, "/app", "--chdir", "/", "--clearenv"]
        for permission in permissions():
            arguments += given[permission]
        for name in ("bin", "sbin", "lib", "lib32", "lib64"):
            if os.path.islink(f"/{name}"):
                arguments += ["--symlink", os.readlink(f"/{name}"), f"/{name}"]
        for path in SYSTEM_FILES:
            arguments += ["--ro-bind-try", path, path]
        for name, value in environment.items():
            arguments += ["--setenv", name, value]
        return [str(argument) for argument in [*arguments, *program]]
