"""From the launch to the end of the run: one instance, order of the log, window size, termination."""
import fcntl
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile

import pytest

from application import LAUNCH, STATUS_REPORT, Application
from desktop import Desktop, wait_for
from programs import KeyWindow, running


def test_log_of_a_launch(launch):
    app = launch()
    app.log.wait(STATUS_REPORT[-1])
    assert app.quit() == 0
    assert app.own_lines() == LAUNCH + STATUS_REPORT
    assert app.own_errors() == []


def test_window_size_and_place(launch, desktop):
    app = launch()
    ready = app.wait_ready()
    assert ready["width"] == 1152 and abs(ready["height"] - 922) <= 1
    window = app.window()

    def centred():
        place = desktop.geometry(window)
        return (abs(place["X"] * 2 + place["WIDTH"] - 1280) < 20 and abs(place["Y"] * 2 + place["HEIGHT"] - 1024) < 60)
    wait_for(centred, "the window to be centred")

    desktop.run("xdotool", "windowsize", window, "300", "300")
    app.run_script("while (innerWidth > 800 || innerHeight > 800) await new Promise(r => addEventListener('resize', r, {once: true}))")
    assert app.run_script("return [innerWidth, innerHeight]") == [800, 800]


def test_small_screen_keeps_the_minimum(launch):
    desktop = Desktop(screen="800x600x24")
    try:
        app = launch(on=desktop)
        ready = app.wait_ready()
        assert (ready["width"], ready["height"]) == (800, 800)
        app.kill()
    finally:
        desktop.close()


@pytest.mark.parametrize("how", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP, "menu key"])
def test_every_ending_is_orderly(launch, desktop, how):
    app = launch()
    lock = os.open(os.path.join(desktop.runtime, "Quillory.lock"), os.O_WRONLY)
    with pytest.raises(BlockingIOError):
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    children = app.children()
    if how == "menu key":
        desktop.focus(app.window())
        desktop.key("ctrl+q")
    else:
        app.process.send_signal(how)
    assert app.wait_exit() == 0
    fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    os.close(lock)
    wait_for(lambda: not [p for p in children if os.path.exists(f"/proc/{p}/exe")], "the page's processes to end")


def second_launch(desktop, app):
    second = Application(desktop, app.tree.binary, app.page_folder)
    assert second.wait_exit() == 0
    assert second.log.lines == [] and second.own_errors() == []


@pytest.mark.parametrize("state", ["behind", "hidden", "minimised"])
def test_second_launch_raises_the_first(launch, desktop, state):
    app = launch()
    app.run_script("window.mark = 'kept'")
    window = app.window()
    desktop.wait_active(window)
    place = desktop.geometry(window)
    if state == "hidden":
        desktop.key("ctrl+w")
        desktop.wait_no_window("Quillory")
        assert app.process.poll() is None
    elif state == "minimised":
        desktop.run("xdotool", "windowminimize", window)
        wait_for(lambda: "Iconic" in desktop.run("xprop", "-id", window, "WM_STATE"), "the window to be minimised")
    with running(KeyWindow(desktop)):
        second_launch(desktop, app)
        assert app.window() == window
        desktop.wait_active(window)
        wait_for(lambda: desktop.geometry(window) == place, "the window to be where it was")
        assert app.run_script("return window.mark") == "kept"
        assert app.own_lines().count("Main window created") == 1


def test_killed_instance_leaves_no_lock(launch):
    first = launch()
    first.kill()
    second = launch()
    assert second.own_lines()[:2] == LAUNCH


@pytest.mark.skipif(os.getuid() != 0, reason="only root can start a program as somebody else")
@pytest.mark.parametrize("variable", ["TMPDIR", "XDG_RUNTIME_DIR"])
def test_each_user_has_an_instance(installed, variable):
    """Whoever else holds the lock in a folder for all. With the lock the program goes on, and finds no display."""
    user = 54321
    with tempfile.TemporaryDirectory() as folder, open(f"{folder}/Quillory.lock", "w", encoding="utf-8") as lock:
        os.chmod(folder, 0o1777)
        fcntl.flock(lock, fcntl.LOCK_EX)
        env = {"PATH": "/usr/bin", "DISPLAY": "", variable: folder}
        try:
            result = subprocess.run([installed / "bin/quillory"], env=env, user=user, group=user, extra_groups=[], cwd="/",
                                    capture_output=True, timeout=20)
            assert result.returncode == 1 and os.path.exists(f"/tmp/quillory-{user}/Quillory.lock")
        finally:
            shutil.rmtree(f"/tmp/quillory-{user}", ignore_errors=True)


def test_without_a_session_bus(launch, desktop):
    gone = {"DBUS_SESSION_BUS_ADDRESS": f"unix:path={desktop.runtime}/gone"}
    app = launch(env=gone)
    app.log.wait(STATUS_REPORT[-1])
    assert app.own_lines() == LAUNCH + STATUS_REPORT
    second = Application(desktop, app.tree.binary, app.page_folder, gone)
    assert second.wait_exit() == 0 and second.log.lines == []
    assert app.quit() == 0


def test_closed_streams(desktop, installed):
    app = Application(desktop, "/bin/sh", None, arguments=["-c", f"exec {installed}/bin/quillory <&- >&- 2>&-"])
    try:
        app.window()
        assert [os.readlink(f"/proc/{app.process.pid}/fd/{number}") for number in range(3)] == ["/dev/null"] * 3
        assert app.quit() == 0
    finally:
        app.kill()


def test_without_a_display(desktop, installed):
    result = subprocess.run([installed / "bin/quillory"], env={**desktop.env, "DISPLAY": ""}, capture_output=True, text=True,
                            timeout=20)
    assert (result.returncode, result.stdout) == (1, "")
    assert result.stderr == "quillory: there is no display to open a window on\n"


def test_page_without_information(launch):
    app = launch()
    app.kill()
    (app.page_folder.parent / "Info.json").unlink()
    launch()


@pytest.mark.parametrize("missing", ["page", "folder", "resources"])
def test_without_a_page_the_rest_works(launch, missing):
    app = launch(page=None, ready=False, folder="bare")
    app.kill()
    if missing == "folder":
        app.page_folder.rmdir()
    elif missing == "resources":
        shutil.rmtree(app.page_folder.parent)
    app = launch(page=None, ready=False, folder="bare")
    app.log.wait(STATUS_REPORT[-1])
    assert app.log.lines == LAUNCH + STATUS_REPORT
    app.window()
    assert app.quit() == 0
    assert app.own_errors() == []
