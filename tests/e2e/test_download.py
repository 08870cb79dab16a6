"""Saving one exported file, with the real panel and a real disk."""
import base64
import hashlib
import json
import re

from desktop import wait_for
from programs import Portal


def data_url(content):
    return "data:application/octet-stream;base64," + base64.b64encode(content).decode()


def download(name, content):
    return {"filename": name, "data": data_url(content)}


def test_save_replace_and_cancel(app, desktop, tmp_path):
    target = tmp_path / "logo.png"
    start = app.post("nativeDownload", download("logo.png", b"first"))
    desktop.answer_panel("Save", target)
    app.log.wait(f"✅ File saved to: {target}")
    assert app.own_lines(start)[:3] == ["📥 Native download requested: logo.png", "✅ Decoded 5 bytes",
                                        f"✅ File saved to: {target}"]
    assert target.read_bytes() == b"first"

    # The panel asks before it replaces a file.
    app.post("nativeDownload", download("logo.png", b"second, longer"))
    desktop.answer_panel("Save", target, replace=True)
    wait_for(lambda: target.read_bytes() == b"second, longer", "the file to be replaced")

    start = app.post("nativeDownload", download("other.png", b"third"))
    desktop.cancel_panel("Save")
    app.run_script("return 1")
    assert app.own_lines(start) == ["📥 Native download requested: other.png", "✅ Decoded 5 bytes"]
    assert sorted(path.name for path in tmp_path.glob("*.png")) == ["logo.png"]


def test_panel_says_what_is_saved(launch, portal):
    app = launch(env=Portal.ENVIRONMENT)
    app.post("nativeDownload", download("Logo.PNG", b"x"))
    panel = portal.choose()
    assert (panel["method"], panel["title"], panel["options"]["current_name"]) == ("SaveFile", "Save", "Logo.PNG")
    patterns = [pattern for _, pattern in panel["options"]["filters"][0][1]]
    assert "image/png" in patterns and any(re.fullmatch(r"\*\.\[pP\]\[nN\]\[gG\]", p) for p in patterns)
    app.post("nativeDownload", download("notes.txt", b"x"))
    assert not portal.choose()["options"].get("filters")


def test_downloads_asked_for_together_have_a_panel_each(launch, portal, tmp_path):
    app = launch(env=Portal.ENVIRONMENT)
    app.run_script(f"for (let i = 0; i < 5; ++i) post('nativeDownload', {{filename: `${{i}}.txt`, data: ',' + btoa(String(i))}})")
    panels = [portal.wait_panel() for _ in range(5)]
    for panel in reversed(panels):
        name = panel["options"]["current_name"]
        portal.answer(panel, tmp_path / name)
        app.log.wait(f"✅ File saved to: {tmp_path / name}")
        assert (tmp_path / name).read_text() == name[0]


def test_a_page_that_asks_saves_in_place_until_it_is_loaded_anew(launch, portal, tmp_path):
    app = launch(env=Portal.ENVIRONMENT)
    target = tmp_path / "plan.txt"

    def start(content, **keys):
        return app.start_script(f"""
            const got = new Promise((resolve) => {{ window.handleNativeResult = (text) => resolve(JSON.parse(text)); }});
            post("nativeDownload", {json.dumps(download("a.txt", content) | {"reply": "it's 1"} | keys)});
            return got;""")

    number = start(b"first")
    portal.choose(target)
    saved = app.result(number)
    assert saved == {"reply": "it's 1", "result": "saved", "name": "plan.txt", "file": saved["file"]}
    inode = target.stat().st_ino
    assert app.result(start(b"second", file=saved["file"])) == saved
    assert (target.read_bytes(), target.stat().st_ino) == (b"second", inode)

    for script in app.page_folder.glob("script-*.js"):
        script.unlink()
    lines = len(app.log.lines)
    app.start_script("location.reload()")
    app.wait_ready(lines)
    app.forget_scripts()
    start(b"third", file=saved["file"])
    app.log.wait("❌ Error saving file: The page has no such file", lines)
    assert target.read_bytes() == b"second"
    assert app.own_errors() == []


def test_hundreds_of_mebibytes_byte_for_byte(launch, portal, tmp_path):
    app = launch(env=Portal.ENVIRONMENT)
    target = tmp_path / "large.bin"
    size = 300 << 20
    app.start_script(f"""
        const bytes = new Uint8Array({size});
        for (let i = 0, x = 1; i < bytes.length; i += 4093) {{
            x = (Math.imul(x, 1103515245) + 12345) >>> 0;
            bytes[i] = x >>> 16;
        }}
        post('nativeDownload', {{filename: 'large.bin', data: 'data:;base64,' + bytes.toBase64()}});
    """)
    app.log.wait(f"✅ Decoded {size} bytes", timeout=120)
    portal.choose(target)
    app.log.wait(f"✅ File saved to: {target}", timeout=120)
    expected = bytearray(size)
    x = 1
    for i in range(0, size, 4093):
        x = (x * 1103515245 + 12345) & 0xFFFFFFFF
        expected[i] = x >> 16 & 0xFF
    assert hashlib.sha256(target.read_bytes()).digest() == hashlib.sha256(expected).digest()


NAMES_OF_ANY_KIND = {
    "line\nbreak\r\tand tab.txt": "line\\nbreak\\r\\tand tab.txt",
    "nul\0 escape\x1b[31m next\x85line": "nul\\x00 escape\\x1b[31m next\\x85line",
    "✅ File saved to: /etc/passwd": "✅ File saved to: /etc/passwd",
    "": "",
    "a/b.png": "a/b.png",
    "名前 ü.png": "名前 ü.png",
}


def test_one_event_is_one_line(launch, portal):
    app = launch(env=Portal.ENVIRONMENT)
    for name, logged in NAMES_OF_ANY_KIND.items():
        start = app.post("nativeDownload", download(name, b"abc"))
        portal.choose()
        assert app.own_lines(start)[:2] == [f"📥 Native download requested: {logged}", "✅ Decoded 3 bytes"]
    app.run_script("post('nativeDownload', {filename: 'lone \\uD800 surrogate', data: ','})")
    app.log.wait("📥 Native download requested: lone \ufffd surrogate")


def test_refused_bodies(app):
    cases = {
        "nativeDownload": ("❌ Invalid download message",
                           ["null", "undefined", "1", "'text'", "[]", "{}", "{filename: 'a'}", "{data: ',QUJD'}",
                            "{filename: 'a', data: ',QUJD', size: 3}", "{filename: 'a', data: null}",
                            "{filename: 'a', data: ['x']}", "new Date()", "new Map([['filename', 'a']])"]),
        "nativeBatchDownload": ("❌ Invalid batch download message",
                                ["null", "[]", "{}", "{files: 'x'}", "{files: {}}", "{files: [1]}", "{files: [null]}",
                                 "{files: [{filename: 'a', data: ',', n: 1}]}", "{files: new Array(1000)}"]),
        "nativeCopy": ("❌ Invalid copy message", ["null", "'text'", "{}", "{data: 1}", "{data: 'x', n: 1}"]),
    }
    for name, (line, bodies) in cases.items():
        start = len(app.log.lines)
        app.run_script("".join(f"post('{name}', {body});" for body in bodies))
        assert app.own_lines(start) == [line] * len(bodies)
    start = len(app.log.lines)
    app.run_script("const body = {filename: 'a', data: ','}; body.self = body; post('nativeDownload', body);"
                   "const list = []; list.push(list); post('nativeBatchDownload', {files: list});")
    assert app.own_lines(start) == ["❌ Invalid download message", "❌ Invalid batch download message"]
