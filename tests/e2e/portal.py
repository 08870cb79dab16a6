"""The desktop's portal as python3-dbusmock runs it: file panels, global shortcuts and settings of `programs.Portal`.

Prints one JSON list for each call it gets: the method's name, who called, the request's path, then the arguments.
"""
import json

import dbus
from dbusmock import MOCK_IFACE

BUS_NAME = "org.freedesktop.portal.Desktop"
MAIN_OBJ = "/org/freedesktop/portal/desktop"
MAIN_IFACE = "org.freedesktop.portal.FileChooser"
SYSTEM_BUS = False
SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"
SESSION = "org.freedesktop.portal.Session"
SETTINGS = "org.freedesktop.portal.Settings"


def say(*words):
    print(json.dumps(words), flush=True)


def load(mock, parameters):
    """Parameters: `answer` to BindShortcuts ("grant", "refuse", "nothing"), `version` of the shortcuts, `registry`."""
    mock.parameters = parameters
    mock.settings = {}
    mock.AddProperties(MAIN_IFACE, {"version": dbus.UInt32(3)})
    mock.AddProperties(SHORTCUTS, {"version": dbus.UInt32(parameters["version"])})
    say("ready")


def path(kind, sender, token):
    return f"{MAIN_OBJ}/{kind}/{sender[1:].replace('.', '_')}/{token}"


def asked(method, sender, options, *arguments):
    request = path("request", sender, options["handle_token"])
    say(method, sender, request, *arguments)
    return request


def respond(mock, sender, request, code, results):
    mock.EmitSignalDetailed("org.freedesktop.portal.Request", "Response", "ua{sv}", [dbus.UInt32(code), results],
                            {"path": request, "destination": sender})


def file_panel(method):
    def ask(_self, _parent, title, options, sender):
        return asked(method, sender, options, title, options)
    ask.__name__ = method
    return dbus.service.method(MAIN_IFACE, in_signature="ssa{sv}", out_signature="o", sender_keyword="sender")(ask)


OpenFile = file_panel("OpenFile")
SaveFile = file_panel("SaveFile")


@dbus.service.method("org.freedesktop.host.portal.Registry", in_signature="sa{sv}", sender_keyword="sender")
def Register(self, name, _options, sender):
    if not self.parameters["registry"]:
        raise dbus.exceptions.DBusException("none", name="org.freedesktop.DBus.Error.UnknownInterface")
    say("Register", sender, "", name)


@dbus.service.method(SHORTCUTS, in_signature="a{sv}", out_signature="o", sender_keyword="sender")
def CreateSession(self, options, sender):
    request = asked("CreateSession", sender, options, options)
    session = path("session", sender, options["session_handle_token"])
    self.AddObject(session, SESSION, {}, [("Close", "", "", "print('[\"Close\"]', flush=True)")])
    respond(self, sender, request, 0, {"session_handle": session})
    return request


@dbus.service.method(SHORTCUTS, in_signature="oa{sv}", out_signature="o", sender_keyword="sender")
def ListShortcuts(self, _session, options, sender):
    if self.parameters["version"] > 1:  # as one that cannot
        raise dbus.exceptions.DBusException("none", name="org.freedesktop.DBus.Error.Failed")
    request = path("request", sender, options["handle_token"])
    known = [("bring-to-front", {})] if self.parameters["answer"] == "known" else []
    respond(self, sender, request, 0, {"shortcuts": dbus.Array(known, signature="(sa{sv})")})
    return request


@dbus.service.method(SHORTCUTS, in_signature="oa(sa{sv})sa{sv}", out_signature="o", sender_keyword="sender")
def BindShortcuts(self, session, shortcuts, _window, options, sender):
    request = asked("BindShortcuts", sender, options, session, shortcuts)
    self.waiting = sender, request, [(name, {"trigger_description": "Meta+Shift+E"}) for name, _ in shortcuts]
    if self.parameters["answer"] != "nothing":
        Bind(self, self.parameters["answer"] == "grant")
    return request


@dbus.service.method(SHORTCUTS, in_signature="osa{sv}", sender_keyword="sender")
def ConfigureShortcuts(_self, session, window, options, sender):
    say("ConfigureShortcuts", sender, "", session, window, options)


@dbus.service.method(MOCK_IFACE, in_signature="b")
def Bind(self, granted):
    """The user answers the request for shortcuts."""
    sender, request, shortcuts = self.waiting
    results = {"shortcuts": dbus.Array(shortcuts, signature="(sa{sv})")} if granted else {}
    respond(self, sender, request, 0 if granted else 1, results)


@dbus.service.method(SETTINGS, in_signature="ss", out_signature="v")
def Read(self, _group, key):
    return self.settings[key]


@dbus.service.method(MOCK_IFACE, in_signature="sv")
def Prefer(self, key, value):
    """The user changes a setting of the desktop's appearance."""
    self.settings[key] = value
    self.EmitSignal(SETTINGS, "SettingChanged", "ssv", ["org.freedesktop.appearance", key, value])
