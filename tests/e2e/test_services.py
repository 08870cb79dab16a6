"""What the page can ask for: saving one file or many, opening projects and images, and the calls that answer."""
import base64
import io
import itertools
import json
import os
import re

import pytest
from PIL import Image

from desktop import Desktop, wait_for
from programs import KeyWindow, Portal

PROJECT, IMAGE = "Select a Quillory project file", "Select an image to add to canvas"
SENT = "✅ File content sent to JavaScript"


def download(name, content):
    return {"filename": name, "data": "data:application/octet-stream;base64," + base64.b64encode(content).decode()}


def test_the_toolkits_own_panels(app, desktop, tmp_path):
    target = tmp_path / "logo.png"
    start = app.post("nativeDownload", download("logo.png", b"first"))
    desktop.answer_panel("Save", target)
    app.log.wait(f"✅ File saved to: {target}")
    assert app.own_lines(start) == ["📥 Native download requested: logo.png", "✅ Decoded 5 bytes", f"✅ File saved to: {target}"]
    # The panel asks before it replaces a file.
    app.post("nativeDownload", download("logo.png", b"second, longer"))
    desktop.answer_panel("Save", target, replace=True)
    wait_for(lambda: target.read_bytes() == b"second, longer", "the file to be replaced")

    for message, title, name in (("nativeFilePicker", PROJECT, "File"), ("nativeImagePicker", IMAGE, "Image")):
        app.post(message, {"any": ["body"]})
        desktop.answer_panel(title, target)
        assert app.received()[0][0] == name

    folder = tmp_path / "chosen"
    folder.mkdir()
    (folder / "b.txt").write_text("old")
    files = [download("a.txt", b"A"), download("b.txt", b"B"), {"filename": "c.txt"}, download("../d.txt", b"D")]
    start = app.post("nativeBatchDownload", {"files": files})
    desktop.answer_panel("Choose a folder to save 4 files", folder)
    app.log.wait(f"✅ Saved 2/4 files to: {folder}")
    assert app.own_lines(start) == ["📥 Batch download requested: 4 files",
                                    "❌ Error saving ../d.txt: The name leads out of the chosen folder",
                                    f"✅ Saved 2/4 files to: {folder}"]
    assert {path.name: path.read_text() for path in folder.iterdir()} == {"a.txt": "A", "b.txt": "B"}

    for message, body, title in (("nativeDownload", download("other.png", b"third"), "Save"), ("nativeFilePicker", None, PROJECT),
                                 ("nativeBatchDownload", {"files": files}, "Choose a folder to save 4 files")):
        start = app.post(message, body)
        desktop.cancel_panel(title)
        app.run_script("return 1")
        assert not [line for line in app.own_lines(start) if re.search("saved|loaded|❌", line)]
    assert not (tmp_path / "other.png").exists()


def test_panels_say_what_they_are_for(shell, portal):
    def shown(message, body=None):
        shell.post(message, body)
        panel = portal.choose()
        options = panel["options"]
        suffixes = {re.sub(r"\[(.)[A-Z]\]", r"\1", p).removeprefix("*.")
                    for _, patterns in options.get("filters", []) for kind, p in patterns if kind == 0}
        return panel["method"], panel["title"], suffixes, {
            name: options[name] for name in ("current_name", "accept_label", "multiple", "directory") if options.get(name)}
    assert shown("nativeDownload", download("Logo.PNG", b"x")) == ("SaveFile", "Save", {"png"}, {"current_name": "Logo.PNG"})
    assert shown("nativeDownload", download("notes.txt", b"x")) == ("SaveFile", "Save", set(), {"current_name": "notes.txt"})
    assert shown("nativeFilePicker") == ("OpenFile", PROJECT, {"json"}, {})
    assert shown("nativeImagePicker") == (
        "OpenFile", IMAGE, {"png", "jpg", "jpeg", "gif", "webp", "heic", "bmp", "tif", "tiff"}, {})
    assert shown("nativeBatchDownload", {"files": [{}]}) == (
        "OpenFile", "Choose a folder to save 1 files", set(), {"accept_label": "Save Here", "directory": 1})


def test_the_page_looks_as_the_desktop_prefers(launch, portal):
    red, green, none = (1.0, 0.0, 0.0), (0.0, 0.5, 0.25), (-1.0, -1.0, -1.0)
    portal.prefer(1, red)
    app = launch()
    for shown, scheme, accent in (([True, "rgb(255,0,0)"], 2, green), ([False, "rgb(0,128,64)"], 1, none), ([True, ""], 0, red),
                                  ([False, "rgb(255,0,0)"], 0, red)):
        wait_for(lambda: app.run_script("""return [matchMedia("(prefers-color-scheme: dark)").matches,
            getComputedStyle(document.documentElement).getPropertyValue("--desktop-accent")]""") == shown, shown)
        portal.prefer(scheme, accent)


