"""Copy and paste between the page and other programs, on X11 and on Wayland."""
import base64
import json
import signal
import subprocess
import time

import pytest
from PIL import Image

from clipboard_programs import WaylandClipboard, X11Clipboard
from desktop import wait_for
from plasma import PlasmaSession

OBJECT = "application/x-com.quillory.object"
CANVAS = '{"type":"rect","left":1,"text":"it\'s \\\\ ä 🖊️\\nnew"}'


@pytest.fixture(scope="module")
def session():
    with PlasmaSession(kde_portal=False) as started:
        yield started


class Place:
    """The program in a session, beside a program that copies."""

    def __init__(self, app, clipboard, press=lambda: None):
        self.app = app
        self.clipboard = clipboard
        self._press = press

    def copy(self, text):
        """Posts "nativeCopy" as after a key press of the user, without which a compositor takes no selection."""
        self._press()
        return self.app.post("nativeCopy", {"data": text})

    def paste(self):
        """Posts "nativePaste" and returns what the page got: the function's name and the text."""
        self.app.run_script("received.length = 0; post('nativePaste', null)")
        return self.app.run_script("""
            while (received.length === 0) await new Promise((resolve) => setTimeout(resolve, 10));
            return received.splice(0);
        """)

    def paste_nothing(self):
        """Posts "nativePaste" and checks that nothing comes of it, by a paste of a known text behind it."""
        start = len(self.app.log.lines)
        self.app.run_script("received.length = 0; post('nativePaste', null)")
        self.copy("known")
        self.app.run_script("post('nativePaste', null)")
        self.app.log.wait("✅ Paste content sent to JavaScript", after=start)
        assert self.app.run_script("return received.splice(0)") == [["Paste", "known"]]
        assert [line for line in self.app.own_lines(start) if line.startswith("📥")] == [
            "📥 Pasted Quillory object from pasteboard"]


@pytest.fixture(params=["x11", "wayland"])
def place(request, launch):
    if request.param == "x11":
        desktop = request.getfixturevalue("desktop")
        app = launch()
        desktop.focus(app.window())
        place = Place(app, X11Clipboard(desktop.env))
    else:
        session = request.getfixturevalue("session")
        app = launch(on=session)
        raise_on_wayland(session)
        place = Place(app, WaylandClipboard(session.env), lambda: press_key(session, app))
    yield place
    place.clipboard.close()


def raise_on_wayland(session):
    # Without a portal there is no hotkey, and the program says so.
    session.wait_active("Accessibility Permission Required")
    session.key("Tab")
    session.key("Return")
    session.wait_no_window("Accessibility Permission Required")
    session.wait_active("Quillory")


def press_key(session, app):
    app.run_script("window.pressed = new Promise(resolve => addEventListener('keydown', resolve, {once: true})); return 1")
    session.key("e")
    app.run_script("await window.pressed")


def test_own_copy_and_paste(place):
    for text in ("", CANVAS, "not JSON at all"):
        start = place.copy(text)
        place.app.log.wait("📋 Copied to native pasteboard", after=start)
        assert place.clipboard.paste("text/plain;charset=utf-8") == text.encode()
        assert place.clipboard.paste(OBJECT) == text.encode()
        start = len(place.app.log.lines)
        assert place.paste() == [["Paste", text]]
        place.app.log.wait("✅ Paste content sent to JavaScript", after=start)
        assert place.app.own_lines(start) == ["📥 Pasted Quillory object from pasteboard",
                                              "✅ Paste content sent to JavaScript"]


def test_a_copy_removes_what_was_there(place):
    place.clipboard.copy("image/png", b"image of another program")
    place.copy("x")
    place.app.log.wait("📋 Copied to native pasteboard")
    assert place.clipboard.paste(OBJECT) == b"x"
    assert place.clipboard.paste("image/png") is None


def test_private_data_of_another_process(place):
    place.clipboard.copy(OBJECT, CANVAS.encode())
    start = len(place.app.log.lines)
    assert place.paste() == [["Paste", CANVAS]]
    assert place.app.own_lines(start)[0] == "📥 Pasted Quillory object from pasteboard"


def test_canvas_text_of_another_program(place):
    place.clipboard.copy("text/plain;charset=utf-8" if isinstance(place.clipboard, WaylandClipboard) else "UTF8_STRING",
                         CANVAS.encode())
    start = len(place.app.log.lines)
    assert place.paste() == [["Paste", CANVAS]]
    assert place.app.own_lines(start)[0] == "📥 Pasted JSON object from pasteboard"


@pytest.mark.parametrize("text", ['{"Type":1,"left":1}', '{"type":1}', "plain text", ""])
def test_other_text_is_not_pasted(place, text):
    place.clipboard.copy("text/plain;charset=utf-8" if isinstance(place.clipboard, WaylandClipboard) else "UTF8_STRING",
                         text.encode())
    place.paste_nothing()


def picture(path):
    subprocess.run(["convert", "-size", "64x48", "gradient:red-blue", "-posterize", "6", path], check=True)
    return path


def difference(one, other):
    """How many pixels of two pictures differ by more than compression explains."""
    result = subprocess.run(["compare", "-fuzz", "8%", "-metric", "AE", one, other, "null:"], stderr=subprocess.PIPE, text=True)
    return float(result.stderr.split()[0])


