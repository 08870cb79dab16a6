"""Copy and paste between the page and other programs, on X11 and on Wayland."""
import base64
import io
import json
import signal
import time

import pytest
from PIL import Image

from desktop import wait_for
from programs import Clipboard, KeyWindow, running

OBJECT = "application/x-com.quillory.object"
TEXT = "text/plain;charset=utf-8"
CANVAS = '{"type":"rect","left":1,"text":"it\'s \\\\ ä 🖊️\\nnew"}'


@pytest.fixture
def clipboard(session):
    clipboard = Clipboard(session)
    yield clipboard
    clipboard.kill()


@pytest.fixture
def clipboard_of_x11(desktop):
    clipboard = Clipboard(desktop)
    yield clipboard
    clipboard.kill()


@pytest.fixture
def place(programs, session, request):
    """The program with the focus: a compositor gives the clipboard to no other."""
    with programs.shared(request, session, None) as app:
        session.focus("Quillory")
        yield app


def copy(app, text):
    """Posts "nativeCopy" as after a key press of the user, without which a compositor takes no selection."""
    app.run_script("window.pressed = new Promise((resolve) => addEventListener('keydown', resolve, {once: true})); return 1")
    app.desktop.key("e")
    app.run_script("await window.pressed")
    return app.post("nativeCopy", {"data": text})


def paste(app):
    """Posts "nativePaste" and returns what the page got: the function's name and the text."""
    app.run_script("received.length = 0; post('nativePaste', null)")
    got, = app.run_script("""
        while (received.length === 0) await new Promise((resolve) => setTimeout(resolve, 10));
        return received.splice(0);
    """)
    return got


GRADIENT = Image.linear_gradient("L").resize((64, 48))
PICTURE = Image.merge("RGB", (GRADIENT, GRADIENT.transpose(Image.Transpose.ROTATE_180), GRADIENT))


def paste_nothing(app):
    """Nothing comes of a paste: the next one, of something known, is the first to arrive."""
    start = len(app.log.lines)
    app.run_script("received.length = 0; post('nativePaste', null)")
    copy(app, "known")
    app.run_script("post('nativePaste', null)")
    app.log.wait("✅ Paste content sent to JavaScript", after=start)
    assert app.run_script("return received") == [["Paste", "known"]]


def picture(kind, image=PICTURE):
    """The content of a file."""
    file = io.BytesIO()
    image.save(file, kind)
    return file.getvalue()


def same_picture(one, other):
    """Whether two files differ by no more than compression explains."""
    one, other = (Image.open(io.BytesIO(content)).convert("RGB") for content in (one, other))
    return one.size == other.size and all(abs(a - b) < 24 for a, b in zip(one.tobytes(), other.tobytes()))


def test_copy_and_paste(place, clipboard):
    for text in ("", CANVAS, "not JSON at all"):
        clipboard.copy("image/png", b"of another program")
        start = copy(place, text)
        place.log.wait("📋 Copied to native pasteboard", after=start)
        assert (clipboard.paste(TEXT), clipboard.paste(OBJECT)) == (text.encode(), text.encode())
        assert clipboard.paste("image/png") is None
        start = len(place.log.lines)
        assert paste(place) == ["Paste", text]
        place.log.wait("✅ Paste content sent to JavaScript", after=start)
        assert place.own_lines(start) == ["📥 Pasted Quillory object from pasteboard", "✅ Paste content sent to JavaScript"]

    for kind, line in ((OBJECT, "📥 Pasted Quillory object from pasteboard"), (TEXT, "📥 Pasted JSON object from pasteboard")):
        clipboard.copy(kind, CANVAS.encode())
        start = len(place.log.lines)
        assert paste(place) == ["Paste", CANVAS]
        assert place.own_lines(start)[0] == line

    for kind in ("png", "jpeg", "tiff", "bmp", "gif", "webp"):
        source = picture(kind)
        clipboard.copy(f"image/{kind}", source)
        name, url = paste(place)
        assert name == "Image" and url.startswith("data:image/png;base64,")
        pasted = base64.b64decode(url.partition(",")[2], validate=True)
        assert pasted == source if kind == "png" else same_picture(pasted, source), kind

    for kind, content in (("image/png", picture("png")[:100]), (TEXT, b'{"Type":1,"left":1}')):
        clipboard.copy(kind, content)
        paste_nothing(place)


