"""What a person sees of a start: the screen itself is watched, in the memory that the X server draws it in."""
import mmap
import pathlib
import shutil
import struct
import tempfile
import time

from rig import MEBIBYTE, Program  # first: it knows where the tests' modules are
from application import InstallTree
from desktop import Desktop

MARK = (255, 0, 254)
# Shows a square when the editor has drawn two frames, then drags a shape and changes the square with each frame.
SCRIPT = """
addEventListener("load", () => requestAnimationFrame(() => requestAnimationFrame(() => {
  const square = document.createElement("div");
  square.style.cssText = "position:fixed;right:0;bottom:0;width:32px;height:32px;background:rgb(255,0,254);z-index:99999";
  document.body.append(square);
  setTimeout(() => {
    document.querySelector('[data-command="tool-Rect"]').click();
    const {left, top, width, height} = document.querySelector("#stage").getBoundingClientRect();
    const mouse = (kind, target, x) => target.dispatchEvent(new MouseEvent(kind, {clientX: left + width / 2 + x, clientY: top + height / 2,
      button: 0, buttons: 1, bubbles: true, cancelable: true, view: window}));
    const canvas = document.querySelector(".upper-canvas");
    mouse("mousemove", canvas, 0);
    mouse("mousedown", canvas, 0);
    let frame = 0;
    const move = () => {
      mouse("mousemove", document, 100 * Math.sin(++frame / 20));
      square.style.background = `rgb(${frame & 255},${frame >> 8 & 255},7)`;
      requestAnimationFrame(move);
    };
    move();
  }, 1500);
})));
"""
CHROMIUM = next(filter(None, map(shutil.which, ("chromium", "chromium-browser", "google-chrome"))), None)


class Screen:
    """The pixels of an X server's screen as they change; its file begins with a header of the X window dump format."""

    def __init__(self, desktop):
        with open(pathlib.Path(desktop.home) / "Xvfb_screen0", "rb") as file:
            self._memory = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
        header = struct.unpack(">25I", self._memory[:100])
        self._height, self._line, colours = header[5], header[12], header[19]
        self._start = header[0] + 12 * colours

    def find(self, colour):
        """A place with some pixels of a colour in a row, or None."""
        wanted = [(bytes(reversed(colour)) + unused) * 4 for unused in (b"\0", b"\xff")]
        for y in range(0, self._height, 8):
            line = self._memory[self._start + y * self._line:self._start + (y + 1) * self._line]
            for pattern in wanted:
                at = line.find(pattern)
                if at >= 0 and at % 4 == 0:
                    return at // 4, y
        return None

    def pixel(self, x, y):
        at = self._start + y * self._line + 4 * x
        return self._memory[at:at + 3]


def watch(program, screen, patience=30):
    """Seconds from the start to the square, then frames of the drag a second, and the memory of all processes in MiB."""
    place = None
    while not place:
        assert time.time() - program.started < patience, "nothing was seen"
        time.sleep(0.002)
        place = screen.find(MARK)
    seen = time.time() - program.started
    x, y = place[0] + 4, place[1] + 4
    time.sleep(3)
    frames, last, end = 0, None, time.time() + 3
    while time.time() < end:
        now = screen.pixel(x, y)
        frames, last = frames + (now != last), now
        time.sleep(0.002)
    return seen, frames / 3, program.tree_pss() / MEBIBYTE


def start(build, chromium=False):
    """Starts Quillory, or Chromium with the same page, with nothing left of an earlier run."""
    with tempfile.TemporaryDirectory(prefix="quillory-bench-") as folder, Desktop() as desktop:
        tree = InstallTree(build, pathlib.Path(folder) / "tree", page=None)
        shutil.copytree(build / "share" / "quillory" / "WebContent", tree.page_folder, dirs_exist_ok=True)
        index = tree.page_folder / "index.html"
        index.write_text(index.read_text().replace("</head>", '<script src="mark.js"></script></head>'))
        (tree.page_folder / "mark.js").write_text(SCRIPT)
        command = [tree.binary]
        if chromium:
            command = [CHROMIUM, "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-background-networking", "--disable-sync",
                       "--disable-component-update", f"--user-data-dir={folder}/profile", "--window-size=1152,922", f"--app={index.as_uri()}"]
        homes = {f"XDG_{kind}_HOME": f"{folder}/{kind}" for kind in ("DATA", "CACHE", "CONFIG")}
        with Program(desktop, command, tree.page_folder, homes) as program:
            return watch(program, Screen(desktop))
