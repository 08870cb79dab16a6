"""The editor page in the real program: drawn with the pointer, driven by keys, saved and read through real panels."""
import base64
import json
import os
import pathlib
import re
import shutil
import signal
import sqlite3
import subprocess
import urllib.parse
import zlib

import pytest

from application import Application, InstallTree
from desktop import wait_for

WHITE = (255, 255, 255)
BLUE = (0x4C, 0x8D, 0xFF)  # a new rectangle
ORANGE = (0xFF, 0x9F, 0x5A)  # a new ellipse
BUTTON = (0x2F, 0x6F, 0xED)
PANEL = (0xFB, 0xFB, 0xFC)
ERROR = (0xC0, 0x1C, 0x28)


class Picture:
    """The pixels of the screen."""

    def __init__(self, desktop):
        data = subprocess.run(["import", "-window", "root", "-depth", "8", "ppm:-"], env=desktop.env,
                              stdout=subprocess.PIPE, check=True).stdout
        header = re.match(rb"P6\s+(\d+)\s+(\d+)\s+255\s", data)
        self.width, self.height = int(header[1]), int(header[2])
        self.data = data[header.end():]

    def pixel(self, x, y):
        at = (int(y) * self.width + int(x)) * 3
        return tuple(self.data[at:at + 3])

    def crop(self, x, y, width, height):
        rows = (self.data[((y + row) * self.width + x) * 3:][:width * 3] for row in range(height))
        return b"".join(rows)

    def has(self, colour, length):
        """Whether a row somewhere has so many pixels of the colour in a row."""
        return bytes(colour) * length in self.data


