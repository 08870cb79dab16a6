"""Copy and paste between the page and other programs, on X11 and on Wayland."""
import base64
import io
import json
import signal
import time

import pytest
from PIL import Image

from desktop import wait_for
from programs import KeyWindow

OBJECT = "application/x-com.quillory.object"
TEXT = "text/plain;charset=utf-8"
CANVAS = '{"type":"rect","left":1,"text":"it\'s \\\\ ä 🖊️\\nnew"}'


@pytest.fixture
def place(programs, session):
    """The program with the focus: a compositor gives the clipboard to no other."""
    app = programs.shared(session)
    session.focus("Quillory")
    return app


def press(app):
    """A key press of the user: what has happened on the display before is known to the program afterwards."""
    app.run_script("window.pressed = new Promise((resolve) => addEventListener('keydown', resolve, {once: true})); return 1")
    app.desktop.key("e")
    app.run_script("await window.pressed")


def copy(app, text):
    """Posts "nativeCopy" as after a key press, without which a compositor takes no selection."""
    press(app)
    return app.post("nativeCopy", {"data": text})


def paste(app):
    """Posts "nativePaste" and returns what the page got: the function's name and the text."""
    app.run_script("received.length = 0; post('nativePaste', null)")
    got, = app.received()
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
    """The content of a file; before a photo's size comes all that a camera has to say."""
    file = io.BytesIO()
    image.save(file, kind, comment=b"x" * 20000)
    return file.getvalue()


def same_picture(one, other):
    """Whether two files differ by no more than compression explains."""
    one, other = (Image.open(io.BytesIO(content)).convert("RGB") for content in (one, other))
    return one.size == other.size and all(abs(a - b) < 24 for a, b in zip(one.tobytes(), other.tobytes()))


def test_copy_and_paste(place, session):
    for text in ("", CANVAS, "not JSON at all"):
        session.copy("image/png", b"of another program")
        start = copy(place, text)
        place.log.wait("📋 Copied to native pasteboard", after=start)
        assert (session.paste(TEXT), session.paste(OBJECT)) == (text.encode(), text.encode())
        assert session.paste("image/png") is None
        start = len(place.log.lines)
        assert paste(place) == ["Paste", text]
        place.log.wait("✅ Paste content sent to JavaScript", after=start)
        assert place.own_lines(start) == ["📥 Pasted Quillory object from pasteboard", "✅ Paste content sent to JavaScript"]

    for kind, line in ((OBJECT, "📥 Pasted Quillory object from pasteboard"), (TEXT, "📥 Pasted JSON object from pasteboard")):
        session.copy(kind, CANVAS.encode())
        start = len(place.log.lines)
        assert paste(place) == ["Paste", CANVAS]
        assert place.own_lines(start)[0] == line

    for kind in ("png", "jpeg", "tiff", "bmp", "gif", "webp"):
        # The usual one is larger than any buffer on the way.
        source = picture(kind, Image.effect_noise((1000, 800), 100) if kind == "png" else PICTURE)
        session.copy(f"image/{kind}", source)
        name, url = paste(place)
        assert name == "Image" and url.startswith("data:image/png;base64,")
        pasted = base64.b64decode(url.partition(",")[2], validate=True)
        assert pasted == source if kind == "png" else same_picture(pasted, source), kind

    for kind, content in (("image/png", picture("png")[:100]), (TEXT, b'{"Type":1,"left":1}')):
        session.copy(kind, content)
        paste_nothing(place)


def test_the_first_that_can_be_decoded_counts_and_a_silent_owner_holds_nobody_up(app, desktop):
    app.run_script("post('nativeCopy', {data: 'before'})")
    with KeyWindow(desktop) as owner:
        owner.copy({TEXT: b'{"Type":"x","left":1}', "image/png": b"broken", "image/bmp": picture("bmp")})
        name, url = wait_for(lambda: (got := paste(app)) != ["Paste", "before"] and got, "what can be decoded")
        assert name == "Image" and same_picture(base64.b64decode(url.partition(",")[2]), picture("png"))
        desktop.focus("Quillory")
        owner.copy({TEXT: CANVAS.encode()}, "copy_and_stop")
        press(app)
        app.run_script("received.length = 0; post('nativePaste', null)")
        owner.process.send_signal(signal.SIGCONT)
        assert app.received() == [["Paste", CANVAS]], "of an owner that had not said yet what there is"
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


def test_the_last_copy_goes_with_the_clipboard(app, desktop):
    app.run_script("post('nativeCopy', {data: 'x'.repeat(100 << 20)})")
    app.log.wait("📋 Copied to native pasteboard")
    before = wait_for(lambda: (size := app.memory("VmRSS")) > 100 << 20 and size, "the copy")
    desktop.copy("text/plain", b"other")
    wait_for(lambda: app.memory("VmRSS") < before - (90 << 20), "the memory to be given back")


def test_what_is_too_large_counts_as_nothing(programs, plasma):
    """On Wayland, where it comes through a pipe: on X11 so much may take longer than an owner is waited for."""
    app = programs.shared(plasma)
    plasma.focus("Quillory")
    for kind, content, said in (
            ("image/png", picture("png", Image.new("1", (10001, 10000))),
             "a picture of 10001 × 10000 pixels is on the clipboard"),
            (TEXT, CANVAS.encode() + b" " * (256 << 20), f"the clipboard has more than 256 MiB of {TEXT}")):
        plasma.copy(kind, content)
        paste_nothing(app)
        app.errors.wait(f"quillory: {said}, which counts as nothing")
