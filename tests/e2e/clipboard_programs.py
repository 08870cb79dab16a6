"""Other programs that copy and paste, on X11 and on Wayland."""
import contextlib
import signal
import subprocess
import sys

from desktop import PATIENCE, wait_for


class Clipboard:
    """What the test's other program puts on the clipboard of a session, and reads from it."""

    def __init__(self, env):
        self.env = env
        self._owners = []

    def copy(self, mime_type, content):
        """Another program copies `content`; returns the process that owns the clipboard from now on."""
        owner = subprocess.Popen(self._copy_command(mime_type), env=self.env, stdin=subprocess.PIPE,
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        owner.stdin.write(content)
        owner.stdin.close()
        self._owners.append(owner)
        wait_for(lambda: self.paste(mime_type) == content, f"the clipboard to hold {mime_type}")
        return owner

    def paste(self, mime_type):
        """What another program gets, or None."""
        result = subprocess.run(self._paste_command(mime_type), env=self.env, stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, timeout=PATIENCE)
        return result.stdout if result.returncode == 0 else None

    def close(self):
        for owner in self._owners:
            with contextlib.suppress(ProcessLookupError):
                owner.send_signal(signal.SIGCONT)
                owner.kill()
            owner.wait()


class X11Clipboard(Clipboard):
    def _copy_command(self, mime_type):
        return ["xclip", "-quiet", "-selection", "clipboard", "-t", mime_type, "-i"]

    def _paste_command(self, mime_type):
        return ["xclip", "-selection", "clipboard", "-t", mime_type, "-o"]

    def copy_several(self, contents):
        """One program copies in several types at once."""
        owner = subprocess.Popen([sys.executable, __file__], env=self.env, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self._owners.append(owner)
        for mime_type, content in contents.items():
            owner.stdin.write(f"{mime_type}\n{len(content)}\n".encode() + content)
        owner.stdin.close()
        assert owner.stdout.readline() == b"copied\n"
        for mime_type, content in contents.items():
            wait_for(lambda: self.paste(mime_type) == content, f"the clipboard to hold {mime_type}")
        return owner

    def clear(self):
        self.copy("text/plain", b"").kill()
        self._owners[-1].wait()


class WaylandClipboard(Clipboard):
    def _copy_command(self, mime_type):
        return ["wl-copy", "--foreground", "--type", mime_type]

    def _paste_command(self, mime_type):
        return ["wl-paste", "--no-newline", "--type", mime_type]


def own_several_types():
    import gi
    gi.require_version("Gtk", "4.0")
    from gi.repository import Gdk, GLib, Gtk
    Gtk.init()
    providers = []
    while mime_type := sys.stdin.buffer.readline().decode().strip():
        content = sys.stdin.buffer.read(int(sys.stdin.buffer.readline()))
        providers.append(Gdk.ContentProvider.new_for_bytes(mime_type, GLib.Bytes.new(content)))
    Gdk.Display.get_default().get_clipboard().set_content(Gdk.ContentProvider.new_union(providers))
    print("copied", flush=True)
    GLib.MainLoop().run()


if __name__ == "__main__":
    own_several_types()
