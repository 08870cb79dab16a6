"""What the program works with goes away: the page's process, the session bus, the portal, the display."""
import json
import os
import pathlib
import re
import signal
import time

import pytest

from application import LAUNCH
from desktop import Desktop, wait_for
from programs import Portal
from test_download import download

GONE = re.compile("^❌ JavaScript (paste )?error: .*the page's process has ended")
PANEL_GONE = "quillory: the desktop's file panel has gone, nothing was chosen"
SENT = re.compile("^✅ .* sent to JavaScript$")


def kill_page(app):
    # The page that is loaded in its place begins anew with the test's scripts.
    app.forget_scripts()
    pid = app.page_process()
    os.kill(pid, signal.SIGKILL)
    wait_for(lambda: not os.path.exists(f"/proc/{pid}/exe"), "the page's process to end")


def works_without_page(app):
    """The menu, the About window and the end are as ever."""
    app.desktop.choose_from_menu(app.window(), 0, 0)
    app.desktop.wait_active(app.desktop.wait_window("About Quillory"))
    app.desktop.focus(app.window())
    app.desktop.key("ctrl+q")
    return app.wait_exit() == 0


@pytest.fixture
def app(launch, portal):
    return launch(env=Portal.ENVIRONMENT)


@pytest.mark.parametrize("arrived", [0, 16, 64, 128])
def test_page_dies_while_a_message_is_under_way(app, portal, tmp_path, arrived):
    before = app.memory("VmRSS")
    start = len(app.log.lines)
    app.start_script("""
        const data = "," + new Uint8Array(64 << 20).fill(65).toBase64();
        post("nativeCopy", null);
        post("nativeDownload", {filename: "a.bin", data});""")
    app.log.wait("❌ Invalid copy message", start)
    wait_for(lambda: app.memory("VmRSS") >= before + (arrived << 20) or app.log.lines[-1].startswith("✅ Decoded"),
             f"{arrived} MiB of the message")
    kill_page(app)
    assert works_without_page(app)
    # All of it has come, or nothing.
    lines = app.own_lines(start)[1:]
    assert lines in ([], ["📥 Native download requested: a.bin", f"✅ Decoded {64 << 20} bytes"])


def test_page_dies_while_panels_are_open(app, portal, tmp_path):
    (tmp_path / "project.json").write_text("{}")
    app.run_script(f"""
        post("nativeDownload", {json.dumps(download("a.bin", b"content"))});
        post("nativeBatchDownload", {{files: [{json.dumps(download("b.bin", b"content"))}]}});
        post("nativeFilePicker", null);
        post("nativeImagePicker", null);""")
    panels = [portal.wait_panel() for _ in range(4)]
    start = len(app.log.lines)
    kill_page(app)
    app.wait_ready(start)
    for panel, path in zip(panels, (tmp_path / "a.bin", tmp_path, *[tmp_path / "project.json"] * 2)):
        portal.answer(panel, path)
    for line in (f"✅ File saved to: {tmp_path}/a.bin", f"✅ Saved 1/1 files to: {tmp_path}",
                 "✅ File content sent to JavaScript", "✅ Image sent to JavaScript"):
        app.log.wait(line, start)
    assert [(tmp_path / name).read_bytes() for name in ("a.bin", "b.bin")] == [b"content"] * 2


@pytest.mark.parametrize("hang", [False, True])
def test_page_keeps_its_last_change_when_the_program_ends(launch, hang):
    app = launch()
    app.run_script("""
        const open = indexedDB.open("work", 1);
        open.onupgradeneeded = () => open.result.createObjectStore("changes");
        await new Promise((resolve) => { open.onsuccess = resolve; });
        window.addEventListener("pagehide", async () => {
            localStorage.setItem("last", "kept");
            await null; // as one that has to wait for an earlier change
            open.result.transaction("changes", "readwrite").objectStore("changes").put("kept".repeat(1 << 20), "last");
        });
    """)
    if hang:
        app.start_script("while (true);")
        time.sleep(0.2)  # nothing tells that it hangs
    page = app.page_process()
    ended = time.monotonic()
    app.process.terminate()
    assert app.process.wait() == 0
    assert time.monotonic() - ended < 2
    if hang:
        return os.kill(page, signal.SIGKILL)
    assert launch().run_script("""
        const open = indexedDB.open("work", 1);
        await new Promise((resolve) => { open.onsuccess = resolve; });
        const get = open.result.transaction("changes").objectStore("changes").get("last");
        await new Promise((resolve) => { get.onsuccess = resolve; });
        return [localStorage.getItem("last"), get.result?.length];
    """) == ["kept", 4 << 20]


