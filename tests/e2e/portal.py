#!/usr/bin/python3
"""A global shortcuts portal that does as it is told, on the session bus of its environment.

  portal.py [--answer grant|refuse|nothing] [--version N] [--registry]

Prints one JSON list for each call it gets: the method's name, then its arguments. Reads commands from
standard input, one a line:

  grant | refuse            answers the BindShortcuts request that still waits
  activate [TOKEN]          the user presses the shortcut
  activate-stranger         the user presses the shortcut of another program's session
  revoke | restore          the user takes the shortcut away in the settings, or gives it back
"""
import argparse
import json
import sys
import threading

import gi
from gi.repository import Gio, GLib

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"
INTERFACES = Gio.DBusNodeInfo.new_for_xml("""
<node>
  <interface name="org.freedesktop.portal.GlobalShortcuts">
    <method name="CreateSession"><arg type="a{sv}"/><arg type="o" direction="out"/></method>
    <method name="BindShortcuts">
      <arg type="o"/><arg type="a(sa{sv})"/><arg type="s"/><arg type="a{sv}"/><arg type="o" direction="out"/>
    </method>
    <method name="ConfigureShortcuts"><arg type="o"/><arg type="s"/><arg type="a{sv}"/></method>
    <property name="version" type="u" access="read"/>
  </interface>
  <interface name="org.freedesktop.host.portal.Registry">
    <method name="Register"><arg type="s"/><arg type="a{sv}"/></method>
  </interface>
  <interface name="org.freedesktop.portal.Session"><method name="Close"/></interface>
</node>
""")
GRANTED, REFUSED = 0, 1


class Portal:
    def __init__(self, bus, options):
        self._bus = bus
        self._options = options
        self._session = None
        self._waiting = None
        for interface in INTERFACES.interfaces[:2 if options.registry else 1]:
            self._export(PATH, interface)

    def obey(self, line):
        command, *arguments = line.split()
        if command in ("grant", "refuse"):
            self._answer_bind(command)
        elif command == "activate":
            options = {"activation_token": GLib.Variant("s", arguments[0])} if arguments else {}
            self._activate(self._session, options)
        elif command == "activate-stranger":
            self._activate(PATH + "/session/1_0/stranger", {})
        elif command in ("revoke", "restore"):
            shortcuts = [("bring-to-front", {})] if command == "restore" else []
            self._emit(PATH, SHORTCUTS, "ShortcutsChanged", GLib.Variant("(oa(sa{sv}))", (self._session, shortcuts)))

    def _export(self, path, interface):
        self._bus.register_object(path, interface, self._call, self._property, None)

    def _property(self, *_):
        return GLib.Variant("u", self._options.version)

    def _call(self, _bus, sender, _path, _interface, method, parameters, invocation):
        arguments = parameters.unpack()
        print(json.dumps([method, *arguments]), flush=True)
        handler = getattr(self, "_" + method, None)
        invocation.return_value(handler(sender, *arguments) if handler else None)

    def _CreateSession(self, sender, options):
        caller = sender[1:].replace(".", "_")
        self._session = f"{PATH}/session/{caller}/{options['session_handle_token']}"
        self._export(self._session, INTERFACES.interfaces[2])
        request = self._request(sender, options)
        self._respond(request, GRANTED, {"session_handle": GLib.Variant("s", self._session)})
        return GLib.Variant("(o)", (request[1],))

    def _BindShortcuts(self, sender, _session, shortcuts, _window, options):
        self._waiting = self._request(sender, options), [name for name, _ in shortcuts]
        request = self._waiting[0]
        if self._options.answer != "nothing":
            self._answer_bind(self._options.answer)
        return GLib.Variant("(o)", (request[1],))

    def _answer_bind(self, answer):
        (request, names), self._waiting = self._waiting, None
        bound = [(name, {"trigger_description": GLib.Variant("s", "Meta+Shift+E")}) for name in names]
        granted = answer == "grant"
        self._respond(request, GRANTED if granted else REFUSED,
                      {"shortcuts": GLib.Variant("a(sa{sv})", bound)} if granted else {})

    @staticmethod
    def _request(sender, options):
        return sender, f"{PATH}/request/{sender[1:].replace('.', '_')}/{options['handle_token']}"

    def _respond(self, request, code, results):
        sender, path = request
        self._bus.emit_signal(sender, path, "org.freedesktop.portal.Request", "Response",
                              GLib.Variant("(ua{sv})", (code, results)))

    def _activate(self, session, options):
        self._emit(PATH, SHORTCUTS, "Activated", GLib.Variant("(osta{sv})", (session, "bring-to-front", 0, options)))

    def _emit(self, path, interface, name, parameters):
        self._bus.emit_signal(None, path, interface, name, parameters)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--answer", choices=("grant", "refuse", "nothing"), default="grant")
    parser.add_argument("--version", type=int, default=1)
    parser.add_argument("--registry", action="store_true")
    options = parser.parse_args()

    loop = GLib.MainLoop()
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    portal = Portal(bus, options)
    Gio.bus_own_name_on_connection(bus, NAME, Gio.BusNameOwnerFlags.NONE,
                                   lambda *_: print(json.dumps(["ready"]), flush=True), lambda *_: loop.quit())

    def read_commands():
        for line in sys.stdin:
            GLib.idle_add(portal.obey, line)
        loop.quit()

    threading.Thread(target=read_commands, daemon=True).start()
    loop.run()


if __name__ == "__main__":
    main()