def test_a_large_picture_keeps_its_pixels(place, clipboard):
    content = picture("png", Image.effect_noise((3840, 2160), 100))
    (place.page_folder / "screen.png").write_bytes(content)
    clipboard.copy("image/png", content)
    # Compared in the page: what a test reports goes through the log.
    assert place.run_script("""
        const expected = new Uint8Array(await (await fetch("screen.png")).arrayBuffer());
        received.length = 0;
        post("nativePaste", null);
        while (received.length === 0) await new Promise((resolve) => setTimeout(resolve, 10));
        const [name, url] = received[0];
        const pasted = Uint8Array.fromBase64(url.slice("data:image/png;base64,".length));
        return [name, pasted.length === expected.length && pasted.every((byte, i) => byte === expected[i])];
    """) == ["Image", True]


def test_order_of_preference(app, desktop):
    png = picture("png")
    app.run_script("post('nativeCopy', {data: 'before'})")
    with running(KeyWindow(desktop)) as other:
        for contents, expected in (
                ({OBJECT: b"own", TEXT: CANVAS.encode(), "image/png": png}, ["Paste", "own"]),
                ({TEXT: CANVAS.encode(), "image/png": png}, ["Paste", CANVAS]),
                ({TEXT: b'{"Type":"x","left":1}', "image/png": png},
                 ["Image", "data:image/png;base64," + base64.b64encode(png).decode()])):
            other.copy(contents)
            wait_for(lambda: paste(app) == expected, f"{expected[0]} to be pasted")
        # The first format that can be decoded counts.
        other.copy({"image/png": b"broken", "image/bmp": picture("bmp")})
        wait_for(lambda: paste(app)[1] != expected[1], "the other picture to be pasted")
        assert same_picture(base64.b64decode(paste(app)[1].partition(",")[2]), png)


def test_a_silent_owner_holds_nobody_up(app, desktop):
    with running(KeyWindow(desktop)) as owner:
        owner.copy({OBJECT: b"silent", TEXT: CANVAS.encode(), "image/png": b"broken", "image/bmp": b"broken"})
        wait_for(lambda: paste(app) == ["Paste", "silent"], "the clipboard of the other program")
        owner.process.send_signal(signal.SIGSTOP)
        start, begin = len(app.log.lines), time.monotonic()
        app.run_script("received.length = 0; post('nativePaste', null)")
        # The page and the window go on meanwhile.
        assert app.run_script("return 6 * 7") == 42
        desktop.focus("Quillory")
        # The waiting paste comes to nothing, and not to what is copied after it; a later one is answered then.
        app.run_script(f"post('nativeCopy', {{data: {json.dumps(CANVAS)}}}); post('nativePaste', null)")
        app.log.wait("✅ Paste content sent to JavaScript", after=start)
        assert app.run_script("return received") == [["Paste", CANVAS]]
        assert time.monotonic() - begin < 9


def test_the_last_copy_goes_with_the_clipboard(app, clipboard_of_x11):
    app.run_script("post('nativeCopy', {data: 'x'.repeat(100 << 20)})")
    app.log.wait("📋 Copied to native pasteboard")
    before = wait_for(lambda: (size := app.memory("VmRSS")) > 100 << 20 and size, "the copy")
    clipboard_of_x11.copy("text/plain", b"other")
    wait_for(lambda: app.memory("VmRSS") < before - (90 << 20), "the memory to be given back")


def test_what_is_too_large_counts_as_nothing(app, clipboard_of_x11):
    for kind, content, said in (
            ("image/png", picture("png", Image.new("1", (10001, 10000))), "a picture of 10001 × 10000 pixels is on the clipboard"),
            ("UTF8_STRING", CANVAS.encode() + b" " * (256 << 20), f"the clipboard has more than 256 MiB of {TEXT}")):
        clipboard_of_x11.copy(kind, content)
        paste_nothing(app)
        app.errors.wait(f"quillory: {said}, which counts as nothing")
