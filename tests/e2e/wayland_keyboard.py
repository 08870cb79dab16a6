"""A keyboard for a KWin session: real key events through its fake-input protocol, in the Wayland wire format."""
import socket
import struct

KEY_CODES = {"super": 125, "shift": 42, "ctrl": 29, "alt": 56, "a": 30, "e": 18, "k": 37, "w": 17, "Return": 28, "Tab": 15, "Escape": 1}
DISPLAY, REGISTRY, CALLBACK, FAKE_INPUT = 1, 2, 3, 4  # object ids; each callback ends before the next is made
SYNC, GET_REGISTRY, BIND, AUTHENTICATE, KEYBOARD_KEY = 0, 1, 0, 0, 10  # what is asked of them


def text(value):
    data = value.encode() + b"\0"
    return struct.pack("=I", len(data)) + data + bytes(-len(data) % 4)


class WaylandKeyboard:
    def __init__(self, display):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(10)
        self._socket.connect(display)
        self._stream = self._socket.makefile("rb")
        interface = text("org_kde_kwin_fake_input")
        offered = self._ask(DISPLAY, GET_REGISTRY, struct.pack("=I", REGISTRY))
        name = next(body[:4] for body in offered if interface in body)
        self._ask(REGISTRY, BIND, name + interface + struct.pack("=II", 4, FAKE_INPUT))
        self._ask(FAKE_INPUT, AUTHENTICATE, text("tests") + text("tests"))

    def close(self):
        self._stream.close()
        self._socket.close()

    def press(self, chord):
        """Presses and releases keys such as "super+shift+e"; returns once KWin has taken them in."""
        keys = [KEY_CODES[key] for key in chord.split("+")]
        for key, state in [*((key, 1) for key in keys), *((key, 0) for key in reversed(keys))]:
            self._ask(FAKE_INPUT, KEYBOARD_KEY, struct.pack("=II", key, state))

    def _ask(self, receiver, opcode, body):
        """Returns the events that come until the request has been done."""
        for message in ((receiver, opcode, body), (DISPLAY, SYNC, struct.pack("=I", CALLBACK))):
            self._socket.sendall(struct.pack("=IHH", message[0], message[1], len(message[2]) + 8) + message[2])
        events = []
        while True:
            sender, opcode, size = struct.unpack("=IHH", self._stream.read(8))
            body = self._stream.read(size - 8)
            if sender == CALLBACK:
                return events
            if sender == DISPLAY and opcode == 0:
                raise RuntimeError(f"KWin refused: {body!r}")
            events.append(body)
