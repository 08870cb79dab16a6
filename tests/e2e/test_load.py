"""Much at once, for long, and large: everything is answered in its order, whole, and no file stays open.

What it costs in memory is measured in bench/. QUILLORY_ROUNDS=20 asks for twenty times as many uses.
"""
import hashlib
import json
import os
import re

import pytest

from desktop import wait_for
from programs import KeyWindow

ROUNDS = int(os.environ.get("QUILLORY_ROUNDS", "1"))
SIZE = 100 << 20
BLOCK = "it's a \"line\" with \\ and \\' and caf\u00e9, \u65e5\u672c, \U0001f58a\ufe0f, \u2028, \0, ${x}, </script> and\ttab,\r\n" * 700
COUNT = SIZE // len(BLOCK.encode()) + 1
SENT = "✅ File content sent to JavaScript"


def descriptors(app):
    """The number of open files. Those from which the engine reads how much memory there is come and go."""
    folder = f"/proc/{app.process.pid}/fd"
    files = [os.readlink(f"{folder}/{name}") for name in os.listdir(folder)]
    return len([file for file in files if not file.startswith(("/proc/", "/sys/"))])


def use(app, portal, desktop, folder):
    """A little of everything: an export, two files opened, a copy and a paste, the window hidden and shown."""
    app.run_script("""
        received.length = 0;
        post("nativeDownload", {filename: "a.json", data: "," + btoa(" ".repeat(1 << 18))});
        post("nativeFilePicker", null);
        post("nativeImagePicker", null);
        post("nativeCopy", {data: "x".repeat(1 << 18)});
        post("nativePaste", null);""")
    for _ in range(3):
        portal.choose(folder / "a.json")
    desktop.close_window("Quillory")
    desktop.key("super+shift+e")
    desktop.wait_active("Quillory")
    app.run_script("while (received.length < 3) await new Promise((resolve) => setTimeout(resolve, 5));")


def test_used_for_long(shell, portal, desktop, tmp_path):
    (tmp_path / "a.json").write_bytes(b" " * (1 << 18))
    for _ in range(3):
        use(shell, portal, desktop, tmp_path)
    before = descriptors(shell)
    for _ in range(10 * ROUNDS):
        use(shell, portal, desktop, tmp_path)
    wait_for(lambda: descriptors(shell) == before, "all files to be closed")


MESSAGES = [("nativeDownload", "{filename: 1}", ["❌ Invalid download message"]),
            ("nativeDownload", "{filename: 'name', data: ''}",
             ["📥 Native download requested: name", "❌ Failed to decode data URL"]),
            ("nativeBatchDownload", "{files: [[[]], {}]}", ["❌ Invalid batch download message"]),
            ("nativeCopy", "{data: 'text'}", ["📋 Copied to native pasteboard"]),
            ("nativeCopy", "'x'.repeat(1000)", ["❌ Invalid copy message"])]


def test_page_that_posts_as_fast_as_it_can(app, desktop):
    """The window can be used meanwhile, and each message is answered in its order."""
    (app.page_folder / "enough.txt").unlink(missing_ok=True)
    start = len(app.log.lines)
    script = app.start_script(f"""
        const messages = [{", ".join(f"['{name}', {body}]" for name, body, _ in MESSAGES)}];
        let enough = false;
        const timer = setInterval(() => fetch("enough.txt").then(() => {{ enough = true; }}, () => {{}}), 50);
        const {{port1, port2}} = new MessageChannel();
        let rounds = 0;
        for (; !enough; ++rounds) {{
            for (let i = 0; i < 1000; ++i)
                post(...messages[i % messages.length]);
            await new Promise((resolve) => {{ port1.onmessage = resolve; port2.postMessage(null); }});
        }}
        clearInterval(timer);
        return rounds;""")
    app.log.wait(MESSAGES[0][2][0], start)
    desktop.open_about()
    desktop.close_window("About Quillory")
    with KeyWindow(desktop):
        desktop.key("super+shift+e")
        desktop.wait_active("Quillory")
    (app.page_folder / "enough.txt").write_text("")
    rounds = app.result(script)
    assert app.own_lines(start) == [line for *_, lines in MESSAGES for line in lines] * (200 * rounds)


@pytest.fixture
def project(tmp_path):
    path = tmp_path / "project.json"
    path.write_bytes(BLOCK.encode() * COUNT)
    return path


def test_large_projects_arrive_whole_and_in_their_order(shell, portal, project, tmp_path):
    (tmp_path / "small.json").write_text("small")
    shell.run_script("for (let i = 0; i < 3; ++i) post('nativeFilePicker', null)")
    for path in (project, tmp_path / "small.json", project):
        portal.choose(path)
    wait_for(lambda: shell.own_lines().count(SENT) == 3, "the last project", timeout=120)
    assert shell.run_script(f"""
        const text = {json.dumps(BLOCK)}.repeat({COUNT});
        return received.map(([name, content]) => content === text ? "whole" : content);""") == ["whole", "small", "whole"]
    # Without the function it is one short line, and nothing of the text is left in the page.
    shell.run_script("delete window.handleNativeFileContent; post('nativeFilePicker', null)")
    portal.choose(project)
    line, _ = shell.log.wait(re.compile("^❌ JavaScript error: .*handleNativeFileContent"), timeout=120)
    assert len(line) < 1000
    assert shell.run_script("return Object.getOwnPropertyNames(window).filter((name) => name.startsWith('__'))") == []


def test_page_that_is_loaded_anew_gets_no_part_of_a_text(shell, portal, project):
    start = len(shell.log.lines)
    # The first piece of it has the page loaded anew, and each takes a while.
    shell.start_script("""
        const push = Array.prototype.push;
        let reloading = false;
        Array.prototype.push = function (...items) {
            const end = items[0].length > 1000 ? Date.now() + 200 : 0;
            if (end && !reloading) {
                reloading = true;
                location.reload();
            }
            while (Date.now() < end);
            return push.apply(this, items);
        };
        post("nativeFilePicker", null);""")
    portal.choose(project)
    line, _ = shell.log.wait(re.compile("^❌ JavaScript error: "))
    assert len(line) < 1000
    assert SENT not in shell.log.lines
    shell.wait_ready(start)


def test_an_export_of_hundreds_of_mebibytes(shell, portal, tmp_path):
    target = tmp_path / "large.bin"
    size = 300 << 20
    shell.start_script(f"""
        const words = new Uint32Array({size // 4});
        for (let i = 0; i < words.length; i += 1021)
            words[i] = i;
        post('nativeDownload', {{filename: 'large.bin', data: 'data:;base64,' + new Uint8Array(words.buffer).toBase64()}});
    """)
    shell.log.wait(f"✅ Decoded {size} bytes", timeout=120)
    # The kernel kills a program whose real-time thread is at work for long; the engine makes such threads.
    assert not [t for t in os.listdir(f"/proc/{shell.process.pid}/task") if os.sched_getscheduler(int(t)) & 3 in (1, 2)]
    portal.choose(target)
    shell.log.wait(f"✅ File saved to: {target}", timeout=120)
    expected = bytearray(size)
    for i in range(0, size // 4, 1021):
        expected[4 * i:4 * i + 4] = i.to_bytes(4, "little")
    assert hashlib.sha256(target.read_bytes()).digest() == hashlib.sha256(expected).digest()
