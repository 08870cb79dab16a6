"""A keyboard for a KWin session: real key events through its fake-input protocol.

The few messages needed are written in the Wayland wire format, so no client library is involved.
"""
import os
import socket
import struct

KEY_CODES = {"super": 125, "shift": 42, "ctrl": 29, "alt": 56, "e": 18, "k": 37, "w": 17, "Return": 28, "Tab": 15, "Escape": 1}

DISPLAY, REGISTRY, CALLBACK, FAKE_INPUT = 1, 2, 3, 4  # object ids; each callback ends before the next is made
SYNC, GET_REGISTRY, BIND = 0, 1, 0
AUTHENTICATE, KEYBOARD_KEY = 0, 10
INTERFACE, VERSION = "org_kde_kwin_fake_input", 4


def _text(value):
    data = value.encode() + b"\0"
    return struct.pack("=I", len(data)) + data.ljust((len(data) + 3) // 4 * 4, b"\0")


class WaylandKeyboard:
    def __init__(self, runtime_dir, display):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(10)
        self._socket.connect(os.path.join(runtime_dir, display))
        self._stream = self._socket.makefile("rb")
        self._send(DISPLAY, GET_REGISTRY, struct.pack("=I", REGISTRY))
        name = self._find_interface()
        self._send(REGISTRY, BIND,
                   struct.pack("=I", name) + _text(INTERFACE) + struct.pack("=II", VERSION, FAKE_INPUT))
        self._send(FAKE_INPUT, AUTHENTICATE, _text("tests") + _text("tests"))
        self._round_trip()

    def close(self):
        self._stream.close()
        self._socket.close()

    def down(self, key):
        self._key(key, 1)

    def up(self, key):
        self._key(key, 0)

    def press(self, chord):
        """Presses and releases keys such as "super+shift+e"; returns once KWin has taken them in."""
        keys = chord.split("+")
        for key in keys:
            self.down(key)
        for key in reversed(keys):
            self.up(key)

    def _key(self, key, state):
        self._send(FAKE_INPUT, KEYBOARD_KEY, struct.pack("=II", KEY_CODES[key], state))
        self._round_trip()

    def _send(self, receiver, opcode, body):
        self._socket.sendall(struct.pack("=II", receiver, len(body) + 8 << 16 | opcode) + body)

    def _events_until_synced(self):
        self._send(DISPLAY, SYNC, struct.pack("=I", CALLBACK))
        while True:
            sender, size_and_opcode = struct.unpack("=II", self._stream.read(8))
            body = self._stream.read((size_and_opcode >> 16) - 8)
            if sender == CALLBACK:
                return
            if sender == DISPLAY and size_and_opcode & 0xFFFF == 0:
                raise RuntimeError(f"KWin refused: {body!r}")
            yield sender, size_and_opcode & 0xFFFF, body

    def _round_trip(self):
        for _ in self._events_until_synced():
            pass

    def _find_interface(self):
        wanted = _text(INTERFACE)
        found = [body for sender, opcode, body in self._events_until_synced()
                 if sender == REGISTRY and opcode == 0 and body[4:4 + len(wanted)] == wanted]
        if not found:
            raise RuntimeError("KWin offers no fake input")
        return struct.unpack_from("=I", found[0])[0]
