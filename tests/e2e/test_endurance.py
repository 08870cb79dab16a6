"""Much at once, and for long: everything is answered in its order, and nothing of it stays behind.

QUILLORY_ROUNDS=20 asks for 20 rounds of launches and 5,000 uses; without it, fewer.
"""
import os

import pytest

from application import Application, InstallTree
from desktop import wait_for
from programs import KeyWindow, Portal, running

ROUNDS = int(os.environ.get("QUILLORY_ROUNDS", "3"))
LAUNCHES = 64


def of_this_desktop(desktop):
    """The processes that run in a desktop and are not part of it."""
    home = f"HOME={desktop.home}\0".encode()
    found = set()
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{pid}/environ", "rb") as environment:
                if home in environment.read():
                    found.add(int(pid))
        except OSError:
            pass
    return found


def test_started_at_once_there_is_one(desktop, installed, tmp_path):
    tree = InstallTree(installed, tmp_path / "installed")
    before = of_this_desktop(desktop)
    for _ in range(ROUNDS):
        apps = [Application(desktop, tree.binary, tree.page_folder) for _ in range(LAUNCHES)]
        try:
            wait_for(lambda: sum(app.process.poll() is None for app in apps) == 1, "all but one to end", timeout=120)
            remaining = next(app for app in apps if app.process.poll() is None)
            remaining.wait_ready()
            for app in apps:
                assert app is remaining or (app.wait_exit(), app.log.lines, app.own_errors()) == (0, [], [])
            assert len(desktop.windows("Quillory")) == 1
            assert remaining.own_lines().count("Main window created") == 1
            assert remaining.quit() == 0
            wait_for(lambda: not of_this_desktop(desktop) - before, "all that was started to end")
        finally:
            for app in apps:
                app.kill()


@pytest.fixture
def app(launch, portal):
    return launch(env=Portal.ENVIRONMENT)


def memory(app):
    return app.memory("RssAnon")


def descriptors(app):
    """The number of open files. Those from which the engine reads how much memory there is come and go."""
    folder = f"/proc/{app.process.pid}/fd"
    files = [os.readlink(f"{folder}/{name}") for name in os.listdir(folder)]
    return len([file for file in files if not file.startswith(("/proc/", "/sys/"))])


def wait_memory(app, before, what):
    try:
        wait_for(lambda: memory(app) <= before * 1.1, what)
    except AssertionError:
        raise AssertionError(f"{memory(app) >> 10} KiB {what}, {before >> 10} before")


def messages(app, count):
    """Posts many messages in one turn; returns the lines that are to come of them."""
    app.run_script(f"""
        for (let i = 0; i < {count}; i += 4) {{
            post("nativeDownload", {{filename: String(i), data: ""}});
            post("nativeCopy", {{data: String(i)}});
            post("nativeBatchDownload", {{files: [i]}});
            post("nativeCopy", null);
        }}""")
    return [line for i in range(0, count, 4) for line in (
        f"📥 Native download requested: {i}", "❌ Failed to decode data URL", "📋 Copied to native pasteboard",
        "❌ Invalid batch download message", "❌ Invalid copy message")]


def panels(app, portal, folder, count):
    """Asks for many panels at once and answers them in their order."""
    app.run_script(f"""
        const data = "," + btoa("x".repeat(1 << 20));
        for (let i = 0; i < {count}; ++i)
            post("nativeDownload", {{filename: `${{i}}.bin`, data}});""")
    asked = [portal.wait_panel() for _ in range(count)]
    assert [panel["options"]["current_name"] for panel in asked] == [f"{i}.bin" for i in range(count)]
    start = len(app.log.lines)
    for panel in asked:
        portal.answer(panel, folder / panel["options"]["current_name"])
    app.log.wait(f"✅ File saved to: {folder}/{count - 1}.bin", start)
    assert app.own_lines(start) == [f"✅ File saved to: {folder}/{i}.bin" for i in range(count)]
    assert all((folder / f"{i}.bin").read_bytes() == b"x" * (1 << 20) for i in range(count))


