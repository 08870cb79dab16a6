"""Every text that people see is in the catalogues, in their language, and screen readers are told of it; large text fits."""
import pathlib
import re
import subprocess

import gi
import pytest

gi.require_version("Gtk", "4.0")
from gi.repository import Gtk

from accessible import AccessibilityBus
from desktop import Desktop, wait_for
from plasma import ALERT, PlasmaSession

ROOT = pathlib.Path(__file__).parents[2]
LANGUAGES = (ROOT / "po/LINGUAS").read_text().split()
TEXT_ROLES = ("frame", "menu bar", "menu item", "label", "link", "image", "button")
MENUS = {"Quillory": "About Quillory", "File": "Close", "Edit": "Undo", "Window": "Minimize"}
ABOUT = {"image": ["⟦Quillory icon⟧"],
         "label": ["⟦Quillory⟧", "⟦Version ⟧1.0 (1)", "⟦Made by the Quillory team⟧", "⟦Global Hotkey⟧", "⟦Command Shift E⟧",
                   "⟦Brings app to front⟧"],
         "link": ["⟦Website: quillory.example⟧", "⟦Licence agreement⟧"]}


def run(*command, **options):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=True, timeout=60,
                          **options).stdout


@pytest.fixture(scope="module")
def template(tmp_path_factory):
    template = tmp_path_factory.mktemp("texts") / "quillory.pot"
    run(ROOT / "script/update-translations", template)
    return template


@pytest.mark.parametrize("language", LANGUAGES)
def test_catalogue_has_every_text(template, language):
    catalogue = ROOT / f"po/{language}.po"
    compared = subprocess.run(["msgcmp", catalogue, template], capture_output=True, text=True, check=False)
    assert (compared.returncode, compared.stderr) == (0, "")
    # A text with a place for a value keeps it, and a menu item has one key to reach it.
    content = run("msgcat", "--no-wrap", catalogue)
    assert not re.search("Cmd|⌘|→", "".join(re.findall(r'^msgstr ((?:".*"\n?)+)', content, re.M))), "of another desktop"
    for id, text in re.findall(r'^msgid (".*")\nmsgstr (".*")$', content, re.M):
        assert ("{}" in id, "_" in id) == ("{}" in text, "_" in text), text


@pytest.fixture(scope="module")
def bus(desktop):
    return AccessibilityBus(desktop)


def names(nodes, *roles):
    return [node.name for node in nodes if node.role in roles]


def focused(bus):
    return {node.name for node in bus.nodes() if "focused" in node.states}


def test_windows_and_menus_are_named_in_their_language_and_reached_by_keyboard(
        launch, tree, desktop, bus, template, locale):
    # A language in which every text is itself in brackets: what comes without them was not looked up.
    marked = run("msgfilter", "--keep-header", "sed", "-e", "1s/^/⟦/; $s/$/⟧/", input=run("msgen", "--force-po", template))
    messages = tree.prefix / "share/locale/xx/LC_MESSAGES"
    messages.mkdir(parents=True)
    run("msgfmt", "-o", messages / "quillory.mo", "-", input=marked.replace("CHARSET", "UTF-8"))
    app = launch(tree, env={**bus.ENVIRONMENT, **locale, "LANGUAGE": "xx"})
    window = wait_for(lambda: bus.nodes("Quillory"), "the accessible window")
    assert names(window, "menu bar") == ["⟦Menu bar⟧"]
    menus = [node for node in window if node.role == "menu item"]
    assert [node.name for node in menus] == [f"⟦{name}⟧" for name in MENUS]
    assert all("focusable" in node.states for node in menus)
    # The page itself, where the toolkit has a place for it, or what stands for it.
    assert {"⟦Editor⟧", "Test page"} & {node.name for node in window}
    # A name that nobody wrote is a type of the toolkit.
    assert not [node.name for node in window if node.name.startswith(("Gtk", "gtkmm", "WebKit"))]

    seen = set()

    def shows(first):
        nodes = bus.nodes()
        seen.update((node.role, node.name) for node in nodes if node.role in TEXT_ROLES)
        return any(node.name == f"⟦{first}⟧" and node.states & {"showing", "focused"} for node in nodes)

    desktop.focus("Quillory")
    desktop.key("F10")
    for first in MENUS.values():
        wait_for(lambda: shows(first), f"the menu with {first}")
        desktop.key("Right")
    desktop.key("Escape", "Escape")
    desktop.open_about("⟦About Quillory⟧")
    wait_for(lambda: shows("Website: quillory.example"), "About")
    about = bus.nodes("⟦About Quillory⟧")
    for role, wanted in ABOUT.items():
        assert [name for name in names(about, role) if name in wanted] == wanted
    # The focus starts on either link and goes from one to the other.
    links = set(names(about, "link"))
    first, = wait_for(lambda: focused(bus) & links, "the focus on a link")
    desktop.key("Tab")
    wait_for(lambda: focused(bus) & links == links - {first}, "the focus on the other link")
    seen.discard(("frame", "Quillory"))  # the name itself
    assert len(seen) >= 30, seen
    assert not [(role, name) for role, name in seen if not re.match("⟦|(Shift\\+)?Ctrl\\+.$|$", name)]

    for message, body, title in (("nativeFilePicker", None, "Select a Quillory project file"),
                                 ("nativeImagePicker", None, "Select an image to add to canvas"),
                                 ("nativeBatchDownload", {"files": []}, "Choose a folder to save 0 files"),
                                 ("nativeDownload", {"filename": "a.png", "data": "data:,AAAA"}, "Save")):
        app.post(message, body)
        desktop.cancel_panel(f"⟦{title}⟧")
    help_text = run(tree.binary, "--help", env={**locale, "LANGUAGE": "xx"})
    assert help_text.startswith("⟦") and help_text.rstrip().endswith("⟧")


