#!/usr/bin/python3
"""A window of another program, which prints what reaches it.

  active | inactive         whenever the focus comes or goes
  press NAME                for each key press, with the key's name
  token TEXT                the answer to the line "token" on standard input: an activation token, as this
                            program would hand it to one that it starts

Command line: the window's title.
"""
import sys
import threading

import gi

gi.require_version("Gdk", "4.0")
gi.require_version("Gtk", "4.0")
from gi.repository import Gdk, Gio, GLib, Gtk


def say(*words):
    print(*words, flush=True)


def make_window(application, title):
    window = Gtk.ApplicationWindow(application=application, title=title, default_width=300, default_height=200)
    keys = Gtk.EventControllerKey()
    keys.connect("key-pressed", lambda _controller, value, _code, _state: say("press", Gdk.keyval_name(value)))
    window.add_controller(keys)
    window.connect("notify::is-active", lambda *_: say("active" if window.is_active() else "inactive"))
    window.present()
    return window


def say_token(window):
    context = window.get_display().get_app_launch_context()
    program = Gio.AppInfo.create_from_commandline("true", "anything", Gio.AppInfoCreateFlags.NONE)
    say("token", context.get_startup_notify_id(program, []))


def read_commands(window):
    for line in sys.stdin:
        if line.strip() == "token":
            GLib.idle_add(say_token, window)


def main():
    application = Gtk.Application(application_id=None)

    def start(_application):
        window = make_window(application, sys.argv[1])
        threading.Thread(target=read_commands, args=(window,), daemon=True).start()

    application.connect("activate", start)
    application.run([])


if __name__ == "__main__":
    main()
