"""A desktop of the tests' own: an X server without a screen, a window manager and a session bus."""
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time

PATIENCE = 30  # seconds until an event that should come counts as missing

# A session bus that starts no services: what a machine has installed (a portal, say) is not to differ between desktops.
BUS = """<busconfig><type>session</type><keep_umask/><listen>unix:dir={folder}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>"""


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


class Desktop:
    """Xvfb, openbox and dbus-daemon, with folders of its own for everything a program keeps."""

    def __init__(self, screen="1280x1024x24", window_manager=True):
        self.home = tempfile.mkdtemp(prefix="quillory-home-")
        self.runtime = os.path.join(self.home, "run")
        os.mkdir(self.runtime, 0o700)
        self.processes = []
        self.env = {k: v for k, v in os.environ.items()
                    if k not in ("WAYLAND_DISPLAY", "TMPDIR", "DISPLAY", "DBUS_SESSION_BUS_ADDRESS")
                    and not k.startswith("XDG_")}
        self.env.update(HOME=self.home, XDG_RUNTIME_DIR=self.runtime, LANG="C.UTF-8", GTK_A11Y="none",
                        GSETTINGS_BACKEND="memory")
        self._start_display(screen)
        self._start_bus()
        if window_manager:
            self._start_window_manager()

    def _spawn(self, *command, **options):
        process = subprocess.Popen(command, env=self.env, stderr=subprocess.DEVNULL, **options)
        self.processes.append(process)
        return process

    def _start_display(self, screen):
        read, write = os.pipe()
        self._spawn("Xvfb", "-displayfd", str(write), "-screen", "0", screen, "-nolisten", "tcp", "-noreset",
                    pass_fds=[write], stdout=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as number:
            self.env["DISPLAY"] = ":" + number.readline().strip()

    def _start_bus(self):
        config = os.path.join(self.home, "bus.conf")
        with open(config, "w", encoding="utf-8") as file:
            file.write(BUS.format(folder=self.runtime))
        self.bus = self._spawn("dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile", "--print-address=1",
                               stdout=subprocess.PIPE, text=True)
        self.env["DBUS_SESSION_BUS_ADDRESS"] = self.bus.stdout.readline().strip()

    def _start_window_manager(self):
        self._spawn("openbox", stdout=subprocess.DEVNULL)
        wait_for(lambda: "window id" in self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK", check=False),
                 "the window manager")

    def close(self):
        for process in reversed(self.processes):
            process.terminate()
        for process in self.processes:
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.send_signal(signal.SIGKILL)
                process.wait()
        shutil.rmtree(self.home, ignore_errors=True)

    def run(self, *command, check=True, **options):
        result = subprocess.run(command, env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                timeout=PATIENCE, **options)
        if check and result.returncode != 0:
            raise AssertionError(f"{' '.join(command)}: {result.stderr}")
        return result.stdout

    # Windows

    def windows(self, title):
        """The ids of the windows on the screen whose title is exactly `title`."""
        return self.run("xdotool", "search", "--onlyvisible", "--name", f"^{re.escape(title)}$", check=False).split()

    def wait_window(self, title):
        return wait_for(lambda: self.windows(title), f"the window {title!r}")[0]

    def wait_no_window(self, title):
        wait_for(lambda: not self.windows(title), f"the window {title!r} to go")

    def active_window(self):
        return self.run("xdotool", "getactivewindow", check=False).strip()

    def wait_active(self, window):
        wait_for(lambda: self.active_window() == window, f"window {window} to be active")

    def focus(self, window):
        self.run("xdotool", "windowactivate", window)
        self.wait_active(window)

    def geometry(self, window):
        """Position and size of a window's content: X, Y, WIDTH, HEIGHT."""
        out = self.run("xwininfo", "-id", window)
        return {name: int(re.search(pattern + r":\s+(-?\d+)", out).group(1))
                for name, pattern in (("X", "Absolute upper-left X"), ("Y", "Absolute upper-left Y"),
                                      ("WIDTH", "Width"), ("HEIGHT", "Height"))}

    # Keys

    def key(self, *keys):
        self.run("xdotool", "key", "--clearmodifiers", *keys)

    def type(self, text):
        self.run("xdotool", "type", "--delay", "2", text)

    def choose_from_menu(self, window, menu, item):
        """Opens the menu bar by keyboard and chooses an item, both counted from 0."""
        def popups():
            return set(self.run("xdotool", "search", "--onlyvisible", "--class", "com.quillory.Quillory", check=False)
                       .split()) - {window}
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

    def answer_panel(self, title, path, replace=False):
        """Types a path into an open or save panel and confirms it, and that it is to replace a file."""
        window = self.wait_window(title)
        self.focus(window)
        self.key("ctrl+a")
        self.type(str(path))
        self.key("Return")
        if replace:
            wait_for(lambda: self.active_window() not in ("", window), "the question whether to replace the file")
            self.key("alt+r")
        self.wait_no_window(title)

    def cancel_panel(self, title):
        self.focus(self.wait_window(title))
        self.key("Escape")
        self.wait_no_window(title)

    def other_program(self):
        """A window of another program that prints the key presses it gets; returns process and window."""
        process = self._spawn("xev", "-event", "keyboard", "-name", "other program", stdout=subprocess.PIPE, text=True)
        window = self.wait_window("other program")
        self.focus(window)
        return process, window

    def screenshot(self, path):
        self.run("import", "-window", "root", str(path))
