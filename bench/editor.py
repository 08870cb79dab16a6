#!/usr/bin/python3
"""Measures the editor page with large documents, in the program itself:

    bench/editor.py BUILD_FOLDER [--beside BUILD_FOLDER] [--rounds N] [JOB…]

The goals are those of an idle machine. The longest jobs run once, unless rounds are asked for. With another build both are measured in turn: a machine is never the same twice, the ratios are what counts. A script in the
page does what a user would and reports when it is done; where a figure needs the panel, the program's log tells of it.
"""
import argparse
import base64
import io
import json
import math
import pathlib
import random
import re
import shutil
import statistics
import tempfile
import time

from PIL import Image

from figures import spread, verdict
from rig import Program
from application import InstallTree
from desktop import Desktop
from programs import Portal

# Runs before the editor's script: it measures the time that frames take and runs the scripts that come as files, by
# elements because the page's policy lets it read no file.
DRIVER = """
let inFrames = 0, rendered = 0;
const request = window.requestAnimationFrame.bind(window);
window.requestAnimationFrame = (callback) => request((time) => {
  const start = performance.now();
  try { callback(time); } finally { inFrames += performance.now() - start; ++rendered; }
});
const frame = () => new Promise((resolve) => request(() => setTimeout(resolve)));
const frames = async (n = 2) => { for (; n > 0; --n) await frame(); };
const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
const until = async (condition) => { while (!condition()) await new Promise((r) => { const c = new MessageChannel(); c.port1.onmessage = r; c.port2.postMessage(0); }); };
const $ = (selector) => document.querySelector(selector);
const report = (id, value) => window.webkit.messageHandlers.nativeDownload.postMessage(
  {filename: `T${id} ` + encodeURIComponent(JSON.stringify(value ?? null)), data: ""});
const key = (name, code, ctrlKey = false) => $("#stage").dispatchEvent(
  new KeyboardEvent("keydown", {key: name, code, ctrlKey, bubbles: true, cancelable: true}));
const middle = () => { const r = $("#stage").getBoundingClientRect(); return [r.left + r.width / 2, r.top + r.height / 2]; };
const mouse = (kind, x, y, target = document) => target.dispatchEvent(new MouseEvent(kind,
  {clientX: x, clientY: y, button: 0, buttons: kind === "mouseup" ? 0 : 1, bubbles: true, cancelable: true, view: window}));
const open = async (text) => {
  const name = JSON.parse(text).name;
  const start = performance.now();
  window.handleNativeFileContent(text);
  await until(() => $("#announcer").textContent.includes(name));
  await frames();
  return performance.now() - start;
};
let page, next = 1;
const drive = async (id, script) => {
  next = id + 1;
  try { report(id, {value: await script()}); } catch (error) { report(id, {error: String(error)}); }
  load();
};
const load = () => {
  const script = document.createElement("script");
  script.src = `script-${page}-${next}.js`;
  script.onerror = () => setTimeout(load, 50);
  script.onload = script.remove;
  script.addEventListener("error", () => script.remove());
  document.head.append(script);
};
addEventListener("load", async () => {
  await frames();
  page = Date.now();
  report("ready", {width: innerWidth, height: innerHeight, page});
  load();
});
"""

PATIENCE = 400


