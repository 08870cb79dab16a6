"""The panels as a sandboxed program sees them: shown by the desktop's portal and its GTK backend."""
import os

import pytest

from desktop import Desktop, wait_for

PNG = "data:image/png;base64,aGVsbG8="
# Asks the toolkit for portals outside of a sandbox, too.
USE_PORTALS = {"GDK_DEBUG": "portals"}


@pytest.fixture(scope="module")
def portal_desktop():
    with Desktop() as desktop:
        desktop.start_portal("gtk", "/usr/libexec/xdg-desktop-portal-gtk", XDG_CURRENT_DESKTOP="GNOME")
        yield desktop


@pytest.fixture
def app(launch, portal_desktop):
    return launch(env=USE_PORTALS, on=portal_desktop)


def owner(desktop, title):
    """The name of the program that shows a window."""
    pid = desktop.run("xdotool", "getwindowpid", desktop.wait_window(title)).strip()
    return os.path.basename(os.readlink(f"/proc/{pid}/exe"))


def choose(desktop, title, path):
    """Answers an open panel of the backend's older toolkit, whose field for a path has a key of its own."""
    desktop.focus(desktop.wait_window(title))
    desktop.key("ctrl+l")
    desktop.run("xdotool", "type", "--delay", "20", str(path))

    def confirmed():
        # The first Return may only end the completion of the path.
        desktop.key("Return")
        return not desktop.windows(title)

    wait_for(confirmed, "the panel to go")


def choose_home(desktop, title):
    """Goes to the home folder in a folder panel and clicks the confirming button, in its lower right corner."""
    window = desktop.wait_window(title)
    desktop.focus(window)
    size = desktop.geometry(window)

    def confirmed():
        desktop.run("xdotool", "key", "alt+Home", "mousemove", "--window", window,
                    str(size["WIDTH"] - 60), str(size["HEIGHT"] - 30), "click", "1", check=False)
        return not desktop.windows(title)

    wait_for(confirmed, "the panel to go")


def test_save_panel(app, portal_desktop, tmp_path):
    target = tmp_path / "saved.png"
    app.post("nativeDownload", {"filename": "picture.png", "data": PNG})
    assert owner(portal_desktop, "Save") == "xdg-desktop-portal-gtk"
    portal_desktop.answer_panel("Save", target)
    app.log.wait(f"✅ File saved to: {target}")
    assert target.read_bytes() == b"hello"


def test_folder_panel(app, portal_desktop):
    app.post("nativeBatchDownload", {"files": [{"filename": f"{i}.png", "data": PNG} for i in range(2)]})
    title = "Choose a folder to save 2 files"
    assert owner(portal_desktop, title) == "xdg-desktop-portal-gtk"
    choose_home(portal_desktop, title)
    app.log.wait(f"✅ Saved 2/2 files to: {portal_desktop.home}")
    for i in range(2):
        with open(f"{portal_desktop.home}/{i}.png", "rb") as file:
            assert file.read() == b"hello"


@pytest.mark.parametrize("message, title, name, content", [
    ("nativeFilePicker", "Select a Quillory project file", "project.json", b'{"objects": []}'),
    ("nativeImagePicker", "Select an image to add to canvas", "image.png", b"image"),
])
def test_open_panels(app, portal_desktop, tmp_path, message, title, name, content):
    (tmp_path / name).write_bytes(content)
    app.post(message, None)
    assert owner(portal_desktop, title) == "xdg-desktop-portal-gtk"
    choose(portal_desktop, title, tmp_path / name)
    wait_for(lambda: app.run_script("return received.length") == 1, "the file in the page")


def test_cancelled_panel_ends_the_request(app, portal_desktop, tmp_path):
    start = app.post("nativeDownload", {"filename": "picture.png", "data": PNG})
    portal_desktop.cancel_panel("Save")
    # The next request is answered as if there had been none.
    app.post("nativeDownload", {"filename": "other.png", "data": PNG})
    portal_desktop.answer_panel("Save", tmp_path / "other.png")
    app.log.wait(f"✅ File saved to: {tmp_path}/other.png")
    assert len([line for line in app.own_lines(start) if "saved" in line]) == 1
