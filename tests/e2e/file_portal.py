#!/usr/bin/python3
"""A desktop portal whose file panels a test answers.

As a program: owns org.freedesktop.portal.Desktop on the session bus, writes every panel that is asked for
as one line of JSON and takes the answers, {"id": N, "response": 0, "uris": [...]}, from standard input.
As a module: `FilePortal` runs it and talks to it.
"""
import json
import subprocess
import sys
import threading

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
INTERFACES = """
<node><interface name="org.freedesktop.portal.FileChooser">
  <method name="OpenFile"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
    <arg type="o" direction="out"/></method>
  <method name="SaveFile"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
    <arg type="o" direction="out"/></method>
  <property name="version" type="u" access="read"/>
</interface></node>
"""


class FilePortal:
    """Environment for the program under test: `GDK_DEBUG=portals` makes its panels ask here."""
    ENVIRONMENT = {"GDK_DEBUG": "portals"}

    def __init__(self, desktop):
        self.process = subprocess.Popen(["/usr/bin/python3", __file__], env=desktop.env, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        assert self.process.stdout.readline() == "ready\n"

    def wait_panel(self):
        """The next panel that was asked for: method, title, options."""
        line = self.process.stdout.readline()
        assert line, "the portal ended"
        return json.loads(line)

    def answer(self, panel, path=None):
        """Confirms a panel with a path, or cancels it."""
        import pathlib
        reply = {"id": panel["id"], "response": 0 if path else 1, "uris": [pathlib.Path(path).as_uri()] if path else []}
        self.process.stdin.write(json.dumps(reply) + "\n")
        self.process.stdin.flush()

    def choose(self, path=None):
        """Waits for a panel and answers it."""
        panel = self.wait_panel()
        self.answer(panel, path)
        return panel

    def close(self):
        self.process.kill()
        self.process.wait()


def main():
    from gi.repository import Gio, GLib

    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    requests = {}

    def plain(value):
        if isinstance(value, dict):
            return {key: plain(entry) for key, entry in value.items()}
        if isinstance(value, (list, tuple)):
            return bytes(value).rstrip(b"\0").decode() if value and all(isinstance(b, int) for b in value) else \
                [plain(entry) for entry in value]
        return value

    def called(_bus, sender, _path, _interface, method, parameters, invocation):
        parent, title, options = parameters.unpack()
        request = f"{PATH}/request/{sender[1:].replace('.', '_')}/{options['handle_token']}"
        number = len(requests)
        requests[number] = (sender, request)
        invocation.return_value(GLib.Variant("(o)", (request,)))
        print(json.dumps({"id": number, "method": method, "title": title, "parent": parent, "options": plain(options)}),
              flush=True)

    def respond(line):
        reply = json.loads(line)
        sender, request = requests[reply["id"]]
        results = {"uris": GLib.Variant("as", reply["uris"])}
        bus.emit_signal(sender, request, "org.freedesktop.portal.Request", "Response",
                        GLib.Variant("(ua{sv})", (reply["response"], results)))

    def read_answers():
        for line in sys.stdin:
            GLib.idle_add(respond, line)

    interface = Gio.DBusNodeInfo.new_for_xml(INTERFACES).interfaces[0]
    bus.register_object(PATH, interface, called, lambda *_: GLib.Variant("u", 3), None)
    Gio.bus_own_name_on_connection(bus, NAME, Gio.BusNameOwnerFlags.NONE, lambda *_: print("ready", flush=True), None)
    threading.Thread(target=read_answers, daemon=True).start()
    GLib.MainLoop().run()


if __name__ == "__main__":
    main()
