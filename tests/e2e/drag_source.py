#!/usr/bin/python3
"""A window of another program that files can be dragged from: drag_source.py TITLE FILE…"""
import sys

import gi

gi.require_version("Gtk", "4.0")
from gi.repository import Gdk, Gio, Gtk


def activate(app):
    window = Gtk.ApplicationWindow(application=app, title=sys.argv[1], default_width=120, default_height=120)
    source = Gtk.DragSource(actions=Gdk.DragAction.COPY | Gdk.DragAction.LINK | Gdk.DragAction.MOVE)
    files = Gdk.FileList.new_from_list([Gio.File.new_for_path(path) for path in sys.argv[2:]])
    source.connect("prepare", lambda *_: Gdk.ContentProvider.new_for_value(files))
    source.connect("drag-begin", lambda *_: print("began", flush=True))
    source.connect("drag-end", lambda _, drag, *__: print("ended:", *drag.get_selected_action().value_nicks, flush=True))
    area = Gtk.Label(label="files")
    area.add_controller(source)
    window.set_child(area)
    window.present()
    print("ready", flush=True)


app = Gtk.Application(flags=Gio.ApplicationFlags.NON_UNIQUE)
app.connect("activate", activate)
app.run()