def pastes(app, count):
    """Pastes many small texts, a hundred at a time, each hundred with a text of its own."""
    start = len(app.log.lines)
    texts = app.run_script(f"""
        received.length = 0;
        for (let i = 0; i < {count // 100}; ++i) {{
            post("nativeCopy", {{data: String(i)}});
            for (let j = 0; j < 100; ++j)
                post("nativePaste", null);
            while (received.length < 100 * (i + 1))
                await new Promise((resolve) => setTimeout(resolve));
        }}
        return received.splice(0).map(([, text]) => Number(text));""")
    assert texts == [i // 100 for i in range(count)]
    wait_for(lambda: app.own_lines(start).count("✅ Paste content sent to JavaScript") == count, "the last paste")
    assert app.own_lines(start).count("📥 Pasted Quillory object from pasteboard") == count


def test_much_at_once(app, portal, tmp_path):
    def much(check):
        start = len(app.log.lines)
        expected = messages(app, 1000)
        assert app.own_lines(start) == expected
        check("after the messages")
        panels(app, portal, tmp_path, 50)
        check("after the panels")
        pastes(app, 10_000)
        check("after the pastes")

    much(lambda _: None)
    before, open_before = memory(app), descriptors(app)
    much(lambda what: wait_memory(app, before, what))
    wait_for(lambda: descriptors(app) == open_before, "all files to be closed")
    print(f"{before >> 10} KiB before, {memory(app) >> 10} after")


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
    desktop.key("alt+F4")
    desktop.wait_no_window("Quillory")
    desktop.key("super+shift+e")
    # It counts as active for a moment after it was hidden.
    desktop.wait_active(desktop.wait_window("Quillory"))
    app.run_script("while (received.length < 3) await new Promise((resolve) => setTimeout(resolve, 5));")


USES = 7  # in one `use`
# What a window that comes and goes has at one time and not at another: pictures of its content.
PICTURES = 3 * 4 * 1152 * 922


def test_used_for_long(app, portal, desktop, tmp_path):
    desktop.focus(app.window())
    count = 5000 // USES if ROUNDS >= 20 else 700 // USES
    (tmp_path / "a.json").write_bytes(b" " * (1 << 18))
    figures = []
    for number in range(count):
        if number >= count // 5:
            figures.append((memory(app), descriptors(app)))
        use(app, portal, desktop, tmp_path)
    quarter = len(figures) // 4
    first, last = ([min(figure) for figure in zip(*part)] for part in (figures[:quarter], figures[-quarter:]))
    print(f"{count * USES} uses: {first[0] >> 10} KiB and {first[1]} descriptors after a fifth, {last[0] >> 10} KiB "
          f"and {last[1]} at the end, at most {max(figures)[0] >> 10} KiB")
    assert last[1] == first[1]
    assert last[0] <= first[0] + PICTURES


GARBAGE = [("nativeDownload", "{filename: 1}", "❌ Invalid download message"),
           ("nativeBatchDownload", "{files: [[[]], {}]}", "❌ Invalid batch download message"),
           ("nativeCopy", "'x'.repeat(1000)", "❌ Invalid copy message")]


def test_page_that_posts_garbage(app, desktop):
    """The window can be used meanwhile, and each message is one right line."""
    window = app.window()
    start = len(app.log.lines)
    script = app.start_script(f"""
        const garbage = [{", ".join(f"['{name}', {body}]" for name, body, _ in GARBAGE)}];
        let enough = false;
        const timer = setInterval(() => fetch("enough.txt").then(() => {{ enough = true; }}, () => {{}}), 50);
        const {{port1, port2}} = new MessageChannel();
        let posted = 0;
        while (!enough) {{
            for (let i = 0; i < 1000; ++i)
                post(...garbage[posted++ % garbage.length]);
            await new Promise((resolve) => {{ port1.onmessage = resolve; port2.postMessage(null); }});
        }}
        clearInterval(timer);
        return posted;""")
    app.log.wait(GARBAGE[0][2], start)
    desktop.choose_from_menu(window, 0, 0)
    desktop.wait_active(desktop.wait_window("About Quillory"))
    desktop.key("alt+F4")
    desktop.wait_no_window("About Quillory")
    with running(KeyWindow(desktop)) as other:
        desktop.wait_active(desktop.wait_window(other.TITLE))
        desktop.key("super+shift+e")
        desktop.wait_active(window)
    desktop.key("ctrl+w")
    desktop.wait_no_window("Quillory")
    (app.page_folder / "enough.txt").write_text("")
    posted = app.result(script)
    assert app.own_lines(start) == [GARBAGE[i % len(GARBAGE)][2] for i in range(posted)]
    assert app.quit() == 0
    print(f"{posted} messages")
