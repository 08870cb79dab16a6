"""Confined as the Flatpak manifest asks, the program does all of its work and reads nothing else."""
import json
import os
import pathlib
import re
import subprocess

import pytest

from application import Application, InstallTree
from desktop import wait_for
from sandbox import Sandbox

PNG = "data:image/png;base64,aGVsbG8="
PROJECT = '{"type": "drawing", "objects": []}'


@pytest.fixture
def sandbox(desktop, installed, tmp_path):
    tree = InstallTree(installed, tmp_path / "installed")
    sandbox = Sandbox(desktop, tree.prefix)
    sandbox.tree = tree
    yield sandbox
    sandbox.close()


@pytest.fixture
def start(desktop, sandbox):
    running = []

    def start(env=None):
        command = sandbox.command("/app/bin/quillory", env=env)
        app = Application(desktop, command[0], sandbox.tree.page_folder, arguments=command[1:])
        running.append(app)
        return app

    yield start
    for app in running:
        app.kill()


def test_services_work_inside(start, sandbox, desktop):
    app = start()
    app.wait_ready()

    app.post("nativeDownload", {"filename": "picture.png", "data": PNG})
    target = sandbox.downloads / "picture.png"
    desktop.answer_panel("Save", target)
    app.log.wait(f"✅ File saved to: {target}")
    assert target.read_bytes() == b"hello"

    (sandbox.downloads / "batch").mkdir()
    app.post("nativeBatchDownload", {"files": [{"filename": f"{i}.png", "data": PNG} for i in range(3)]})
    desktop.answer_panel("Choose a folder to save 3 files", sandbox.downloads / "batch")
    app.log.wait(f"✅ Saved 3/3 files to: {sandbox.downloads}/batch")
    assert sorted(os.listdir(sandbox.downloads / "batch")) == ["0.png", "1.png", "2.png"]

    (sandbox.downloads / "project.json").write_text(PROJECT)
    app.post("nativeFilePicker", None)
    desktop.answer_panel("Select a Quillory project file", sandbox.downloads / "project.json")
    wait_for(lambda: app.run_script("return received.length") == 1, "the project in the page")
    assert app.run_script("return received[0]") == ["File", PROJECT]

    app.post("nativeCopy", {"data": PROJECT})
    wait_for(lambda: desktop.run("xclip", "-selection", "clipboard", "-o", check=False) == PROJECT, "the copied text")
    subprocess.run(["xclip", "-selection", "clipboard"], input=PROJECT.encode(), env=desktop.env, check=True)
    app.post("nativePaste", None)
    wait_for(lambda: app.run_script("return received.length") == 2, "the pasted text")
    assert app.run_script("return received[1]") == ["Paste", PROJECT]


def test_second_launch_hands_over(start, desktop):
    app = start()
    app.wait_ready()
    window = app.window()
    desktop.run("xdotool", "windowminimize", window)
    desktop.wait_no_window("Quillory")
    second = start()
    assert second.wait_exit() == 0
    assert second.log.lines == []
    assert desktop.wait_window("Quillory") == window


def test_nothing_else_can_be_read(start, desktop, sandbox):
    secret = sandbox.home / "secret.txt"
    secret.write_text("secret")
    (sandbox.downloads / "mine.txt").write_text("mine")
    app = start()
    app.wait_ready()
    # The mounts as the running program has them, not as a second sandbox would.
    program = next(pid for pid in app.children() if os.path.basename(os.readlink(f"/proc/{pid}/exe")) == "quillory")
    root = f"/proc/{program}/root"
    assert set(os.listdir(f"{root}{sandbox.home}")) == {".cache", ".local", "Downloads"}
    assert not os.path.exists(f"{root}{secret}")
    assert os.path.exists(f"{root}{sandbox.downloads}/mine.txt")
    visible = set(os.listdir(root))
    assert visible <= {"app", "bin", "dev", "etc", "home", "lib", "lib32", "lib64", "proc", "root", "run", "sbin", "sys",
                       "tmp", "usr", "var"}, visible
    interfaces = pathlib.Path(f"/proc/{program}/net/dev").read_text().splitlines()[2:]
    assert [line.split(":")[0].strip() for line in interfaces] == ["lo"]
    for url in (secret.as_uri(), "file:///etc/passwd"):
        attempt = f"return fetch({json.dumps(url)}).then(() => 'read', () => 'refused')"
        assert app.run_script(attempt) == "refused"


def test_manifest_asks_for_what_is_explained():
    root = pathlib.Path(__file__).parents[2]
    manifest = (root / "packaging/flatpak/com.quillory.Quillory.yml").read_text()
    asked = re.search(r"^finish-args:\n((?:  - .*\n)+)", manifest, re.M).group(1).replace("  - ", "").split()
    explained = re.findall(r"^\| `(--[^`]*)` \|", (root / "docs/sandbox.md").read_text(), re.M)
    assert asked == explained
    assert not [permission for permission in asked if re.search("network|home|host|session-bus|talk-name", permission)]