def test_each_request_has_a_panel_of_its_own(shell, portal, tmp_path):
    shell.run_script("""for (let i = 1; i < 4; ++i) {
        post('nativeDownload', {filename: `${i}.txt`, data: ',' + btoa(String(i))});
        post('nativeBatchDownload', {files: Array(i).fill({filename: `of batch ${i}`, data: ',' + btoa(String(i))})});
    }""")
    for panel in reversed([portal.wait_panel() for _ in range(6)]):
        name = panel["options"].get("current_name", "")
        number = name[:1] or re.search(r"\d", panel["title"]).group()
        portal.answer(panel, tmp_path / name)
        shell.log.wait(re.compile(rf"^✅ (File saved|Saved {number}/{number} files) to: {tmp_path / name}$"))
        assert (tmp_path / (name or f"of batch {number}")).read_text() == number


def test_a_page_that_asks_saves_in_place_until_it_is_loaded_anew(shell, portal, tmp_path):
    target = tmp_path / "plan.txt"

    def start(content, **keys):
        return shell.start_script(f"""
            const got = new Promise((resolve) => {{ window.handleNativeResult = (text) => resolve(JSON.parse(text)); }});
            post("nativeDownload", {json.dumps(download("a.txt", content) | {"reply": "it's 1"} | keys)});
            return got;""")

    number = start(b"first")
    portal.choose(target)
    saved = shell.result(number)
    assert saved == {"reply": "it's 1", "result": "saved", "name": "plan.txt", "file": saved["file"]}
    inode = target.stat().st_ino
    assert shell.result(start(b"second", file=saved["file"])) == saved
    assert (target.read_bytes(), target.stat().st_ino) == (b"second", inode)
    shell.load_anew()
    start(b"third", file=saved["file"])
    shell.log.wait("❌ Error saving file: The page has no such file")
    assert target.read_bytes() == b"second"
    assert shell.own_errors() == []


def test_a_document_is_printed_and_runs_no_code(shell, portal, tmp_path):
    html = "<title>Plan</title><p>one</p><p style='height: 1px'>two<script>document.body.innerHTML = ''</script></p>"
    number = shell.start_script(f"""
        const print = (sizes) => fetch("quillory:pdf?" + sizes, {{method: "POST", body: new TextEncoder().encode({json.dumps(html)})}});
        const refused = await Promise.all(["", "1x1", "1x1,1x1,1x1"].map(print));
        const pdf = new Uint8Array(await (await print("200x100,61x350")).arrayBuffer());
        post("nativeDownload", {{filename: "a.pdf", data: "data:application/pdf;base64," + pdf.toBase64()}});
        return refused.map((answer) => answer.status);""")
    portal.choose(tmp_path / "a.pdf")
    assert shell.result(number) == [400, 500, 500]
    info = wait_for(lambda: (tmp_path / "a.pdf").exists() and shell.desktop.run("pdfinfo", "-l", "2", tmp_path / "a.pdf"), "the file")
    assert re.search(r"Plan\n[^$]*Pages: +2\n[^$]* 1 size: +200 x 100 pts\n[^$]* 2 size: +61 x 350 pts\n", info), info
    assert shell.desktop.run("pdftotext", tmp_path / "a.pdf", "-").split() == ["one", "two"]


def test_a_page_call_logs_how_the_function_ended(shell, portal, tmp_path):
    (tmp_path / "p.json").write_text("{}")
    for function, line in (
            ("() => { throw new Error('broken\\nin two lines'); }", r"^❌ JavaScript error: \S+ \d+: .*broken\\nin two lines"),
            ("undefined", r"^❌ JavaScript error: \S+ \d+: .*TypeError"),
            ("async () => { await null; throw new Error('later'); }", f"^{SENT}$"),
            *((f"() => {value}", f"^{SENT}$") for value in ("Promise.resolve(1)", "document.body", "window", "Symbol('x')"))):
        shell.run_script(f"window.handleNativeFileContent = {function}")
        start = shell.post("nativeFilePicker", None)
        portal.choose(tmp_path / "p.json")
        shell.log.wait("✅ File loaded: p.json", after=start)
        _, place = shell.log.wait(re.compile(line), after=start)
        assert shell.own_lines(start)[2:] == [shell.log.lines[place]]
    shell.run_script("delete window.handleNativeImageContent")
    shell.post("nativeImagePicker", None)
    portal.choose(tmp_path / "p.json")
    shell.log.wait(re.compile("^❌ JavaScript error: "))
    shell.run_script("post('nativeCopy', {data: 'x'}); delete window.handleNativePasteContent; post('nativePaste', null)")
    shell.log.wait(re.compile(r"^❌ JavaScript paste error: \S+ \d+: .*TypeError"))


