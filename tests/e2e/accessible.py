#!/usr/bin/python3
"""What a screen reader is told of a program.

As a program: prints the accessible objects of the program named on the command line as one JSON tree.
As a module: `AccessibilityBus` makes a desktop that has them and reads the tree.
"""
import json
import subprocess
import sys

from desktop import wait_for

LAUNCHER = "/usr/libexec/at-spi-bus-launcher"


class AccessibilityBus:
    """The accessibility bus of a desktop. `environment` is for the program under test."""

    def __init__(self, desktop):
        self._desktop = desktop
        self._process = subprocess.Popen([LAUNCHER, "--launch-immediately"], env=desktop.env,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for(lambda: "true" in self._run(
            "gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/",
            "--method", "org.freedesktop.DBus.NameHasOwner", "org.a11y.Bus"), "the accessibility bus")
        self.environment = {"GTK_A11Y": "atspi"}

    def tree(self, program="com.quillory.Quillory"):
        """Nodes with `role`, `name`, `focusable`, `focused`, `extents` and `children`."""
        return json.loads(self._run("/usr/bin/python3", __file__, program))

    def _run(self, *command):
        return subprocess.run(command, env=self._desktop.env, capture_output=True, text=True, timeout=30,
                              check=True).stdout

    def close(self):
        self._process.terminate()
        self._process.wait()


def nodes(tree, role=None):
    """All nodes below one, itself included, of one role or of all."""
    found = [tree] if tree and role in (None, tree["role"]) else []
    for child in tree["children"] if tree else []:
        found += nodes(child, role)
    return found


def describe(node):
    from gi.repository import Atspi
    states = node.get_state_set()
    # Newer versions call a button so.
    tree = {"role": node.get_role_name().replace("push button", "button"), "name": node.get_name(), "children": []}
    for state in ("focusable", "focused", "showing"):
        tree[state] = states.contains(getattr(Atspi.StateType, state.upper()))
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child is not None:
            tree["children"].append(describe(child))
    return tree


def main():
    import gi
    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi, GLib
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        program = desktop.get_child_at_index(index)
        if program is not None and program.get_name() == sys.argv[1]:
            try:
                print(json.dumps(describe(program)))
                return
            except GLib.Error:
                break  # it changed while it was read
    print("null")


if __name__ == "__main__":
    main()