class Page(Program):
    """The program with the editor page and the driver in it."""

    def __init__(self, desktop, portal, build, folder):
        self.portal = portal
        tree = InstallTree(build, folder, page=None)
        shutil.copytree(build / "share" / "quillory" / "WebContent", tree.page_folder, dirs_exist_ok=True)
        index = tree.page_folder / "index.html"
        index.write_text(index.read_text().replace("<script", '<script src="driver.js"></script>\n<script', 1))
        (tree.page_folder / "driver.js").write_text(DRIVER)
        homes = {f"XDG_{kind}_HOME": str(folder / kind) for kind in ("DATA", "CACHE", "CONFIG")}
        super().__init__(desktop, [tree.binary], tree.page_folder, {**Portal.ENVIRONMENT, **homes})
        self.wait_ready()
        self.run_script("await sleep(2000)")  # what the page does at leisure after its start is over by then

    def start_script(self, script):
        return super().start_script(f"drive({self._scripts + 1}, async () => {{ {script} }})")

    def result(self, number):
        line, _ = self.log.wait(re.compile(rf"^📥 Native download requested: T{number} "), timeout=PATIENCE)
        result = self._reported(line)
        if "error" in result:
            raise AssertionError(result["error"])
        return result.get("value")

    def open(self, project):
        return self.run_script(f"return open({json.dumps(json.dumps(project))})")

    def used(self, field="Rss"):
        """MiB that the page's own process has in memory."""
        rollup = pathlib.Path(f"/proc/{self.page_process()}/smaps_rollup").read_text()
        return int(re.search(rf"^{field}:\s+(\d+) kB", rollup, re.M).group(1)) / 1024

    def forget_peak(self):
        pathlib.Path(f"/proc/{self.page_process()}/clear_refs").write_text("5")

    def peak(self):
        status = pathlib.Path(f"/proc/{self.page_process()}/status").read_text()
        return int(re.search(r"^VmHWM:\s+(\d+) kB", status, re.M).group(1)) / 1024


# What is opened

def project(name, objects, width=1080, height=1080, assets=None):
    pages = [{"width": width, "height": height, "background": "#ffffff", "objects": objects}]
    return {"type": "quillory-project", "version": 1, "name": name, "pages": pages, "assets": assets or {}}


def shapes(count, width=1080, height=1080):
    """Objects of all kinds all over the page, and one on top in its middle."""
    randomness = random.Random(count)
    colour = lambda: f"#{randomness.randrange(1 << 24):06x}"
    unit = math.sqrt(width * height / count)
    objects = []
    for i in range(count - 1):
        common = {"left": randomness.uniform(0, width), "top": randomness.uniform(0, height), "angle": randomness.uniform(0, 360),
                  "opacity": randomness.choice((1, 1, 1, 0.6))}
        side = unit * randomness.uniform(0.5, 2)
        paint = {"fill": colour(), "stroke": randomness.choice((None, colour())), "strokeWidth": unit / 12}
        objects.append({**common, **(
            {"type": "Rect", "width": side, "height": side / 2, **paint},
            {"type": "Ellipse", "rx": side / 2, "ry": side / 3, **paint},
            {"type": "Line", "x1": -side, "y1": 0, "x2": side, "y2": 0, "stroke": colour(), "strokeWidth": unit / 12},
            {"type": "Textbox", "text": f"Text {i}", "width": side * 2, "fontSize": unit / 2, "fill": colour(), "strokeWidth": 0},
        )[i % 4]})
    middle = {"type": "Rect", "left": width / 2, "top": height / 2, "width": width / 12, "height": width / 12, "fill": "#c03040",
              "strokeWidth": 0}
    return [*objects, middle]


def long_text(characters):
    words = "the summer fair opens at noon and nobody who came last year would miss it again".split()
    randomness = random.Random(1)
    text = ""
    while len(text) < characters:
        text += randomness.choice(words) + (".\n" if randomness.random() < 0.02 else " ")
    return [{"type": "Textbox", "left": 540, "top": 540, "width": 1000, "text": text[:characters], "fontSize": 12,
             "fontFamily": "serif", "fill": "#202020", "strokeWidth": 0}]


def photo():
    """A picture of 24 megapixels as a camera makes it, as a data URL."""
    small = Image.effect_noise((600, 400), 90).convert("RGB")
    file = io.BytesIO()
    small.resize((6000, 4000), Image.Resampling.BICUBIC).save(file, "JPEG", quality=85)
    return "data:image/jpeg;base64," + base64.b64encode(file.getvalue()).decode()


