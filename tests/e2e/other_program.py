#!/usr/bin/python3
"""Another program's window: other_program.py TITLE

Prints "active" and "inactive" as the focus comes and goes, "press NAME" for each key press, "accepted" when its files
are dragged over somebody who takes them and "ended: ACTION" afterwards. Each line of standard input is a command, a JSON list:
  token             prints "token TEXT": an activation token, as this program would hand it to one that it starts
  files PATH…       what can be dragged from the window from now on; prints "files"
  copy TYPE BASE64… puts contents on the clipboard and prints "copied"
  copy_and_stop TYPE BASE64…  the same, and stops before anybody is told what there is
"""
import base64
import json
import os
import signal
import sys
import threading

import gi

gi.require_version("Gdk", "4.0")
gi.require_version("Gtk", "4.0")
from gi.repository import Gdk, Gio, GLib, Gtk


def say(*words):
    print(*words, flush=True)


def make_window(application):
    window = Gtk.ApplicationWindow(application=application, title=sys.argv[1], default_width=300, default_height=200)
    keys = Gtk.EventControllerKey()
    keys.connect("key-pressed", lambda _controller, value, _code, _state: say("press", Gdk.keyval_name(value)))
    window.add_controller(keys)
    window.connect("notify::is-active", lambda *_: say("active" if window.is_active() else "inactive"))
    window.present()
    return window


def token(window):
    program = Gio.AppInfo.create_from_commandline("true", "anything", Gio.AppInfoCreateFlags.NONE)
    say("token", window.get_display().get_app_launch_context().get_startup_notify_id(program, []))


def files(window, *paths):
    content = Gdk.FileList.new_from_list([Gio.File.new_for_path(path) for path in paths])
    source = Gtk.DragSource(actions=Gdk.DragAction.COPY | Gdk.DragAction.LINK | Gdk.DragAction.MOVE)
    source.connect("prepare", lambda *_: Gdk.ContentProvider.new_for_value(content))
    source.connect("drag-begin", lambda _, drag: drag.connect(
        "notify::selected-action", lambda *_: say("accepted") if drag.get_selected_action() else None))
    source.connect("drag-end", lambda _, drag, *__: say("ended:", *drag.get_selected_action().value_nicks))
    window.add_controller(source)
    say("files")


def copy(window, *contents):
    providers = [Gdk.ContentProvider.new_for_bytes(mime_type, GLib.Bytes.new(base64.b64decode(content)))
                 for mime_type, content in zip(contents[::2], contents[1::2])]
    window.get_clipboard().set_content(Gdk.ContentProvider.new_union(providers))
    window.get_display().sync()
    say("copied")


def copy_and_stop(window, *contents):
    copy(window, *contents)
    os.kill(os.getpid(), signal.SIGSTOP)


def obey(window):
    for line in sys.stdin:
        name, *arguments = json.loads(line)
        GLib.idle_add(globals()[name], window, *arguments)


application = Gtk.Application(flags=Gio.ApplicationFlags.NON_UNIQUE)
application.connect("activate", lambda _: threading.Thread(target=obey, args=(make_window(application),), daemon=True).start())
application.run([])