def test_page_that_keeps_dying(app):
    """It is loaded again at once; the third time within a minute the user is asked."""
    for _ in range(2):
        start = len(app.log.lines)
        kill_page(app)
        app.wait_ready(start)
    kill_page(app)
    app.errors.wait("quillory: the page's process has ended three times within a minute, the page waits for the user")
    assert app.own_lines(start) == []
    start = len(app.log.lines)
    app.desktop.focus(app.window())
    app.desktop.key("Return")  # on "Reload"
    app.wait_ready(start)
    assert app.run_script("return 6 * 7") == 42
    assert works_without_page(app)


@pytest.mark.parametrize("call, size", [("FilePicker", 10), ("FilePicker", 32 << 20), ("ImagePicker", 10),
                                        ("ImagePicker", 8 << 20), ("Paste", 10)])
def test_page_dies_while_it_is_called(app, portal, tmp_path, call, size):
    app.run_script("""
        const stay = () => { post("nativeCopy", null); for (;;); };
        for (const name of ["File", "Image", "Paste"])
            window[`handleNative${name}Content`] = stay;
        const push = Array.prototype.push;
        Array.prototype.push = function (...items) { return items[0].length > 1000 ? stay() : push.apply(this, items); };
        post("nativeCopy", {data: "text"});""")
    (tmp_path / "file").write_bytes(b"x" * size)
    start = len(app.log.lines)
    app.start_script(f"post('native{call}', null)")
    if call != "Paste":
        portal.choose(tmp_path / "file")
    app.log.wait("❌ Invalid copy message", start)
    kill_page(app)
    app.log.wait(GONE, start)
    assert works_without_page(app)
    assert not any(SENT.search(line) for line in app.log.lines)


def seconds_of_work(app):
    """Processor time that the program takes in one second."""
    def used():
        fields = pathlib.Path(f"/proc/{app.process.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
    before = used()
    time.sleep(1)
    return used() - before


@pytest.fixture
def own_desktop():
    desktop = Desktop()
    yield desktop
    desktop.close()


def end(process):
    process.kill()
    process.wait()


def test_session_bus_ends(launch, own_desktop, tmp_path):
    app = launch(on=own_desktop)
    end(own_desktop.bus)
    app.post("nativeDownload", download("a.bin", b"content"))
    own_desktop.answer_panel("Save", tmp_path / "a.bin")
    app.log.wait(f"✅ File saved to: {tmp_path}/a.bin")
    assert seconds_of_work(app) < 0.5
    second = launch(on=own_desktop, ready=False)
    assert second.wait_exit() == 0 and second.log.lines == []
    assert works_without_page(app)


@pytest.mark.parametrize("what", ["portal", "bus"])
def test_panels_are_answered_when_their_portal_ends(launch, own_desktop, tmp_path, what):
    portal = Portal(own_desktop)
    app = launch(env=Portal.ENVIRONMENT, on=own_desktop)
    try:
        app.post("nativeDownload", download("a.bin", b"content"))
        portal.wait_panel()
        end(portal.process if what == "portal" else own_desktop.bus)
        app.errors.wait(PANEL_GONE)
        assert seconds_of_work(app) < 0.5
        if what == "portal":
            # Asked while there is none, and when it is back.
            start = len(app.errors.lines)
            app.post("nativeDownload", download("b.bin", b"content"))
            app.errors.wait(PANEL_GONE, start)
            portal = Portal(own_desktop)
            app.post("nativeDownload", download("c.bin", b"content"))
            portal.choose(tmp_path / "c.bin")
            app.log.wait(f"✅ File saved to: {tmp_path}/c.bin")
            assert not any("CRITICAL" in line for line in app.errors.lines)
        assert app.quit() == 0
    finally:
        portal.kill()


def test_display_ends(launch, own_desktop, desktop):
    app = launch(on=own_desktop)
    children = app.children()
    end(own_desktop.display)
    assert app.wait_exit() == 1
    wait_for(lambda: not [p for p in children if os.path.exists(f"/proc/{p}/exe")], "the page's processes to end")
    next_one = launch(on=desktop, env={"XDG_RUNTIME_DIR": own_desktop.runtime})
    assert next_one.own_lines()[:2] == LAUNCH
    assert next_one.quit() == 0
