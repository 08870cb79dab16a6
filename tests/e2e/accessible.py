"""What a screen reader is told of a program: the objects on the accessibility bus of a desktop."""
import collections

import dbus
import dbus.bus

STATES = {"focusable": 11, "focused": 12, "showing": 25}  # the bits of them

Node = collections.namedtuple("Node", "role name states")


class AccessibilityBus:
    ENVIRONMENT = {"GTK_A11Y": "atspi"}  # for the program under test

    def __init__(self, desktop):
        desktop.start("/usr/libexec/at-spi-bus-launcher", "--launch-immediately")
        desktop.wait_name("org.a11y.Bus")
        launcher = desktop.dbus.get_object("org.a11y.Bus", "/org/a11y/bus")
        self._bus = dbus.bus.BusConnection(launcher.GetAddress(dbus_interface="org.a11y.Bus"))

    def nodes(self, window=None):
        """The objects of a window of the program, or of all: role, name and states of each."""
        try:
            program, = [child for child in self._children("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
                        if self._node(*child).name == "com.quillory.Quillory"]
            windows = [child for child in self._children(*program) if window in (None, self._node(*child).name)]
            found = windows
            for child in found:  # which grows meanwhile
                found += self._children(*child)
            return [self._node(*child) for child in found]
        except (dbus.DBusException, ValueError):
            return []  # it is not there yet, or it changed while it was read

    def _children(self, *place):
        return self._ask(place, "GetChildren")

    def _node(self, *place):
        low, _ = self._ask(place, "GetState")
        name = self._ask(place, "Get", "org.a11y.atspi.Accessible", "Name", interface=dbus.PROPERTIES_IFACE)
        # The engine has names of its roles for people alone. Newer versions call a button so.
        role = (self._ask(place, "GetRoleName") or self._ask(place, "GetLocalizedRoleName")).replace("push button", "button")
        return Node(role, str(name), {state for state, bit in STATES.items() if low >> bit & 1})

    def _ask(self, place, method, *arguments, interface="org.a11y.atspi.Accessible"):
        return self._bus.get_object(*place, introspect=False).get_dbus_method(method, interface)(*arguments)
