"""Files of 100 MiB on their way to the page: they arrive intact, and few copies of them exist at once."""
import base64
import json
import os
import re

import pytest

from programs import Portal

SIZE = 100 << 20
BLOCK = ("it's a \"line\" with \\ and \\' and caf\u00e9, \u65e5\u672c, \U0001f58a\ufe0f, \u2028, \0 and\ttab,\r\n" * 700)


@pytest.fixture
def app(launch, portal):
    return launch(env=Portal.ENVIRONMENT)


@pytest.fixture
def project(tmp_path):
    path = tmp_path / "project.json"
    block = BLOCK.encode()
    path.write_bytes(block * (SIZE // len(block) + 1))
    return path


def blocks(path):
    return path.stat().st_size // len(BLOCK.encode())


def test_project_of_100_mib(app, portal, project):
    start = app.post("nativeFilePicker", None)
    portal.choose(project)
    app.log.wait("✅ File content sent to JavaScript", timeout=120)
    assert app.own_lines(start) == ["📂 Native file picker requested", "✅ File loaded: project.json",
                                    "✅ File content sent to JavaScript"]
    assert app.run_script(f"return received[0][1] === {json.dumps(BLOCK)}.repeat({blocks(project)})")
    assert app.memory("VmHWM") < 4 * SIZE


def test_image_of_100_mib(app, portal, tmp_path):
    block = os.urandom(3 << 16)
    path = tmp_path / "image.png"
    count = SIZE // len(block) + 1
    path.write_bytes(block * count)
    start = app.post("nativeImagePicker", None)
    portal.choose(path)
    app.log.wait("✅ Image sent to JavaScript", timeout=120)
    assert app.own_lines(start) == ["🖼️ Native image picker requested", "✅ Image loaded: image.png",
                                    "✅ Image sent to JavaScript"]
    assert app.run_script("return received[0][1] === 'data:image/png;base64,'"
                          f" + '{base64.b64encode(block).decode()}'.repeat({count})")
    assert app.memory("VmHWM") < 5 * SIZE


def test_calls_keep_their_order(app, portal, project, tmp_path):
    small = tmp_path / "small.json"
    small.write_text("small")
    app.run_script("post('nativeFilePicker', null); post('nativeFilePicker', null); post('nativeFilePicker', null)")
    for path in (project, small, project):
        portal.choose(path)
    for _ in range(200):
        if app.run_script("return received.length") == 3:
            break
    assert app.run_script("return received.map(([, text]) => text.length === 5)") == [False, True, False]
    assert app.run_script("return received[0][1] === received[2][1]")


def test_page_that_is_loaded_anew_gets_no_part_of_a_text(app, portal, project):
    # Each piece takes a while, so that the new page is there before the last one.
    app.start_script("""
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
    start = len(app.log.lines)
    portal.choose(project)
    line, _ = app.log.wait(re.compile("^❌ JavaScript error: "), start)
    assert len(line) < 1000
    assert "✅ File content sent to JavaScript" not in app.log.lines


def test_missing_function_is_one_short_line(app, portal, project):
    app.run_script("delete window.handleNativeFileContent; post('nativeFilePicker', null)")
    portal.choose(project)
    line, _ = app.log.wait(re.compile("^❌ JavaScript error: "), timeout=120)
    assert "handleNativeFileContent" in line and len(line) < 1000
    assert app.run_script("return Object.getOwnPropertyNames(window).filter((name) => name.startsWith('__'))") == []