def test_a_page_fetches_what_the_engine_cannot_give_it(app, desktop):
    tiff = io.BytesIO()
    Image.new("RGB", (60, 40), (20, 160, 60)).save(tiff, "TIFF")
    fonts, png, *statuses = app.run_script(f"""
        const convert = (bytes) => fetch("quillory:png", {{method: "POST", body: new Uint8Array(bytes)}});
        return [await (await fetch("quillory:fonts")).json(), [...new Uint8Array(await (await convert({list(tiff.getvalue())})).arrayBuffer())],
            (await convert([1, 2, 3])).status, (await fetch("quillory:png")).status, (await fetch("quillory:other")).status,
            (await fetch("quillory:copied")).status];
    """)
    installed = {line.split(",")[0] for line in desktop.run("fc-list", ":outline", "family").splitlines()}
    assert fonts == sorted(set(fonts)) and len(fonts) > 5 and {f.replace("\\-", "-") for f in installed} >= set(fonts)
    picture = Image.open(io.BytesIO(bytes(png)))
    assert (picture.format, picture.size, picture.getpixel((30, 20))) == ("PNG", (60, 40), (20, 160, 60))
    assert statuses == [415, 415, 404, 410] and app.own_lines() == []


def test_dropped_files_reach_the_page(app, desktop, tmp_path):
    names = {"n.txt": b"left alone", "a.jpg": b"jpeg", "p.json": b"{}"}
    for name, content in names.items():
        (tmp_path / name).write_bytes(content)
    app.run_script("window.drags = 0; addEventListener('dragenter', () => ++drags)")
    with KeyWindow(desktop) as source:
        source.tell("files", *(str(tmp_path / name) for name in names))
        source.log.wait("files")
        desktop.run("xdotool", "windowmove", "--sync", source.window, "2", "2")
        desktop.run("xdotool", "mousemove", "60", "60", "mousedown", "1")
        # The pointer moves on, as a hand would, until the page takes the files.
        steps = itertools.count(70, 5)
        wait_for(lambda: desktop.run("xdotool", "mousemove", *[str(next(steps) % 700)] * 2) or "accepted" in source.log.lines,
                 "the files to be taken")
        desktop.run("xdotool", "mouseup", "1")
        app.log.wait(SENT)
        assert app.own_lines() == ["✅ Image loaded: a.jpg", "✅ File loaded: p.json", "✅ Image sent to JavaScript", SENT]
        assert app.run_script("return received") == [
            ["Image", "data:image/jpeg;base64," + base64.b64encode(b"jpeg").decode()], ["File", "{}"]]
        at = (next(steps) - 5) % 700
        page = desktop.geometry("Quillory")
        places = app.run_script("const ask = () => fetch('quillory:dropped'); return [await (await ask()).json(), (await ask(), await ask(), await ask()).status]")
        assert places == [{"clientX": at - page["X"], "clientY": pytest.approx(at - page["Y"], abs=40)}, 410]  # below the menu bar
        assert app.run_script("return [document.title, drags]") == ["Test page", 0], "the engine took part"
        # A source that is told "move" deletes the files.
        source.log.wait("ended: copy")


def test_the_desktops_own_portal(launch, tmp_path):
    """A panel as a sandboxed program sees it: shown by the desktop's portal and its GTK backend."""
    with Desktop() as desktop:
        desktop.start_portal("gtk", "/usr/libexec/xdg-desktop-portal-gtk", XDG_CURRENT_DESKTOP="GNOME")
        app = launch(env=Portal.ENVIRONMENT, on=desktop)

        start = app.post("nativeDownload", download("cancelled.png", b"hello"))
        pid = desktop.run("xdotool", "getwindowpid", desktop.wait_window("Save")).strip()
        assert os.path.basename(os.readlink(f"/proc/{pid}/exe")) == "xdg-desktop-portal-gtk"
        desktop.cancel_panel("Save")
        # The next request is answered as if there had been none.
        app.post("nativeDownload", download("picture.png", b"hello"))
        desktop.answer_panel("Save", tmp_path / "saved.png")
        app.log.wait(f"✅ File saved to: {tmp_path}/saved.png")
        assert (tmp_path / "saved.png").read_bytes() == b"hello"
        assert len([line for line in app.own_lines(start) if "saved" in line]) == 1
