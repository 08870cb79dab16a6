"""Opening project and image files, saving batches, and the calls into the page that answer."""
import base64
import json
import os
import re

import pytest

from desktop import wait_for
from programs import Portal
from test_download import data_url

MIXED = "quotes ' \" and \\ backslashes \\' \\n\nline\r\nbreaks\rtabs\t\u2028\u2029 NUL \0 end, \U0001F58A\uFE0F äöü 日本 \x7f \x01 ${x} </script>"


@pytest.fixture
def shell(launch):
    return launch(env=Portal.ENVIRONMENT)


def received(app):
    return app.run_script("""
        while (received.length === 0) await new Promise((resolve) => setTimeout(resolve, 10));
        return received.splice(0);
    """)


def test_project_with_the_real_panel(app, desktop, tmp_path):
    project = tmp_path / "drawing.json"
    project.write_text('{"objects": []}')
    start = app.post("nativeFilePicker", None)
    desktop.answer_panel("Select a Quillory project file", project)
    app.log.wait("✅ File content sent to JavaScript")
    assert app.own_lines(start) == ["📂 Native file picker requested", "✅ File loaded: drawing.json",
                                    "✅ File content sent to JavaScript"]
    assert received(app) == [["File", '{"objects": []}']]

    start = app.post("nativeFilePicker", {"any": ["body"]})
    desktop.cancel_panel("Select a Quillory project file")
    app.run_script("return 1")
    assert app.own_lines(start) == ["📂 Native file picker requested"]


@pytest.mark.parametrize("text", ["", MIXED, "\ufeff{}", "not JSON", "'" * 1000, "\\" * 1001, "\r\n" * 500])
def test_project_text_reaches_the_page_byte_for_byte(shell, portal, tmp_path, text):
    project = tmp_path / "a project.json"
    project.write_bytes(text.encode())
    shell.post("nativeFilePicker", None)
    portal.choose(project)
    shell.log.wait("✅ File content sent to JavaScript")
    assert received(shell) == [["File", text]]


def test_files_that_cannot_be_read(shell, portal, tmp_path):
    invalid = tmp_path / "invalid.json"
    invalid.write_bytes(b"overlong \xc0\xaf")
    pipe = tmp_path / "pipe.json"
    os.mkfifo(pipe)
    for path, error in ((invalid, "The file is not valid UTF-8 text"), (pipe, "Not a regular file"),
                        ("/dev/zero", "Not a regular file"), (tmp_path / "gone.json", "No such file or directory")):
        start = shell.post("nativeFilePicker", None)
        portal.choose(path)
        shell.log.wait(f"❌ Error reading file: {error}", after=start)
    shell.desktop.wait_window("“invalid.json” was not opened")
    start = shell.post("nativeImagePicker", None)
    portal.choose(pipe)
    shell.log.wait("❌ Error reading image: Not a regular file", after=start)
    assert shell.run_script("return received.length") == 0


def test_images_come_with_their_bytes_and_the_type_of_their_name(shell, portal, tmp_path):
    for name, mime_type, content in (("Photo.JPG", "image/jpeg", b"\xff\xd8 not really"), ("scan.tif", "image/tiff", b"x"),
                                     ("empty.png", "image/png", b""), ("a.heic", "image/heic", bytes(range(256)))):
        (tmp_path / name).write_bytes(content)
        start = shell.post("nativeImagePicker", None)
        portal.choose(tmp_path / name)
        shell.log.wait("✅ Image sent to JavaScript", after=start)
        assert shell.own_lines(start) == ["🖼️ Native image picker requested", f"✅ Image loaded: {name}",
                                          "✅ Image sent to JavaScript"]
        assert received(shell) == [["Image", f"data:{mime_type};base64,{base64.b64encode(content).decode()}"]]


def test_image_with_the_real_panel(app, desktop, tmp_path):
    (tmp_path / "a.png").write_bytes(b"content")
    app.post("nativeImagePicker", None)
    desktop.answer_panel("Select an image to add to canvas", tmp_path / "a.png")
    app.log.wait("✅ Image sent to JavaScript")


def test_open_panels_say_what_they_are_for(shell, portal):
    def suffixes(panel):
        (_, patterns), = panel["options"]["filters"]
        return {re.sub(r"\[(.)[A-Z]\]", r"\1", p).removeprefix("*.") for kind, p in patterns if kind == 0}
    shell.post("nativeFilePicker", None)
    panel = portal.choose()
    assert (panel["method"], panel["title"]) == ("OpenFile", "Select a Quillory project file")
    assert suffixes(panel) == {"json"}
    shell.post("nativeImagePicker", None)
    panel = portal.choose()
    assert (panel["method"], panel["title"]) == ("OpenFile", "Select an image to add to canvas")
    assert suffixes(panel) == {"png", "jpg", "jpeg", "gif", "webp", "heic", "bmp", "tif", "tiff"}
    assert not panel["options"].get("multiple")
    shell.post("nativeBatchDownload", {"files": [{}]})
    panel = portal.choose()
    assert (panel["title"], panel["options"]["accept_label"]) == ("Choose a folder to save 1 files", "Save Here")
    assert panel["options"]["directory"] == 1