class Editor:
    def __init__(self, desktop, tree, env):
        self.desktop, self.tree, self.env = desktop, tree, env
        self.start()

    def start(self):
        self.app = Application(self.desktop, self.tree.binary, self.tree.page_folder, self.env)
        self.log = self.app.log
        self.window = self.app.window()
        self.desktop.focus(self.window)
        self.box = wait_for(self._find_page, "the editor page")

    def _find_page(self):
        """The white page on the screen: left, top, width, height."""
        picture = Picture(self.desktop)
        window = self.desktop.geometry(self.window)
        x = window["X"] + 48 + (window["WIDTH"] - 300) // 2  # the middle of the stage: see the page's grid
        y = window["Y"] + window["HEIGHT"] // 2
        if not picture.has(BUTTON, 40) or picture.pixel(x, y) != WHITE:
            return None
        left, right, top, bottom = x, x, y, y
        while picture.pixel(left - 1, y) == WHITE: left -= 1
        while picture.pixel(right + 1, y) == WHITE: right += 1
        while picture.pixel(x, top - 1) == WHITE: top -= 1
        while picture.pixel(x, bottom + 1) == WHITE: bottom += 1
        return left, top, right - left + 1, bottom - top + 1

    def at(self, x, y, page_width=1080):
        """A point of the page on the screen."""
        zoom = self.box[2] / page_width
        return round(self.box[0] + x * zoom), round(self.box[1] + y * zoom)

    def key(self, *keys):
        self.desktop.key(*keys)

    def drag(self, start, end):
        (x, y), (x2, y2) = self.at(*start), self.at(*end)
        self.desktop.run("xdotool", "mousemove", "--sync", str(x), str(y), "mousedown", "1", "mousemove", "--sync",
                         str((x + x2) // 2), str((y + y2) // 2), "mousemove", "--sync", str(x2), str(y2), "mouseup", "1")

    def wait_tool(self, is_selection):
        """Waits until the arrow, with which objects are selected, is the tool in use, or no longer."""
        window = self.desktop.geometry(self.window)
        x, y = window["X"] + 12, window["Y"] + window["HEIGHT"] - 922 + 60  # in the arrow's corner, below the menu bar
        wait_for(lambda: (Picture(self.desktop).pixel(x, y) != PANEL) == is_selection, "the tool")

    def draw(self, tool, start, end):
        self.key(tool)
        self.wait_tool(False)
        self.drag(start, end)
        self.wait_tool(True)

    def wait_colour(self, colour, x, y):
        wait_for(lambda: Picture(self.desktop).pixel(*self.at(x, y)) == colour, f"{colour} at {x}, {y} of the page")

    def wait_error(self):
        wait_for(lambda: Picture(self.desktop).has(ERROR, 40), "a message in the page")

    def download(self, path):
        """Answers the save panel of what was just asked for."""
        start = len(self.log.lines)
        self.desktop.answer_panel("Save", path)
        self.log.wait(f"✅ File saved to: {path}", after=start)
        self.desktop.wait_active(self.window)
        return path

    def save(self, path):
        self.key("ctrl+shift+s")
        return json.loads(self.download(path).read_text(encoding="utf-8"))

    def objects(self, path):
        return self.save(path)["pages"][0]["objects"]

    def open(self, path):
        start = len(self.log.lines)
        self.key("ctrl+o")
        self.desktop.answer_panel("Select a Quillory project file", path)
        self.log.wait("✅ File content sent to JavaScript", after=start)
        self.desktop.wait_active(self.window)

    def export(self, path, *choices):
        """Exports with the choices made last in the dialog, or with those that the given keys make."""
        self.key("ctrl+e", *choices, "Return")
        return self.download(path)


@pytest.fixture
def editor(desktop, installed, tmp_path):
    tree = InstallTree(installed, tmp_path / "installed", page=None)
    shutil.copytree(installed / "share" / "quillory" / "WebContent", tree.page_folder, dirs_exist_ok=True)
    env = {f"XDG_{kind}_HOME": str(tmp_path / kind.lower()) for kind in ("DATA", "CACHE", "CONFIG")}
    editor = Editor(desktop, tree, env)
    yield editor
    editor.app.kill()


def png(width, height, colour):
    """A PNG file of one colour."""
    def chunk(kind, data):
        return len(data).to_bytes(4, "big") + kind + data + zlib.crc32(kind + data).to_bytes(4, "big")
    header = width.to_bytes(4, "big") + height.to_bytes(4, "big") + bytes((8, 2, 0, 0, 0))
    rows = (b"\0" + bytes(colour) * width) * height
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def project(*pages, assets=None, **changes):
    return json.dumps({"type": "quillory-project", "version": 1, "name": "Fair", "pages": pages, "assets": assets or {}, **changes})


def page(*objects, width=400, height=300, background="#ffffff"):
    return {"width": width, "height": height, "background": background, "objects": objects}


RECT = {"type": "Rect", "left": 100, "top": 150, "width": 120, "height": 200, "fill": "#c03040", "strokeWidth": 0}
TEXT = {"type": "Textbox", "left": 290, "top": 80, "width": 180, "text": "Summer fair", "fontSize": 32, "fontFamily": "serif",
        "fill": "#204080", "textAlign": "center", "strokeWidth": 0}
IMAGE = {"type": "Image", "asset": "sun", "left": 300, "top": 210, "width": 40, "height": 40, "scaleX": 2, "scaleY": 2,
         "angle": 30, "strokeWidth": 0}
SUN = {"sun": "data:image/png;base64," + base64.b64encode(png(40, 40, (250, 200, 20))).decode()}


def measure(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False).stdout


def difference(picture, other):
    """Between two pictures of the same size: the root mean square of all differences, from 0 to 1."""
    text = measure("compare", "-metric", "RMSE", str(picture), str(other), "null:")
    return float(re.search(r"\(([\d.e-]+)\)", text)[1])


def colour_of(file, x, y):
    text = measure("convert", str(file), "-depth", "8", "-crop", f"1x1+{x}+{y}", "txt:-")
    return tuple(bytes.fromhex(re.search(r"#([0-9A-F]{6})", text)[1]))


def test_what_is_drawn_is_saved_and_opened_again(editor, tmp_path):
    editor.draw("r", (100, 100), (400, 300))
    editor.draw("o", (500, 100), (800, 300))
    editor.draw("l", (100, 400), (500, 400))
    editor.draw("t", (100, 500), (700, 600))
    editor.desktop.type("Bring a friend")
    editor.key("Escape", "Escape")
    editor.wait_colour(BLUE, 250, 200)
    editor.wait_colour(ORANGE, 650, 200)

    saved = editor.save(tmp_path / "first.json")
    objects = saved["pages"][0]["objects"]
    assert [o["type"] for o in objects] == ["Rect", "Ellipse", "Line", "Textbox"]
    near = lambda o, **wanted: all(abs(o[key] - value) < 3 for key, value in wanted.items())
    assert near(objects[0], left=250, top=200, width=300, height=200)
    assert near(objects[1], left=650, top=200, rx=150, ry=100)
    assert near(objects[2], left=300, top=400, x1=-200, x2=200)
    assert near(objects[3], left=400, width=600)
    assert objects[3]["text"] == "Bring a friend"

    seen = editor.export(tmp_path / "first.png").read_bytes()
    editor.key("ctrl+n")
    editor.wait_colour(WHITE, 250, 200)
    editor.open(tmp_path / "first.json")
    editor.wait_colour(BLUE, 250, 200)
    assert editor.export(tmp_path / "second.png").read_bytes() == seen
    assert editor.save(tmp_path / "second.json") == saved


def test_unsaved_work_gives_way_only_when_told_to(editor, tmp_path):
    def asked_about(key):
        editor.key(key)
        wait_for(lambda: Picture(editor.desktop).pixel(*editor.at(250, 200)) != BLUE, "the question, and the page dimmed")

    editor.draw("r", (100, 100), (400, 300))
    (tmp_path / "full.json").symlink_to("/dev/full")
    editor.key("ctrl+s")
    editor.desktop.answer_panel("Save", tmp_path / "full.json", replace=True)
    editor.log.wait("❌ Error saving file: No space left on device")
    wait_for(lambda: editor.desktop.active_window() not in ("", editor.window), "the alert")
    editor.key("Return")
    editor.desktop.wait_active(editor.window)
    editor.wait_error()
    editor.key("ctrl+s")  # asks again: there is no file that it was saved to
    editor.desktop.cancel_panel("Save")
    editor.desktop.wait_active(editor.window)
    asked_about("ctrl+n")
    editor.key("Escape")
    editor.wait_colour(BLUE, 250, 200)
    first, = editor.objects(tmp_path / "kept.json")
    editor.draw("o", (500, 100), (800, 300))
    asked_about("ctrl+n")
    editor.key("Return")  # saves, to the project's own file and without a panel
    editor.wait_colour(WHITE, 250, 200)
    objects = json.loads((tmp_path / "kept.json").read_text(encoding="utf-8"))["pages"][0]["objects"]
    assert [o["type"] for o in objects] == ["Rect", "Ellipse"] and objects[0] == first


def test_what_is_undone_and_done_again_is_the_same_document(editor):
    script = pathlib.Path(__file__).with_name("random_actions.js").read_text(encoding="utf-8")
    (editor.tree.page_folder / "random.js").write_text(script, encoding="utf-8")
    index = editor.tree.page_folder / "index.html"
    index.write_text(index.read_text(encoding="utf-8") + '<script defer src="random.js"></script>', encoding="utf-8")
    assert editor.app.quit() == 0
    editor.start()
    line, _ = editor.log.wait(re.compile("requested: Trandom "), timeout=300)
    found = json.loads(urllib.parse.unquote(line.split("Trandom ")[1]))
    assert found == {"steps": found["steps"], "differing": [], "ended": True, "errors": []} and found["steps"] > 200


def test_keys_change_the_selected_objects(editor, tmp_path):
    editor.draw("r", (200, 200), (400, 400))
    editor.key("Right", "shift+Right", "shift+Down", "Up")
    editor.key("ctrl+d", "ctrl+a", "ctrl+g")
    group, = editor.objects(tmp_path / "grouped.json")
    assert [o["type"] for o in group["objects"]] == ["Rect", "Rect"]
    editor.key("ctrl+shift+g", "Escape")
    first, second = editor.objects(tmp_path / "ungrouped.json")
    assert (round(first["left"] - 300), round(first["top"] - 300)) in [(x, y) for x in range(9, 14) for y in range(7, 12)]
    assert round(second["left"] - first["left"]) == 24
    editor.key("Tab", "ctrl+Up", "ctrl+z", "Delete")  # the object at the back, whatever its place in between
    assert editor.objects(tmp_path / "deleted.json") == [second]
    editor.key("ctrl+z", "ctrl+z", "ctrl+z")
    assert [o["type"] for o in editor.objects(tmp_path / "undone.json")] == ["Rect", "Rect"]
    editor.key(*["ctrl+z"] * 4)
    assert editor.objects(tmp_path / "empty.json") == []
    editor.key(*["ctrl+shift+z"] * 7)
    assert editor.objects(tmp_path / "again.json") == [second]


def test_the_edit_menu_works_on_the_canvas(editor, tmp_path):
    def choose(item):
        editor.desktop.choose_from_menu(editor.window, 2, ("Undo", "Redo", "Cut", "Copy", "Paste", "Select All").index(item))

    editor.draw("r", (200, 200), (400, 400))
    editor.wait_colour(BLUE, 300, 300)
    for item, colour in (("Undo", WHITE), ("Redo", BLUE), ("Undo", WHITE), ("Redo", BLUE)):
        choose(item)
        editor.wait_colour(colour, 300, 300)
    choose("Select All")
    choose("Cut")
    editor.log.wait("📋 Copied to native pasteboard")
    editor.wait_colour(WHITE, 300, 300)
    choose("Paste")
    editor.log.wait("✅ Paste content sent to JavaScript")
    rect, = editor.objects(tmp_path / "pasted.json")
    assert round(rect["width"]) in range(198, 203)


def test_objects_are_copied_through_the_clipboard(editor, tmp_path):
    desktop = editor.desktop
    editor.draw("r", (200, 200), (400, 400))
    editor.key("ctrl+c")
    editor.log.wait("📋 Copied to native pasteboard")
    text = desktop.run("xclip", "-selection", "clipboard", "-o")
    assert json.loads(text)["objects"] == editor.objects(tmp_path / "one.json")

    editor.key("ctrl+v")
    editor.log.wait("✅ Paste content sent to JavaScript")
    editor.key("ctrl+z", "ctrl+shift+z")
    first, second = editor.objects(tmp_path / "two.json")
    assert second == {**first, "left": second["left"], "top": second["top"]}
    assert second["left"] > first["left"]

    editor.key("ctrl+a", "ctrl+x")
    editor.wait_colour(WHITE, 300, 300)
    assert editor.objects(tmp_path / "none.json") == []


def test_an_image_is_pasted_and_another_picked(editor, tmp_path):
    desktop = editor.desktop
    green, red = png(300, 200, (20, 160, 60)), png(64, 64, (200, 30, 30))
    (tmp_path / "green.png").write_bytes(green)
    (tmp_path / "red.png").write_bytes(red)
    owner = subprocess.Popen(["xclip", "-quiet", "-selection", "clipboard", "-t", "image/png", "-i", tmp_path / "green.png"],
                             env=desktop.env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        wait_for(lambda: "image/png" in desktop.run("xclip", "-selection", "clipboard", "-o", "-t", "TARGETS", check=False),
                 "the image on the clipboard")
        editor.key("ctrl+v")
        editor.wait_colour((20, 160, 60), 540, 540)
    finally:
        owner.kill()
        owner.wait()
    editor.key("i")
    desktop.answer_panel("Select an image to add to canvas", tmp_path / "red.png")
    editor.wait_colour((200, 30, 30), 540, 540)
    desktop.wait_active(editor.window)
    saved = editor.save(tmp_path / "images.json")
    pasted, picked = saved["pages"][0]["objects"]
    assert (pasted["width"], pasted["height"]) == (300, 200)
    assert saved["assets"][picked["asset"]] == "data:image/png;base64," + base64.b64encode(red).decode()


def test_exports_match_the_canvas(editor, tmp_path):
    source = tmp_path / "fair.json"
    pages = page(RECT, TEXT, IMAGE), page(RECT, TEXT, width=300, height=200, background=None)
    source.write_text(project(*pages, assets=SUN), encoding="utf-8")
    editor.open(source)
    editor.key("ctrl+1", "Escape")

    def shown():
        picture = Picture(editor.desktop)
        at = picture.data.find(bytes((0xC0, 0x30, 0x40)) * 120) // 3  # the rectangle's first row
        if at <= 0 or picture.data.count(bytes((0xC0, 0x30, 0x40)) * 121):
            return None
        x, y = at % picture.width - 40, at // picture.width - 50
        (tmp_path / "screen.ppm").write_bytes(b"P6 400 300 255\n" + picture.crop(x, y, 400, 300))
        return True

    wait_for(shown, "the page at 100 %")

    png_file = editor.export(tmp_path / "page.png")
    assert measure("identify", "-format", "%m %w %h", str(png_file)) == "PNG 400 300"
    assert difference(png_file, tmp_path / "screen.ppm") < 0.02
    assert colour_of(png_file, 100, 150) == (0xC0, 0x30, 0x40)
    assert colour_of(png_file, 300, 210) == (250, 200, 20)

    jpeg_file = editor.export(tmp_path / "page.jpg", "Right")
    assert measure("identify", "-format", "%m %w %h", str(jpeg_file)) == "JPEG 400 300"
    assert difference(jpeg_file, png_file) < 0.02

    pdf_file = editor.export(tmp_path / "all.pdf", "Right", "Tab", "Right")
    info = measure("pdfinfo", "-l", "2", str(pdf_file))
    assert re.search(r"^Pages: +2$", info, re.M)
    assert re.search(r"^Page +1 size: +300 x 225 pts", info, re.M)
    assert re.search(r"^Page +2 size: +225 x 150 pts", info, re.M)
    measure("pdftocairo", "-r", "192", "-png", str(pdf_file), str(tmp_path / "pdf"))

    folder = tmp_path / "batch"
    folder.mkdir()
    editor.key("ctrl+e", "Left", "Left", "Return")
    editor.desktop.answer_panel("Choose a folder to save 2 files", folder)
    editor.log.wait(f"✅ Saved 2/2 files to: {folder}")
    editor.desktop.wait_active(editor.window)
    assert sorted(os.listdir(folder)) == ["Fair-01.png", "Fair-02.png"]
    assert (folder / "Fair-01.png").read_bytes() == png_file.read_bytes()
    corner = measure("convert", str(folder / "Fair-02.png"), "-format", "%[fx:p{299,199}.a]", "info:")
    assert corner == "0", "a transparent page stays transparent"

    double = editor.export(tmp_path / "first.png", "Tab", "Left", "Tab", "Right")
    assert measure("identify", "-format", "%w %h", str(double)) == "800 600"
    assert difference(tmp_path / "pdf-1.png", double) < 0.02, "a page with an image: JPEG"
    editor.key("Next")
    double = editor.export(tmp_path / "second.png")
    measure("convert", str(double), "-background", "white", "-flatten", str(tmp_path / "flat.png"))
    assert difference(tmp_path / "pdf-2.png", tmp_path / "flat.png") < 0.001, "a page without one: every pixel"


@pytest.mark.parametrize("content", [
    "", "no JSON", '{"nodes": []}', project(page(), version=2), project(page({**RECT, "left": "far"})),
    project(page(IMAGE)), project(page(IMAGE), assets={"sun": "data:image/png;base64,AAAA"}),
], ids=["empty", "text", "foreign", "newer", "wrong value", "missing image", "broken image"])
def test_an_unreadable_project_leaves_the_work_as_it_is(editor, tmp_path, content):
    editor.draw("r", (100, 100), (300, 300))
    before = editor.save(tmp_path / "before.json")
    (tmp_path / "bad.json").write_text(content, encoding="utf-8")
    editor.open(tmp_path / "bad.json")
    editor.wait_error()
    assert editor.save(tmp_path / "after.json") == before


PART = {**RECT, "left": 0, "top": 0, "width": 1, "height": 1}
VAST = {"type": "Group", "left": 200, "top": 150, "width": 2, "height": 1, "scaleX": 1e4, "scaleY": 1e4, "opacity": 0.5,
        "objects": [PART, {**PART, "left": 1}]}


@pytest.mark.parametrize("objects", [[VAST] * 3, [{**TEXT, "left": 200, "width": 50, "text": "lorem ipsum " * 80000}] * 2],
                         ids=["vast groups", "long texts"])
def test_what_cannot_be_seen_takes_no_memory(editor, tmp_path, objects):
    (tmp_path / "large.json").write_text(project(page(*objects)), encoding="utf-8")
    editor.open(tmp_path / "large.json")
    picture = lambda: Picture(editor.desktop).crop(*editor.at(500, 440), 50, 200)
    wait_for(lambda: set(picture()) - {255}, "what is seen of it", 60)
    status = pathlib.Path(f"/proc/{editor.app.page_process()}/status").read_text()
    assert int(re.search(r"VmHWM:\s+(\d+)", status)[1]) < 700 * 1024


def web_processes(editor):
    def name(pid):
        try:
            return pathlib.Path(f"/proc/{pid}/comm").read_text().strip()
        except OSError:
            return ""
    return [pid for pid in editor.app.children() if name(pid) == "WebKitWebProces"]


def kept(editor, what):
    """Whether the page's own storage holds a text."""
    for file in pathlib.Path(editor.env["XDG_DATA_HOME"]).rglob("IndexedDB.sqlite3"):
        try:
            with sqlite3.connect(f"file:{file}?mode=ro", uri=True) as database:
                if any(what in value for value, in database.execute("SELECT value FROM Records")):
                    return True
        except sqlite3.Error:
            pass
    return False


def test_work_outlives_a_crash_of_the_page(editor, tmp_path):
    editor.draw("r", (100, 100), (400, 300))
    editor.key("i")
    (tmp_path / "red.png").write_bytes(png(64, 64, (200, 30, 30)))
    editor.desktop.answer_panel("Select an image to add to canvas", tmp_path / "red.png")
    editor.wait_colour((200, 30, 30), 540, 540)
    wait_for(lambda: kept(editor, b"Rect") and kept(editor, b"image-1"), "the work in the page's storage")

    process, = web_processes(editor)
    os.kill(process, signal.SIGKILL)
    wait_for(lambda: not web_processes(editor), "the page's process to end")
    assert editor.app.process.poll() is None
    assert editor.app.quit() == 0

    editor.start()
    editor.wait_colour(WHITE, 250, 200)
    editor.key("Return")  # the button that restores has the focus
    wait_for(lambda: Picture(editor.desktop).has(BLUE, 150), "the restored page")
    saved = editor.save(tmp_path / "restored.json")
    assert [o["type"] for o in saved["pages"][0]["objects"]] == ["Rect", "Image"]
    assert abs(saved["pages"][0]["objects"][0]["left"] - 250) < 3
    assert list(saved["assets"].values()) == ["data:image/png;base64," + base64.b64encode(png(64, 64, (200, 30, 30))).decode()]

    editor.draw("o", (500, 600), (800, 900))
    wait_for(lambda: kept(editor, b"Ellipse"), "the ellipse in the page's storage")
    editor.key("Delete")
    editor.wait_colour(WHITE, 650, 850)
    assert editor.app.quit() == 0  # before the page would have stored the change by itself
    editor.start()
    editor.key("Return")
    wait_for(lambda: Picture(editor.desktop).has(BLUE, 150), "the restored page")
    assert editor.save(tmp_path / "quit.json")["pages"] == saved["pages"]
