"""What screen readers, keyboards, high contrast and large text make of the program."""
import pytest

from accessible import AccessibilityBus, nodes
from desktop import Desktop, wait_for
from plasma import PlasmaSession

MENUS = ["Quillory", "File", "Edit", "Window"]
ABOUT = {"image": ["Quillory icon"],
         "label": ["Quillory", "Version 1.0 (1)", "Made by the Quillory team", "Global Hotkey", "Command Shift E",
                   "Brings app to front"],
         "link": ["Website: quillory.example", "Licence agreement"]}


@pytest.fixture(scope="module")
def bus(desktop):
    bus = AccessibilityBus(desktop)
    yield bus
    bus.close()


@pytest.fixture
def app(launch, bus):
    return launch(env=bus.environment)


def names(tree, role):
    return [node["name"] for node in nodes(tree, role)]


def focused(bus):
    return [node["name"] for node in nodes(bus.tree()) if node["focused"]]


def wait_frame(bus, name):
    """The accessible window of that name, once it is there."""
    return wait_for(lambda: next((frame for frame in nodes(bus.tree(), "frame") if frame["name"] == name), None),
                    f"the accessible window {name}")


def test_main_window_has_names_and_roles(app, bus):
    window = wait_frame(bus, "Quillory")
    assert names(window, "menu bar") == ["Menu bar"]
    assert names(window, "menu item") == MENUS
    assert all(node["focusable"] for node in nodes(window, "menu item"))
    # The page itself, where the toolkit has a place for it, or what stands for it.
    assert {"Editor", "Test page"} & {node["name"] for node in nodes(window)}
    # A name that nobody wrote is a type of the toolkit.
    assert not [node["name"] for node in nodes(window) if node["name"].startswith(("Gtk", "gtkmm", "WebKit"))]


def test_menus_are_reached_by_keyboard(app, bus, desktop):
    desktop.focus(app.window())
    desktop.key("F10")
    for menu, first in zip(MENUS, ["About Quillory", "Close", "Undo", "Minimize"]):
        wait_for(lambda: first in [node["name"] for node in nodes(bus.tree(), "menu item") if node["showing"]]
                 or first in focused(bus), f"the items of the menu {menu}")
        desktop.key("Right")
    desktop.key("Escape")


def test_about_panel_has_names_and_roles(app, bus, desktop):
    desktop.choose_from_menu(app.window(), 0, 0)
    about = wait_frame(bus, "About Quillory")
    for role, wanted in ABOUT.items():
        assert [name for name in names(about, role) if name in wanted][:len(wanted)] == wanted
    desktop.wait_active(desktop.wait_window("About Quillory"))
    # The focus starts on either link and goes from one to the other.
    first, = wait_for(lambda: set(focused(bus)) & set(ABOUT["link"]), "the focus on a link")
    desktop.key("Tab")
    other, = set(ABOUT["link"]) - {first}
    wait_for(lambda: other in focused(bus), "the focus on the other link")


@pytest.mark.parametrize("look", [{}, {"GTK_THEME": "Default:hc"}, {"GTK_THEME": "Default:hc-dark"},
                                  {"GTK_THEME": "Default:dark"}, {"GDK_SCALE": "2"}])
def test_about_panel_fits_its_frame(launch, look):
    desktop = Desktop(screen="2000x1400x24")
    try:
        app = launch(env=look, on=desktop)
        desktop.choose_from_menu(app.window(), 0, 0)
        place = desktop.geometry(desktop.wait_window("About Quillory"))
        scale = int(look.get("GDK_SCALE", 1))
        assert (place["WIDTH"], place["HEIGHT"]) == (400 * scale, 550 * scale)
    finally:
        desktop.close()


def test_large_text_grows_the_about_panel(launch):
    desktop = Desktop(screen="1400x1300x24")
    try:
        desktop.run("xrdb", "-merge", input="Xft.dpi: 192\n")
        app = launch(on=desktop)
        desktop.choose_from_menu(app.window(), 0, 0)
        # A frame of 550 pixels alone would cut off the lower lines.
        place = desktop.geometry(desktop.wait_window("About Quillory"))
        assert place["WIDTH"] >= 400 and place["HEIGHT"] > 650
    finally:
        desktop.close()


def test_alert_has_names_and_roles_and_grows_with_the_text(launch):
    sizes = []
    for scale, look in ((1, {}), (2, {"GTK_THEME": "Default:hc"})):
        # A session without a portal: the hotkey needs a permission that nobody can give.
        with PlasmaSession(kde_portal=False, text_scale=scale) as session:
            bus = AccessibilityBus(session)
            try:
                app = launch(env={**bus.environment, **look}, on=session)
                alert = session.geometry(session.wait_active("Accessibility Permission Required"))
                sizes.append((alert["WIDTH"], alert["HEIGHT"]))
                answer_alert_by_keyboard(session, bus)
                assert app.quit() == 0
            finally:
                bus.close()
    (width, height), (large_width, large_height) = sizes
    assert large_width > 1.5 * width and large_height > 1.5 * height


def answer_alert_by_keyboard(session, bus):
    alert = wait_for(lambda: [node for role in ("alert", "dialog") for node in nodes(bus.tree(), role)], "the alert")[0]
    assert alert["name"] == "Accessibility Permission Required"
    assert names(alert, "button") == ["Open System Settings", "Later"]
    assert all(node["focusable"] for node in nodes(alert, "button"))
    assert "System Settings → Privacy & Security → Accessibility" in " ".join(names(alert, "label"))
    wait_for(lambda: "Open System Settings" in focused(bus), "the focus on the first button")
    session.key("Tab")
    wait_for(lambda: "Later" in focused(bus), "the focus on the second button")
    session.key("Return")
    session.wait_no_window("Accessibility Permission Required")