def test_a_page_call_logs_how_the_function_ended(shell, portal, tmp_path):
    project = tmp_path / "p.json"
    project.write_text("{}")
    image = tmp_path / "p.png"
    image.write_text("")
    good = "✅ File content sent to JavaScript"
    for function, line in (
            ("() => { throw new Error('broken\\nin two lines'); }", r"^❌ JavaScript error: \S+ \d+: .*broken\\nin two lines"),
            ("undefined", r"^❌ JavaScript error: \S+ \d+: .*TypeError"),
            ("async () => { await null; throw new Error('later'); }", f"^{good}$"),
            ("() => Promise.resolve(1)", f"^{good}$"),
            ("() => document.body", f"^{good}$"),
            ("() => window", f"^{good}$"),
            ("() => Symbol('x')", f"^{good}$")):
        shell.run_script(f"window.handleNativeFileContent = {function}")
        start = shell.post("nativeFilePicker", None)
        portal.choose(project)
        shell.log.wait("✅ File loaded: p.json", after=start)
        _, place = shell.log.wait(re.compile(line), after=start)
        assert shell.own_lines(start)[2:] == [shell.log.lines[place]]
    shell.run_script("delete window.handleNativeImageContent")
    shell.post("nativeImagePicker", None)
    portal.choose(image)
    shell.log.wait(re.compile("^❌ JavaScript error: "))
    shell.run_script("post('nativeCopy', {data: 'x'}); delete window.handleNativePasteContent; post('nativePaste', null)")
    shell.log.wait(re.compile(r"^❌ JavaScript paste error: \S+ \d+: .*TypeError"))


def test_batch_with_the_real_panel(app, desktop, tmp_path):
    folder = tmp_path / "chosen"
    folder.mkdir()
    (folder / "b.txt").write_text("old")
    files = [{"filename": "a.txt", "data": data_url(b"A")}, {"filename": "b.txt", "data": data_url(b"B")},
             {"filename": "c.txt"}, {"filename": "../d.txt", "data": data_url(b"D")}]
    start = app.post("nativeBatchDownload", {"files": files})
    desktop.answer_panel("Choose a folder to save 4 files", folder)
    app.log.wait(f"✅ Saved 2/4 files to: {folder}")
    assert app.own_lines(start) == ["📥 Batch download requested: 4 files",
                                    "❌ Error saving ../d.txt: The name leads out of the chosen folder",
                                    f"✅ Saved 2/4 files to: {folder}"]
    assert {path.name: path.read_text() for path in folder.iterdir()} == {"a.txt": "A", "b.txt": "B"}

    start = app.post("nativeBatchDownload", {"files": files})
    desktop.cancel_panel("Choose a folder to save 4 files")
    app.run_script("return 1")
    assert app.own_lines(start) == ["📥 Batch download requested: 4 files"]


def test_two_batches_have_a_panel_each(shell, portal, tmp_path):
    for name in ("one", "two"):
        (tmp_path / name).mkdir()
        shell.post("nativeBatchDownload", {"files": [{"filename": name, "data": data_url(name.encode())}] * (1 + (name == "two"))})
    first, second = portal.wait_panel(), portal.wait_panel()
    portal.answer(second, tmp_path / "two")
    shell.log.wait(f"✅ Saved 2/2 files to: {tmp_path / 'two'}")
    portal.answer(first, tmp_path / "one")
    shell.log.wait(f"✅ Saved 1/1 files to: {tmp_path / 'one'}")
    assert (tmp_path / "two" / "two").read_text() == "two"


def test_a_batch_needs_the_memory_of_one_file(shell, portal, tmp_path):
    shell.run_script("""
        const data = ',' + 'QUJD'.repeat((1 << 20) / 3);
        post('nativeBatchDownload', {files: Array.from({length: 200}, (_, i) => ({filename: `${i}.bin`, data: data + 'QUJD'}))});
    """)
    panel = portal.wait_panel()
    before = shell.memory()
    portal.answer(panel, tmp_path)
    shell.log.wait(f"✅ Saved 200/200 files to: {tmp_path}")
    # The peak grows by a few decoded files at most, not by all of them.
    assert shell.memory() - before < 32 << 20
    assert {path.stat().st_size for path in tmp_path.glob("*.bin")} == {(1 << 20) // 3 * 3 + 3}