def poster(name, side):
    """A photo all over the page, with shapes and texts on it."""
    picture = {"type": "Image", "asset": "photo", "left": side / 2, "top": side / 2, "width": 6000, "height": 4000,
               "scaleX": side / 4000, "scaleY": side / 4000, "strokeWidth": 0}
    return project(name, [picture, *shapes(200, side, side)], side, side, {"photo": photo()})


# The jobs: each gives its figures by name

DRAG = """
const [x, y] = middle(), canvas = $(".upper-canvas");
mouse("mousemove", x, y, canvas); mouse("mousedown", x, y, canvas);
await frames();
const times = [];
const began = performance.now();
for (let i = 1; i <= %d; ++i) {
  inFrames = 0;
  const start = performance.now();
  mouse("mousemove", x + i * 3, y + i * 2);
  const moved = performance.now() - start;
  await frame();
  times.push(moved + inFrames);
}
const took = performance.now() - began;
mouse("mouseup", x + %d * 3, y + %d * 2);
times.sort((a, b) => a - b);
await frames(4);
return [times[times.length >> 1], 1000 * times.length / took];
"""
UNDO = """
const button = $('[data-command="undo"]');
if (button.disabled) throw "nothing to undo";
const start = performance.now();
key("z", "KeyZ", true);
await until(() => button.disabled);
await frames();
return performance.now() - start;
"""


def objects(count):
    def run(page):
        name = f"{count:,} objects"
        opened = page.open(project(name, shapes(count)))
        drag, rate = page.run_script(DRAG % (30, 30, 30))
        page.run_script("await sleep(1500)")
        undone = page.run_script(UNDO)
        return {f"{name}: opening": (opened, "ms"), f"{name}: script per frame of a drag": (drag, "ms"),
                f"{name}: frames of a drag": (rate, "1/s"), f"{name}: undo": (undone, "ms")}
    return run


def typing(page):
    page.open(project("Long text", long_text(11000)))
    middle = page.run_script("""
const [x, y] = middle(), canvas = $(".upper-canvas");
for (let i = 0; i < 2; ++i) { mouse("mousedown", x, y, canvas); mouse("mouseup", x, y); await frames(); }
const area = document.activeElement;
if (area.tagName !== "TEXTAREA") { $("#stage").focus(); key("Enter", "Enter"); await frames(); }
const times = [];
const field = $("textarea[data-fabric], textarea");
field.focus(); field.setSelectionRange(5000, 5000); field.dispatchEvent(new KeyboardEvent("keyup", {key: "ArrowRight"}));
for (let i = 0; i < 15; ++i) {
  await sleep(30);
  inFrames = 0;
  const start = performance.now();
  document.execCommand("insertText", false, "x"); // as a key does
  const typed = performance.now() - start;
  await frames();
  times.push(typed + inFrames);
}
times.sort((a, b) => a - b);
return times[times.length >> 1];
""")
    return {"Typing in 11,000 characters: a key": (middle, "ms")}


EXPORT = """
$('[data-command="export"]').click();
await sleep(50);
$('#export input[name="scale"][value="%d"]').checked = true;
const start = Date.now();
$("#export-ok").click();
return start;
"""