@pytest.mark.parametrize("kind", ["png", "jpeg", "tiff", "bmp", "gif", "webp"])
def test_pictures_of_any_format(place, tmp_path, kind):
    source = picture(tmp_path / f"source.{kind}")
    place.clipboard.copy(f"image/{kind}", source.read_bytes())
    (name, url), = place.paste()
    assert name == "Image" and url.startswith("data:image/png;base64,")
    pasted = base64.b64decode(url.partition(",")[2], validate=True)
    (tmp_path / "pasted.png").write_bytes(pasted)
    assert difference(source, tmp_path / "pasted.png") == 0
    if kind == "png":
        assert pasted == source.read_bytes()
    place.app.log.wait("📥 Pasted image from pasteboard")
    place.app.log.wait("✅ Image sent to JavaScript")


def test_broken_picture(place, tmp_path):
    source = picture(tmp_path / "source.png").read_bytes()
    place.clipboard.copy("image/png", source[:len(source) // 2])
    place.paste_nothing()


def test_large_picture_keeps_its_pixels(place):
    source = place.app.page_folder / "screen.png"
    subprocess.run(["convert", "-size", "3840x2160", "plasma:red-blue", "-depth", "8", source], check=True)
    place.clipboard.copy("image/png", source.read_bytes())
    # Compared in the page: what a test reports goes through the log.
    assert place.app.run_script("""
        const expected = new Uint8Array(await (await fetch("screen.png")).arrayBuffer());
        received.length = 0;
        post("nativePaste", null);
        while (received.length === 0) await new Promise((resolve) => setTimeout(resolve, 10));
        const [name, url] = received[0];
        const pasted = Uint8Array.fromBase64(url.slice("data:image/png;base64,".length));
        return [name, pasted.length === expected.length && pasted.every((byte, i) => byte === expected[i])];
    """) == ["Image", True]


@pytest.fixture
def x11(desktop, launch):
    place = Place(launch(), X11Clipboard(desktop.env))
    yield place
    place.clipboard.close()


def test_order_of_preference(x11, tmp_path):
    png = picture(tmp_path / "p.png").read_bytes()
    text = "text/plain;charset=utf-8"
    cases = [
        ({OBJECT: b"own", text: CANVAS.encode(), "image/png": png}, ["Paste", "own"]),
        ({text: CANVAS.encode(), "image/png": png}, ["Paste", CANVAS]),
        ({text: b'{"Type":"x","left":1}', "image/png": png}, ["Image", "data:image/png;base64," + base64.b64encode(png).decode()]),
        # The first format that can be decoded counts.
        ({"image/png": b"broken", "image/bmp": picture(tmp_path / "p.bmp").read_bytes()}, None),
    ]
    for contents, expected in cases:
        x11.clipboard.copy_several(contents)
        got, = x11.paste()
        if expected:
            assert got == expected
        else:
            assert got[0] == "Image"


def test_empty_clipboard(x11):
    x11.clipboard.clear()
    x11.paste_nothing()


def test_a_silent_owner_holds_nobody_up(x11):
    owner = x11.clipboard.copy_several({OBJECT: b"silent", "text/plain;charset=utf-8": CANVAS.encode(),
                                        "image/png": b"broken", "image/bmp": b"broken"})
    owner.send_signal(signal.SIGSTOP)
    start, begin = len(x11.app.log.lines), time.monotonic()
    x11.app.run_script("received.length = 0; post('nativePaste', null)")
    # The page and the window go on meanwhile.
    assert x11.app.run_script("return 6 * 7") == 42
    x11.app.desktop.focus(x11.app.window())
    # The waiting paste comes to nothing, and not to what is copied after it; a later one is answered then.
    x11.app.run_script(f"post('nativeCopy', {{data: {json.dumps(CANVAS)}}}); post('nativePaste', null)")
    x11.app.log.wait("✅ Paste content sent to JavaScript", after=start)
    assert x11.app.run_script("return received") == [["Paste", CANVAS]]
    assert "📥 Pasted JSON object from pasteboard" not in x11.app.own_lines(start)
    assert time.monotonic() - begin < 9


def test_the_last_copy_goes_with_the_clipboard(x11):
    x11.app.run_script("post('nativeCopy', {data: 'x'.repeat(100 << 20)})")
    x11.app.log.wait("📋 Copied to native pasteboard")
    before = wait_for(lambda: (size := x11.app.memory("VmRSS")) > 100 << 20 and size, "the copy")
    x11.clipboard.copy("text/plain", b"other")
    wait_for(lambda: x11.app.memory("VmRSS") < before - (90 << 20), "the memory to be given back")


def test_what_is_too_large_counts_as_nothing(x11, tmp_path):
    Image.new("1", (10001, 10000)).save(tmp_path / "large.png")
    for kind, content, said in (
            ("image/png", (tmp_path / "large.png").read_bytes(), "a picture of 10001 × 10000 pixels is on the clipboard"),
            ("UTF8_STRING", CANVAS.encode() + b" " * (256 << 20), "the clipboard has more than 256 MiB of text/plain;charset=utf-8")):
        x11.clipboard.copy(kind, content)
        x11.paste_nothing()
        x11.app.errors.wait(f"quillory: {said}, which counts as nothing")
    assert x11.app.memory() < 1 << 30


def test_many_pastes_come_in_order(x11):
    x11.clipboard.copy("UTF8_STRING", CANVAS.encode())
    x11.app.run_script("""
        for (let i = 0; i < 20; ++i) post('nativePaste', null);
        while (received.length < 20) await new Promise((resolve) => setTimeout(resolve, 10));
        for (let i = 0; i < 20; ++i) { post('nativeCopy', {data: `copy ${i}`}); post('nativePaste', null); }
    """)
    got = x11.app.run_script("""
        while (received.length < 40) await new Promise((resolve) => setTimeout(resolve, 10));
        return received.map(([, text]) => text);
    """)
    copies = [int(text.removeprefix("copy ")) for text in got if text.startswith("copy ")]
    assert copies == sorted(copies) and copies[-1] == 19
