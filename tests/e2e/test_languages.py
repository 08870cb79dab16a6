"""Every text that people see is in the catalogues, and the program shows it in their language."""
import os
import pathlib
import re
import subprocess

import pytest

from accessible import AccessibilityBus, nodes
from application import Application, InstallTree
from desktop import wait_for

ROOT = pathlib.Path(__file__).parents[2]
LANGUAGES = (ROOT / "po/LINGUAS").read_text().split()
TEXT_ROLES = ("frame", "menu bar", "menu item", "label", "link", "image", "button")
ABOUT = {"de": "Über Quillory", "fr": "À propos de Quillory", "ja": "Quilloryについて"}


def run(*command, **options):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=True, timeout=60,
                          **options)


def texts(catalogue):
    """The texts of a catalogue that are neither obsolete nor waiting for a translator."""
    out = run("msgattrib", "--no-obsolete", "--no-fuzzy", "--no-wrap", catalogue).stdout
    return set(re.findall(r'^msgid ((?:".*"\n?)+)', out, re.M))


@pytest.fixture(scope="module")
def template(tmp_path_factory):
    template = tmp_path_factory.mktemp("texts") / "quillory.pot"
    run(ROOT / "script/update-translations", template)
    return template


@pytest.mark.parametrize("language", LANGUAGES)
def test_catalogue_has_every_text(template, language):
    catalogue = ROOT / f"po/{language}.po"
    assert texts(template) == texts(catalogue)
    untranslated = run("msgattrib", "--untranslated", catalogue).stdout
    assert untranslated == ""
    # A text with a place for a value keeps it, and a menu item has one key to reach it.
    for id, text in re.findall(r'^msgid (".*")\nmsgstr (".*")$', run("msgcat", "--no-wrap", catalogue).stdout, re.M):
        assert ("{}" in id, "_" in id) == ("{}" in text, "_" in text), text


@pytest.fixture(scope="module")
def bus(desktop):
    bus = AccessibilityBus(desktop)
    yield bus
    bus.close()


def launch(desktop, tree, env):
    app = Application(desktop, tree.binary, tree.page_folder, env)
    app.wait_ready()
    return app


def test_no_shown_text_bypasses_the_catalogue(desktop, bus, installed, template, locale, tmp_path):
    tree = InstallTree(installed, tmp_path / "tree")
    # A language in which every text is itself in brackets: what comes without them was not looked up.
    catalogue = tmp_path / "quillory.po"
    filtered = run("msgen", "--force-po", template).stdout
    marked = run("msgfilter", "--keep-header", "sed", "-e", "1s/^/⟦/; $s/$/⟧/", input=filtered).stdout
    catalogue.write_text(marked.replace("CHARSET", "UTF-8"))
    folder = tree.prefix / "share/locale/xx/LC_MESSAGES"
    folder.mkdir(parents=True)
    run("msgfmt", "-o", folder / "quillory.mo", catalogue)

    app = launch(desktop, tree, {**bus.environment, **locale, "LANGUAGE": "xx"})
    try:
        window = app.window()
        seen = set()
        desktop.focus(window)
        desktop.key("F10")
        for count in (2, 3, 9, 10):
            def collect():
                seen.update((node["role"], node["name"]) for node in nodes(bus.tree()) if node["role"] in TEXT_ROLES)
                return sum(role == "menu item" for role, _ in seen) == count + 4
            wait_for(collect, f"{count} items of menus")
            desktop.key("Right")
        desktop.key("Escape", "Escape")
        desktop.choose_from_menu(window, 0, 0)
        desktop.wait_window("⟦About Quillory⟧")
        wait_for(lambda: ("frame", "⟦About Quillory⟧") in ((n["role"], n["name"]) for n in nodes(bus.tree())), "About")
        collect()
        seen.discard(("frame", "Quillory"))  # the name itself
        assert len(seen) >= 30, seen
        assert not [(role, name) for role, name in seen if not re.match("⟦|(Shift\\+)?Ctrl\\+.$|$", name)]

        for message, body, title in (("nativeFilePicker", None, "Select a Quillory project file"),
                                     ("nativeImagePicker", None, "Select an image to add to canvas"),
                                     ("nativeBatchDownload", {"files": []}, "Choose a folder to save 0 files"),
                                     ("nativeDownload", {"filename": "a.png", "data": "data:,AAAA"}, "Save")):
            app.post(message, body)
            desktop.cancel_panel(f"⟦{title}⟧")
        help_text = run(tree.binary, "--help", env={**locale, "LANGUAGE": "xx"}).stdout
        assert help_text.startswith("⟦") and help_text.rstrip().endswith("⟧")
    finally:
        app.kill()


@pytest.mark.parametrize("language", LANGUAGES)
def test_about_panel_in_a_language(desktop, installed, locale, tmp_path, language):
    app = launch(desktop, InstallTree(installed, tmp_path / "tree"), {**locale, "LANGUAGE": language})
    try:
        desktop.choose_from_menu(app.window(), 0, 0)
        place = desktop.geometry(desktop.wait_window(ABOUT[language]))
        assert (place["WIDTH"], place["HEIGHT"]) == (400, 550)
    finally:
        app.kill()


def test_a_locale_with_decimal_commas(desktop, installed, locale, tmp_path):
    app = launch(desktop, InstallTree(installed, tmp_path / "tree"), locale)
    try:
        app.post("nativeDownload", {"filename": "a.png", "data": "data:," + "AAAA" * 1000})
        app.log.wait("✅ Decoded 3000 bytes")  # not 3.000
        desktop.cancel_panel("Speichern")
        desktop.choose_from_menu(app.window(), 0, 0)
        about = desktop.wait_window("Über Quillory")
        assert desktop.geometry(about)["HEIGHT"] == 550
        # A size of type that was written with a comma would be refused by the style sheet parser.
        assert not [line for line in app.errors.lines if "Theme parser" in line or "CssProvider" in line]
        assert os.readlink(f"/proc/{app.process.pid}/exe") == str(app.process.args[0])
    finally:
        app.kill()