def png(side):
    scale = 1 if side <= 8192 else 2

    def run(page):
        name = f"PNG of {side}²"
        page.open(poster(name, side // scale))
        page.forget_peak()
        before = page.used()
        start = page.run_script(EXPORT % scale)
        posted = page.log.time_of(re.compile("Native download requested: PNG"))
        return {name: (posted * 1000 - start, "ms"), f"{name}: memory at the peak, above that before": (page.peak() - before, "MiB")}
    return run


def cancel(page):
    page.open(poster("Cancelled", 8192))
    late = page.run_script(EXPORT.replace("return start;", """
await sleep(0);
const dialog = $("#progress");
const wanted = performance.now() + 1500;
await sleep(1500);
if (!dialog.open) throw "the export was over";
dialog.querySelector("button").click();
await frames();
return performance.now() - wanted;
""") % 1)
    time.sleep(10)
    assert not any("requested: Cancelled" in line for line in page.log.lines), "what was cancelled was saved"
    return {"Cancel of an export": (late, "ms")}


def photos(page):
    picture = photo()
    shown = [{"type": "Image", "asset": "photo", "left": 540, "top": 540, "width": 6000, "height": 4000, "scaleX": 0.15, "scaleY": 0.15,
              "strokeWidth": 0}]
    before = page.used()
    figures = {}
    for i in range(1, 8):  # as a user does: what comes as a script of the driver's would stay in the engine's cache of scripts
        file = page.page_folder.parent / f"photo-{i}.json"
        file.write_text(json.dumps(project(f"Photo {i}", shown, assets={"photo": picture})))
        opened = page.start_script(f"""
$('[data-command="open"]').click();
while (!$("#announcer").textContent.includes("Photo {i}")) await sleep(50);
await sleep(1000);""")
        page.portal.choose(file)
        page.result(opened)
        if i in (1, 7):
            figures[f"Photo of 24 megapixels: memory after {i}×"] = (page.used() - before, "MiB")
    settled = []
    for _ in range(8):  # the engine collects what nobody holds when it sees fit
        time.sleep(5)
        settled.append(page.used() - before)
    name = "Photo of 24 megapixels: memory"
    figures[f"{name} within 40 s after 7×, beyond that after 1×"] = (min(settled) - figures[f"{name} after 1×"][0], "MiB")
    return figures


JOBS = {"objects-1000": objects(1000), "objects-5000": objects(5000), "typing": typing, "png-4096": png(4096), "png-8192": png(8192),
        "png-16384": png(16384), "cancel": cancel, "photos": photos}

ONCE = ("png-16384", "photos")
GOALS = {
    "1,000 objects: opening": 300, "1,000 objects: script per frame of a drag": 8, "1,000 objects: undo": 50,
    "5,000 objects: opening": 1500, "5,000 objects: script per frame of a drag": 16, "5,000 objects: undo": 200,
    "Typing in 11,000 characters: a key": 16, "PNG of 4096²": 3000, "PNG of 8192²": 12_000, "PNG of 16384²": 48_000,
    "Cancel of an export": 200, "Photo of 24 megapixels: memory within 40 s after 7×, beyond that after 1×": 10,
}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--beside", type=pathlib.Path)
    parser.add_argument("--rounds", type=int)
    parser.add_argument("job", nargs="*")
    options = parser.parse_intermixed_args()
    builds = [build.resolve() for build in (options.build, options.beside) if build]
    print("| | Unit | Median (spread) |" + (" Beside it | Ratio |" if options.beside else "") + " Goal | |")
    print("|---|---|---|" + ("---|---|" if options.beside else "") + "---|---|")
    for name, job in JOBS.items():
        if options.job and not any(name.startswith(wanted) for wanted in options.job):
            continue
        results = {}
        for _ in range(options.rounds or (1 if name in ONCE else 3)):
            for number, build in enumerate(builds):
                with tempfile.TemporaryDirectory(prefix="quillory-bench-") as folder, Desktop() as desktop:
                    portal = Portal(desktop)
                    with Page(desktop, portal, build, pathlib.Path(folder) / "tree") as page:
                        for figure, (value, unit) in job(page).items():
                            results.setdefault((figure, unit), [[] for _ in builds])[number].append(value)
                    portal.kill()
        for (figure, unit), columns in results.items():
            ratio = f" {statistics.median(columns[0]) / statistics.median(columns[1]):.2f} |" if len(columns) > 1 else ""
            goal = GOALS.get(figure)
            limit = "" if goal is None else f"≤ {goal:g}"
            print(f"| {figure} | {unit} | {' | '.join(map(spread, columns))} |{ratio} {limit} | {verdict(columns[0], goal)} |", flush=True)


if __name__ == "__main__":
    main()
