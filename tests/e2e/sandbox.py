"""The confinement that the Flatpak manifest asks for, made of bubblewrap and the system's own libraries."""
import os
import pathlib
import shutil
import subprocess

from desktop import wait_for

APP_ID = "com.quillory.Quillory"
RUNTIME = "/run/user/app"
# What a Flatpak runtime has of its own, and what Flatpak shows of the system.
SYSTEM_FILES = ["/etc/alternatives", "/etc/fonts", "/etc/ld.so.cache", "/etc/machine-id", "/etc/passwd",
                "/etc/group", "/var/cache/fontconfig", "/sys/block", "/sys/bus", "/sys/class", "/sys/dev", "/sys/devices"]
# Flatpak filters the session bus; here the sandbox has one of its own, on which nothing else is.
BUS = """<busconfig><type>session</type><listen>unix:path={socket}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="{name}"/></policy></busconfig>"""


class Sandbox:
    """Read-only system, an empty home with the user's Downloads folder, an empty session bus, no network."""

    def __init__(self, desktop, prefix):
        self._desktop = desktop
        self._prefix = prefix
        self.home = pathlib.Path(desktop.home)
        self.downloads = self.home / "Downloads"
        self.downloads.mkdir(exist_ok=True)
        # Flatpak gives all instances of one application this folder in common.
        self._shared = pathlib.Path(desktop.runtime, "app", APP_ID)
        self._shared.mkdir(0o700, parents=True, exist_ok=True)
        self._start_bus()

    def _start_bus(self):
        config = self._shared.parent / "bus.conf"
        self._bus = self._shared.parent / "bus"
        config.write_text(BUS.format(socket=self._bus, name=APP_ID), encoding="utf-8")
        self._daemon = subprocess.Popen(["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile"],
                                        stderr=subprocess.DEVNULL)
        wait_for(self._bus.exists, "the session bus")

    def command(self, *program, env=None):
        """What runs `program` confined; `env` adds to the environment in there, which has nothing of this one's."""
        display = self._desktop.env["DISPLAY"]
        socket = "/tmp/.X11-unix/X" + display.lstrip(":")
        environment = {
            "HOME": self.home, "PATH": "/usr/bin", "LANG": "C.UTF-8", "DISPLAY": display, "XDG_RUNTIME_DIR": RUNTIME,
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={RUNTIME}/bus", "FLATPAK_ID": APP_ID,
            "GSETTINGS_BACKEND": "memory", "GTK_A11Y": "none", **(env or {})}
        arguments = ["bwrap", "--die-with-parent", "--unshare-net", "--unshare-pid", "--unshare-uts",
                     "--ro-bind", "/usr", "/usr", "--proc", "/proc", "--dev", "/dev", "--tmpfs", "/tmp",
                     "--ro-bind", socket, socket, "--dir", RUNTIME, "--chmod", "0700", RUNTIME,
                     "--bind", self._bus, f"{RUNTIME}/bus", "--bind", self._shared, f"{RUNTIME}/app/{APP_ID}",
                     "--tmpfs", self.home, "--bind", self.downloads, self.downloads,
                     "--ro-bind", self._prefix, "/app", "--chdir", "/", "--clearenv"]
        for name in ("bin", "sbin", "lib", "lib32", "lib64"):
            if os.path.islink(f"/{name}"):
                arguments += ["--symlink", os.readlink(f"/{name}"), f"/{name}"]
        for path in SYSTEM_FILES:
            arguments += ["--ro-bind-try", path, path]
        if os.path.exists("/dev/dri"):
            arguments += ["--dev-bind", "/dev/dri", "/dev/dri"]
        for name, value in environment.items():
            arguments += ["--setenv", name, value]
        return [str(argument) for argument in [*arguments, *program]]

    def close(self):
        self._daemon.terminate()
        self._daemon.wait()
        shutil.rmtree(self._shared.parent)
        shutil.rmtree(self.downloads)