@pytest.mark.skipif(Gtk.check_version(4, 14, 0) is not None, reason="before 4.14 GTK has no place for a page among its widgets")
def test_the_page_is_told_of_too(launch, tree_of_the_editor, desktop, bus):
    launch(tree_of_the_editor, env=bus.ENVIRONMENT, ready=False)
    parts = {("button", "New project"), ("entry", "Name of the project"), ("combo box", "Page size"), ("check box", "Transparent")}
    nodes = wait_for(lambda: (nodes := bus.nodes("Quillory")) and parts <= {(node.role, node.name) for node in nodes} and nodes,
                     "the page's buttons and fields")
    assert [node for node in nodes if node.name.startswith("Canvas.") and "focusable" in node.states]


def test_an_icon_that_cannot_be_decoded_is_not_shown(launch, tree, desktop, bus):
    for icon in [tree.page_folder.parent / "icon.svg", *(tree.prefix / "share/icons").rglob("*.*")]:
        icon.write_text("no picture")
    launch(tree, env=bus.ENVIRONMENT)
    desktop.open_about()
    about = wait_for(lambda: bus.nodes("About Quillory"), "the accessible window")
    assert "Version 1.0 (1)" in names(about, "label") and "Quillory icon" not in names(about, "image")


def test_a_language_without_a_catalogue_gets_the_english_one(launch, desktop, bus, locale):
    launch(env={**bus.ENVIRONMENT, **locale, "LANGUAGE": "es"})
    desktop.open_about()
    assert "Super Shift E" in names(wait_for(lambda: bus.nodes("About Quillory"), "the accessible window"), "label")


def test_a_locale_with_decimal_commas(launch, desktop, locale):
    app = launch(env=locale)
    assert app.run_script("return navigator.language") == "de-DE"
    app.post("nativeDownload", {"filename": "a.png", "data": "data:," + "AAAA" * 1000})
    app.log.wait("✅ Decoded 3000 bytes")  # not 3.000
    desktop.cancel_panel("Speichern")
    desktop.open_about("Über Quillory")
    assert not app.complaints(), "a size of type that is written with a comma is refused"


def test_about_panel_fits_its_frame_and_grows_with_the_text(launch):
    with Desktop(screen="2000x1400x24") as desktop:
        for look, dpi, size in (({"GTK_THEME": "Default:hc"}, 96, (400, 550)), ({"GDK_SCALE": "2"}, 96, (800, 1100)),
                                ({}, 192, None)):
            desktop.run("xrdb", "-merge", input=f"Xft.dpi: {dpi}\n")
            app = launch(env=look, on=desktop)
            place = desktop.geometry(desktop.open_about())
            # At twice the size of type a frame of 550 pixels alone would cut off the lower lines.
            assert (place["WIDTH"], place["HEIGHT"]) == size if size else place["WIDTH"] >= 400 and place["HEIGHT"] > 650
            app.quit()


def test_alert_has_names_and_roles_and_grows_with_the_text(launch):
    # A session without a portal: the hotkey needs a permission that nobody can give.
    with PlasmaSession(kde_portal=False) as session:
        bus = AccessibilityBus(session)
        sizes = []
        for scale, look in ((1, {}), (2, {"GTK_THEME": "Default:hc"})):
            session.scale_text(scale)
            app = launch(env={**bus.ENVIRONMENT, **look}, on=session)
            sizes.append(session.geometry(session.wait_active(ALERT)))
            alert = wait_for(lambda: bus.nodes(ALERT), "the accessible alert")
            assert alert[0].role in ("alert", "dialog") and names(alert, "button") == ["Open System Settings", "Later"]
            assert "System Settings → Privacy & Security → Accessibility" in " ".join(names(alert, "label"))
            wait_for(lambda: "Open System Settings" in focused(bus), "the focus on the first button")
            session.key("Tab")
            wait_for(lambda: "Later" in focused(bus), "the focus on the second button")
            session.key("Return")
            session.wait_no_window(ALERT)
            app.quit()
    small, large = sizes
    assert large["WIDTH"] > 1.5 * small["WIDTH"] and large["HEIGHT"] > 1.5 * small["HEIGHT"]
