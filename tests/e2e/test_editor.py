"""The editor page in the real program: drawn with the pointer, driven by keys, saved and read through real panels."""
import base64
import contextlib
import io
import itertools
import json
import math
import os
import pathlib
import re
import shutil
import unicodedata
import urllib.parse

import gi
import pytest

gi.require_version("GdkPixbuf", "2.0")
from gi.repository import GdkPixbuf
from PIL import Image, ImageChops, ImageGrab, ImageStat

from application import Application
from desktop import wait_for

WHITE = (255, 255, 255)
BLUE = (0x4C, 0x8D, 0xFF)  # a new rectangle
ORANGE = (0xFF, 0x9F, 0x5A)  # a new ellipse
BUTTON = (0x2F, 0x6F, 0xED)
PANEL = (0xFB, 0xFB, 0xFC)
ERROR = (0xC0, 0x1C, 0x28)
DISK = 1 << 20  # bytes


def has(picture, colour, length):
    """Whether a row of it somewhere has so many pixels of the colour side by side."""
    return bytes(colour) * length in picture.tobytes()


class Editor:
    def __init__(self, desktop, tree, env):
        self.desktop, self.tree, self.env = desktop, tree, env
        self.key = desktop.key
        self.start()

    def start(self, *command):
        """Starts the program, or a command that starts it."""
        binary, *arguments = *command, self.tree.binary
        self.app = Application(self.desktop, binary, self.tree.page_folder, self.env, arguments)
        self.log = self.app.log
        self.window = self.app.window()
        self.desktop.focus(self.window)
        self.box = wait_for(self._find_page, "the editor page")

    def start_and_restore(self):
        self.start()
        window = self.desktop.geometry(self.window)
        below = window["Y"] + window["HEIGHT"] - 922 + 48  # the header, where another button has that colour
        wait_for(lambda: has(self.screen().crop((0, below, 1280, below + 48)), BUTTON, 40), "the button, which has the focus")
        self.key("Return")

    def screen(self):
        return ImageGrab.grab(xdisplay=self.desktop.env["DISPLAY"])

    def _find_page(self):
        """The white page on the screen: left, top, width."""
        picture = self.screen()
        window = self.desktop.geometry(self.window)
        x = window["X"] + 48 + (window["WIDTH"] - 300) // 2  # the middle of the stage: see the page's grid
        y = window["Y"] + window["HEIGHT"] // 2
        if not has(picture, BUTTON, 40) or picture.getpixel((x, y)) != WHITE:
            return None

        def reach(dx, dy):
            return next(i for i in itertools.count(1) if picture.getpixel((x + i * dx, y + i * dy)) != WHITE)
        left = x - reach(-1, 0) + 1
        return left, y - reach(0, -1) + 1, x + reach(1, 0) - left

    def at(self, x, y, page_width=1080):
        """A point of the page on the screen."""
        zoom = self.box[2] / page_width
        return round(self.box[0] + x * zoom), round(self.box[1] + y * zoom)

    def wait_tool(self, is_selection):
        """Waits until the arrow, with which objects are selected, is the tool in use, or no longer."""
        window = self.desktop.geometry(self.window)
        corner = window["X"] + 12, window["Y"] + window["HEIGHT"] - 922 + 60  # of the arrow, below the menu bar
        wait_for(lambda: (self.screen().getpixel(corner) != PANEL) == is_selection, "the tool")

    def draw(self, tool, start, end):
        self.key(tool)
        self.wait_tool(False)
        (x, y), (x2, y2) = self.at(*start), self.at(*end)
        moves = [f"mousemove --sync {x} {y}" for x, y in ((x, y), ((x + x2) // 2, (y + y2) // 2), (x2, y2))]
        self.desktop.run("xdotool", *f"{moves[0]} mousedown 1 {moves[1]} {moves[2]} mouseup 1".split())
        self.wait_tool(True)

    def wait_colour(self, colour, x, y):
        wait_for(lambda: self.screen().getpixel(self.at(x, y)) == colour, f"{colour} at {x}, {y} of the page")

    def wait_error(self):
        wait_for(lambda: has(self.screen(), ERROR, 40), "a message in the page")

    def download(self, path):
        """Answers the save panel of what was just asked for."""
        self.pick("Save", path, f"✅ File saved to: {path}")
        return path

    def save(self, path):
        self.key("ctrl+shift+s")
        return json.loads(self.download(path).read_text(encoding="utf-8"))

    def objects(self, path):
        return self.save(path)["pages"][0]["objects"]

    def open(self, path, content=None):
        if content:
            path.write_text(content, encoding="utf-8")
        self.key("ctrl+o")
        self.pick("Select a Quillory project file", path, "✅ File content sent to JavaScript")

    def pick(self, panel, path, line):
        start = len(self.log.lines)
        self.desktop.answer_panel(panel, path)
        self.log.wait(line, after=start)
        self.desktop.wait_active(self.window)

    def export(self, path, *choices):
        """Exports with the choices made last in the dialog, or with those that the given keys make."""
        self.key("ctrl+e", *choices, "Return")
        return self.download(path)


@pytest.fixture
def editor(desktop, tree_of_the_editor, tmp_path):
    env = {f"XDG_{kind}_HOME": str(tmp_path / kind.lower()) for kind in ("DATA", "CACHE", "CONFIG")}
    return Editor(desktop, tree_of_the_editor, env)


def png(picture):
    file = io.BytesIO()
    picture.save(file, "PNG")
    return file.getvalue()


def project(*pages, assets=None):
    pages = [{"width": 400, "height": 300, "background": "#ffffff", **page} for page in pages]
    return json.dumps({"type": "quillory-project", "version": 1, "name": "Fair", "pages": pages, "assets": assets or {}})


def gradient(kind, **coords):
    stops = [{"offset": 0, "color": "#ffd020"}, {"offset": 1, "color": "#2090ff"}]
    return {"fill": {"type": kind, "coords": coords, "colorStops": stops}}


RECT = {"type": "Rect", "width": 72, "height": 56, "fill": "#c03040", "strokeWidth": 0}
EDGED = {**RECT, "stroke": "#204080", "strokeWidth": 6}
LINE = {"type": "Line", "x1": -40, "y1": -20, "x2": 40, "y2": 20, "stroke": "#204080", "strokeWidth": 5}
PATH = {"type": "Path", "fill": "#208050", "path": [["M", -36, 28], ["L", 0, -28], ["L", 36, 28], ["Z"]], "strokeWidth": 0}
TEXT = {"type": "Textbox", "width": 90, "text": "Größe\nfor all", "fontSize": 24, "fontFamily": "serif", "fill": "#204080",
        "strokeWidth": 0}
IMAGE = {"type": "Image", "asset": "sun", "width": 64, "height": 48, "strokeWidth": 0}
PARTS = [{**RECT, "left": -12, "width": 48}, {**RECT, "left": 12, "width": 48, "height": 36, "fill": "#204080"}]
GROUP = {"type": "Group", "width": 72, "height": 56, "objects": PARTS}
ACROSS = gradient("linear", x1=0, y1=0, x2=1, y2=1)
SHADOW = {"shadow": {"color": "#000000", "blur": 6, "offsetX": 8, "offsetY": 8}}
BLENDS = ("multiply", "screen", "overlay", "darken", "lighten", "color-dodge", "color-burn", "difference", "luminosity")


def of(plain, **features):
    return {name.replace("_", " "): (plain, feature) for name, feature in features.items()}


# What the canvas can show: an object, and what the feature changes of it.
FEATURES = {
    **of({**RECT, "fill": None}, fill={"fill": "#123456"}),
    **of(RECT, linear_gradient=ACROSS, radial_gradient=gradient("radial", x1=0.5, y1=0.5, r1=0, x2=0.5, y2=0.5, r2=0.5),
         shadow=SHADOW, stroke={"stroke": "#204080", "strokeWidth": 8}, round_corners={"rx": 24, "ry": 24}, rotation={"angle": 30},
         skew={"skewX": 25}, hidden={"visible": False}, ellipse={"type": "Ellipse", "rx": 36, "ry": 28},
         polygon={"type": "Star", "corners": 3, "inset": 0}, star={"type": "Star", "corners": 5, "inset": 0.5}),
    **of(EDGED, opacity={"opacity": 0.5}, dashes={"strokeDashArray": [18, 12]}),
    **of(PATH, flip={"flipY": True}, pen={"path": [["M", -36, 28], ["C", -36, -60, 36, -60, 36, 28], ["Z"]]}),
    **of({**PATH, "fill": None, "stroke": "#204080", "strokeWidth": 10},
         free_line={"path": [["M", -36, 28], ["Q", 0, -60, 36, 28]], "strokeLineCap": "round"}),
    **of(LINE, line={"y1": 20, "y2": -20}, arrows={"arrow": "both"}, dashed_arrow={"arrow": "end", "strokeDashArray": [8, 8]}),
    **of(IMAGE, crop={"cropX": 16, "cropY": 12, "width": 40, "height": 30}, flipped_image={"flipX": True},
         scaled_image={"scaleX": 1.5, "angle": 45}, brightness={"brightness": 0.5}, contrast={"contrast": 0.5},
         saturation={"saturation": 0.5}),
    **of({**GROUP, "objects": [{**part, "opacity": 0.5} for part in PARTS]}, half_transparent_group={"opacity": 0.5, "objects": PARTS}),
    **of(GROUP, shadow_of_a_group=SHADOW,
         blending_in_a_group={"objects": [PARTS[0], {**PARTS[1], "globalCompositeOperation": "screen"}]}),
    **of(TEXT, letter_spacing={"charSpacing": 200}, line_height={"lineHeight": 2}, underline={"underline": True},
         bold={"fontWeight": "bold"}, alignment={"textAlign": "right"}, font={"fontFamily": "DejaVu Sans Mono"},
         styled_part={"styles": [{"start": 1, "end": 8, "style": {"fill": "#ff2020", "fontSize": 34, "underline": True}}]},
         outline_of_a_text={"stroke": "#ff2020", "strokeWidth": 2}, shadow_of_a_text=SHADOW,
         other_scripts={"text": "日本語\nمرحبا"}),
    **of({**TEXT, "fontSize": 44, "text": "Hill"}, italic={"fontStyle": "italic"}),
    # Across its box, which is wider than the letter.
    **of({**TEXT, "fontSize": 72, "fontWeight": "bold", "text": "I"}, gradient_of_a_text=ACROSS),
    **of({**RECT, **ACROSS}, **{f"blending: {mode}": {"globalCompositeOperation": mode} for mode in BLENDS}),
}
CELL, COLUMNS, GROUND = 100, 8, "#e0d0b0"
SHEET = {"width": CELL * COLUMNS, "height": CELL * -(-len(FEATURES) // COLUMNS)}


def flat(picture, ground=WHITE):
    return Image.alpha_composite(Image.new("RGBA", picture.size, ground), picture.convert("RGBA"))


def in_cells(objects):
    return [{**o, "left": CELL * (i % COLUMNS + 0.5), "top": CELL * (i // COLUMNS + 0.5)} for i, o in enumerate(objects)]


def unlike(one, other):
    """The features in whose cells two pictures differ by more than how edges and letters are drawn, and how much of 1."""
    side = CELL // 4
    amounts = {}
    differing = ImageChops.difference(*(picture.convert("RGB").reduce(picture.width // (COLUMNS * side)) for picture in (one, other)))
    for i, (name, (plain, _)) in enumerate(FEATURES.items()):
        x, y = i % COLUMNS * side, i // COLUMNS * side
        amount = math.hypot(*ImageStat.Stat(differing.crop((x, y, x + side, y + side))).rms) / 255
        if amount > (0.05 if plain["type"] == "Textbox" else 0.03):
            amounts[name] = round(amount, 3)
    return amounts


def test_what_is_drawn_is_saved_and_opened_again(editor, tmp_path):
    editor.draw("r", (100, 100), (400, 300))
    editor.draw("o", (500, 100), (800, 300))
    editor.draw("l", (100, 400), (500, 400))
    editor.draw("t", (100, 500), (700, 600))
    editor.desktop.type("Bring a friend")
    editor.key("Escape", "Escape")
    editor.wait_colour(BLUE, 250, 200)
    editor.wait_colour(ORANGE, 650, 200)
    editor.key("shift+Tab", "F6", *["Tab"] * 22)  # the text, and the field for its font
    editor.desktop.type("dejavu s")
    editor.key("Down", "Return", "Escape")  # of those with such a name, the second
    editor.key("ctrl+z")
    assert editor.objects(tmp_path / "undone.json")[3]["fontFamily"] == "sans-serif"
    editor.key("ctrl+shift+z")

    saved = editor.save(tmp_path / "first.json")
    for drawn, wanted in zip(saved["pages"][0]["objects"], (
            {"type": "Rect", "left": 250, "top": 200, "width": 300, "height": 200},
            {"type": "Ellipse", "left": 650, "top": 200, "rx": 150, "ry": 100},
            {"type": "Line", "left": 300, "top": 400, "x1": -200, "x2": 200},
            {"type": "Textbox", "left": 400, "width": 600, "text": "Bring a friend", "fontFamily": "DejaVu Sans Mono"}), strict=True):
        for key, value in wanted.items():
            assert drawn[key] == (value if isinstance(value, str) else pytest.approx(value, abs=3)), key

    seen = editor.export(tmp_path / "first.png").read_bytes()
    editor.key("ctrl+n")
    editor.wait_colour(WHITE, 250, 200)
    editor.open(tmp_path / "first.json")
    editor.wait_colour(BLUE, 250, 200)
    assert editor.export(tmp_path / "second.png").read_bytes() == seen
    editor.open(tmp_path / "bad.json", project({"objects": [IMAGE]}, assets={"sun": "data:image/png;base64,AAAA"}))
    editor.wait_error()
    assert editor.save(tmp_path / "second.json") == saved


def test_unsaved_work_gives_way_only_when_told_to(editor, tmp_path):
    def asked_about(key):
        editor.key(key)
        wait_for(lambda: editor.screen().getpixel(editor.at(250, 200)) != BLUE, "the question, and the page dimmed")

    def fill_disk():
        with contextlib.suppress(OSError):
            (disk / "rest").write_bytes(bytes(DISK))

    def is_told_of_the_full_disk():
        editor.log.wait("❌ Error saving file: No space left on device")
        editor.log.lines.clear()
        wait_for(lambda: editor.desktop.active_window() not in ("", editor.window), "the alert")
        editor.key("Return")
        editor.desktop.wait_active(editor.window)
        editor.wait_error()

    def kept():
        return json.loads((disk / "kept.json").read_text(encoding="utf-8"))["pages"][0]["objects"]

    # A small disk, which the program alone has: in a namespace nobody needs to be root for it.
    folder = tmp_path / "disk"
    folder.mkdir()
    assert editor.app.quit() == 0
    editor.start("bwrap", "--dev-bind", "/", "/", "--die-with-parent", "--size", str(DISK), "--tmpfs", folder)
    program, = editor.app.children("quillory")
    disk = pathlib.Path(f"/proc/{program}/root{folder}")

    editor.draw("r", (100, 100), (400, 300))
    fill_disk()
    editor.key("ctrl+s")
    editor.desktop.answer_panel("Save", folder / "full.json")
    is_told_of_the_full_disk()
    assert os.listdir(disk) == ["rest"]
    editor.key("ctrl+s")  # asks again: there is no file that it was saved to
    editor.desktop.cancel_panel("Save")
    editor.desktop.wait_active(editor.window)
    asked_about("ctrl+n")
    editor.key("Escape")
    editor.wait_colour(BLUE, 250, 200)
    (disk / "rest").unlink()
    editor.key("ctrl+s")
    editor.download(folder / "kept.json")
    first, = kept()
    editor.draw("o", (500, 100), (800, 300))
    editor.key(*["ctrl+d"] * 20)  # more than one block of the disk
    fill_disk()
    asked_about("ctrl+n")
    editor.key("Return")  # saves, to the project's own file and without a panel
    is_told_of_the_full_disk()
    editor.wait_colour(BLUE, 250, 200)
    assert kept() == [first]
    (disk / "rest").unlink()
    asked_about("ctrl+n")
    editor.key("Return")
    editor.wait_colour(WHITE, 250, 200)
    assert [o["type"] for o in kept()] == ["Rect", *["Ellipse"] * 21] and kept()[0] == first


def test_what_is_undone_and_done_again_is_the_same_document(editor):
    shutil.copy(pathlib.Path(__file__).with_name("random_actions.js"), editor.tree.page_folder)
    with open(editor.tree.page_folder / "index.html", "a", encoding="utf-8") as index:
        index.write('<script defer src="random_actions.js"></script>')
    assert editor.app.quit() == 0
    editor.start()
    line, _ = editor.log.wait(re.compile("requested: Trandom "), timeout=300)
    assert json.loads(urllib.parse.unquote(line.split("Trandom ")[1])) == {"states": 31, "same": True, "errors": []}


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
    editor.key("s", "Return", "ctrl+l")
    assert editor.objects(tmp_path / "locked.json")[-1].get("locked")


def test_outlines_and_lines_are_drawn_by_keyboard(editor, tmp_path):
    editor.key("b", "space", *["Right"] * 20, "space", *["Down"] * 20, "shift+space", "Left", "space", "BackSpace", "shift+Return")
    editor.key("Return", "Tab", "Tab", *["shift+Up"] * 3, "shift+Tab", "shift+Left", "Escape")  # its points
    editor.key("p", "space", *["Left"] * 20, "space", *["Up"] * 20, "space", "Return")
    outline, line = editor.objects(tmp_path / "drawn.json")
    steps = [[step[0], *(round(n) for n in step[1:][-2:])] for step in outline["path"]]
    x, y = steps[0][1:]
    assert steps == [["M", x, y], ["L", x + 210, y - 30], ["C", x + 210, y + 200], ["C", x, y], ["Z"]] and outline["fill"]
    assert [step[0] for step in line["path"]] == ["M", "C", "C"] and line["fill"] is None
    editor.key("Menu", "Up", "Up", "Up", "Return")  # from the end: to hide it
    editor.key("F6", "ctrl+a", "7", "Return")  # the field for its left edge
    still, hidden = editor.objects(tmp_path / "hidden.json")
    assert still == outline and hidden["visible"] is False and hidden["left"] < line["left"]


def test_the_edit_menu_and_its_keys_work_on_the_canvas(editor, tmp_path):
    def choose(item, colour=None, line=None):
        start = len(editor.log.lines)
        editor.desktop.choose_from_menu(editor.window, 2, ("Undo", "Redo", "Cut", "Copy", "Paste", "Select All").index(item))
        if line:
            editor.log.wait(line, start)
        if colour:
            editor.wait_colour(colour, 300, 300)

    editor.draw("r", (200, 200), (400, 400))
    editor.wait_colour(BLUE, 300, 300)
    for item, colour in (("Undo", WHITE), ("Redo", BLUE), ("Undo", WHITE), ("Redo", BLUE)):
        choose(item, colour)
    first, = editor.objects(tmp_path / "one.json")
    choose("Select All")
    choose("Cut", WHITE, "📋 Copied to native pasteboard")
    assert json.loads(editor.desktop.run("xclip", "-selection", "clipboard", "-o"))["objects"] == [first]
    picture = Image.open(io.BytesIO(editor.desktop.paste("image/png")))  # made now
    assert picture.size[0] == pytest.approx(first["width"], abs=4) and picture.getpixel((50, 50)) == (*BLUE, 255)
    choose("Paste", line="✅ Paste content sent to JavaScript")
    choose("Copy", line="📋 Copied to native pasteboard")
    start = len(editor.log.lines)
    editor.key("ctrl+v")
    editor.log.wait("✅ Paste content sent to JavaScript", start)
    editor.key("ctrl+z", "ctrl+shift+z")
    second, third = editor.objects(tmp_path / "two.json")
    assert third["left"] > second["left"]
    assert all({**pasted, "left": first["left"], "top": first["top"]} == first for pasted in (second, third))
    editor.key("ctrl+a", "ctrl+c", "ctrl+x")
    assert editor.objects(tmp_path / "none.json") == []


def test_exports_match_the_canvas_in_every_feature(editor, tmp_path):
    bands = [Image.linear_gradient("L").rotate(angle).resize((64, 48)) for angle in (0, 90, 180)]
    sun = "data:image/png;base64," + base64.b64encode(png(Image.merge("RGB", bands))).decode()
    plain = in_cells([o for o, _ in FEATURES.values()])
    sheets = {**SHEET, "objects": in_cells([{**o, **feature} for o, feature in FEATURES.values()]), "background": GROUND}, {
        **SHEET, "objects": plain, "background": None}
    editor.open(tmp_path / "fair.json", project(*sheets, assets={"sun": sun}))
    editor.key("ctrl+1", "Escape")

    def shown():
        screen = editor.screen()
        first = bytes((0x12, 0x34, 0x56))
        at = screen.tobytes().find(first * 72) // 3
        if at <= 0 or has(screen, first, 73):
            return None
        x, y = at % screen.width - (CELL - 72) // 2, at // screen.width - (CELL - 56) // 2
        return screen.crop((x, y, x + SHEET["width"], y + SHEET["height"]))

    seen = wait_for(shown, "the page at 100 %")
    png_file = Image.open(editor.export(tmp_path / "page.png"))
    assert (png_file.format, png_file.size) == ("PNG", seen.size)
    assert unlike(png_file, seen) == {}

    jpeg_file = Image.open(editor.export(tmp_path / "page.jpg", "Right"))
    assert jpeg_file.format == "JPEG" and unlike(jpeg_file, png_file) == {}

    pdf_file = editor.export(tmp_path / "all.pdf", "Right", "Tab", "Right")
    info = editor.desktop.run("pdfinfo", "-l", "2", pdf_file)
    for line in ("Pages: +2", *(f"Page +{i} size: +{SHEET['width'] * 3 // 4} x {SHEET['height'] * 3 // 4} pts" for i in (1, 2))):
        assert re.search(f"^{line}", info, re.M), info
    text = unicodedata.normalize("NFKC", editor.desktop.run("pdftotext", pdf_file, "-"))
    assert all(word in text for word in ("for all", "Größe", "日本語", "مرحبا")), text
    assert "DejaVuSansMono" in editor.desktop.run("pdffonts", pdf_file)
    editor.desktop.run("pdftoppm", "-r", "192", "-png", pdf_file, tmp_path / "pdf")

    folder = tmp_path / "batch"
    folder.mkdir()
    editor.key("ctrl+e", "Left", "Left", "Return")
    editor.pick("Choose a folder to save 2 files", folder, f"✅ Saved 2/2 files to: {folder}")
    assert sorted(os.listdir(folder)) == ["Fair-01.png", "Fair-02.png"]
    assert (folder / "Fair-01.png").read_bytes() == (tmp_path / "page.png").read_bytes()
    without = Image.open(folder / "Fair-02.png")
    assert without.getpixel((0, 0))[3] == 0, "a transparent page stays transparent"
    assert set(unlike(flat(without, GROUND), seen)) == set(FEATURES), "what was left out would be noticed"

    for number, choices in ((1, ("Tab", "Left", "Tab", "Right")), (2, ("Left", "Left", "Left"))):
        double = Image.open(editor.export(tmp_path / f"{number}.png", *choices))
        assert double.size == (2 * SHEET["width"], 2 * SHEET["height"])
        assert unlike(Image.open(tmp_path / f"pdf-{number}.png"), flat(double)) == {}
        svg_file = editor.export(tmp_path / f"{number}.svg", "Right", "Right", "Right")
        svg = svg_file.read_text(encoding="utf-8")
        assert f'href="{sun}"' in svg and "vector-effect" not in svg, "strokes grow with a drawing"
        drawn = GdkPixbuf.Pixbuf.new_from_file_at_scale(str(svg_file), *double.size, False)
        drawn = Image.frombytes("RGBA", double.size, drawn.get_pixels(), "raw", "RGBA", drawn.get_rowstride())
        assert unlike(flat(drawn), flat(double)) == {} and drawn.getpixel((0, 0))[3] == (255 if number == 1 else 0)
        editor.key("Next")
    lower = [{**o, "top": o["top"] + 1000} for o in plain]
    editor.open(tmp_path / "large.json", project({"objects": lower, "width": 2400, "height": 1800, "background": None}, assets={"sun": sun}))
    large = Image.open(editor.export(tmp_path / "third.png", "Left", "Left", "Left"))  # drawn in strips
    differing = ImageChops.difference(large.crop((0, 2000, double.width, 2000 + double.height)), double)
    assert max(most for _, most in differing.getextrema()) < 3


PART = {**RECT, "left": 0, "top": 0, "width": 1, "height": 1}
VAST = {"type": "Group", "left": 200, "top": 150, "width": 2, "height": 1, "scaleX": 1e4, "scaleY": 1e4, "opacity": 0.5,
        "objects": [PART, {**PART, "left": 1}]}
LONG = {**TEXT, "left": 200, "top": 80, "width": 50, "text": "lorem ipsum " * 80000}


@pytest.mark.parametrize("objects", [[VAST] * 3, [LONG] * 2], ids=["vast groups", "long texts"])
def test_what_cannot_be_seen_takes_no_memory(editor, tmp_path, objects):
    editor.open(tmp_path / "large.json", project({"objects": objects}))
    x, y = editor.at(500, 440)
    wait_for(lambda: set(editor.screen().crop((x, y, x + 50, y + 200)).tobytes()) - {255}, "what is seen of it", 60)
    status = pathlib.Path(f"/proc/{editor.app.page_process()}/status").read_text()
    assert int(re.search(r"VmHWM:\s+(\d+)", status)[1]) < 700 * 1024


def kept(editor, what):
    """Whether the page's own storage holds a text."""
    files = pathlib.Path(editor.env["XDG_DATA_HOME"]).rglob("IndexedDB.sqlite3*")
    return any(what in file.read_bytes() for file in files)


def test_an_image_is_pasted_another_picked_and_both_outlive_a_crash_of_the_page(editor, tmp_path):
    Image.new("RGB", (64, 64), (200, 30, 30)).save(tmp_path / "red.tiff")  # which the engine does not know
    editor.desktop.copy("image/png", png(Image.new("RGB", (300, 200), (20, 160, 60))))
    editor.key("ctrl+v")
    editor.wait_colour((20, 160, 60), 540, 540)
    editor.key("i")
    editor.pick("Select an image to add to canvas", tmp_path / "red.tiff", "✅ Image sent to JavaScript")
    editor.wait_colour((200, 30, 30), 540, 540)
    saved = editor.save(tmp_path / "images.json")
    pasted, picked = saved["pages"][0]["objects"]
    assert (pasted["width"], pasted["height"]) == (300, 200)
    assert saved["assets"][picked["asset"]].startswith("data:image/png;base64,")

    editor.draw("r", (100, 100), (400, 300))
    wait_for(lambda: kept(editor, b"Rect") and kept(editor, picked["asset"].encode()), "the work in the page's storage")
    editor.app.kill_page()
    assert editor.app.quit() == 0

    editor.start_and_restore()
    editor.wait_colour(BLUE, 250, 200)
    restored = editor.save(tmp_path / "restored.json")
    assert restored["assets"] == saved["assets"]
    *objects, drawn = restored["pages"][0]["objects"]
    assert objects == [pasted, picked] and drawn["left"] == pytest.approx(250, abs=3)

    editor.draw("o", (500, 600), (800, 900))
    wait_for(lambda: kept(editor, b"Ellipse"), "the ellipse in the page's storage")
    editor.key("Delete")
    editor.wait_colour(WHITE, 650, 850)
    assert editor.app.quit() == 0  # before the page would have stored the change by itself
    editor.start_and_restore()
    editor.wait_colour(BLUE, 250, 200)
    assert editor.save(tmp_path / "quit.json")["pages"] == restored["pages"]
