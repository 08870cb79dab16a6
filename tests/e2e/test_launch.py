"""From the launch to the end of the run: one instance, order of the log, the window, coming to the front, termination."""
import fcntl
import os
import shutil
import signal
import subprocess
import tempfile

import pytest

from application import LAUNCH, STATUS_REPORT, Application, wait_ended
from desktop import Desktop, wait_for
from programs import KeyWindow

LAUNCHES = 64


@pytest.mark.parametrize("width, height, inner", [(1280, 1024, (1152, 922)), (1366, 768, (1229, 688))])
def test_window_size_and_place(launch, width, height, inner):
    with Desktop(screen=f"{width}x{height}x24") as desktop:
        app = launch(on=desktop)
        page = app.run_script("return [innerWidth, innerHeight]")
        assert page[0] == inner[0] and inner[1] - 4 < page[1] <= inner[1]
        assert height > 1000 or desktop.geometry("Quillory")["HEIGHT"] == height - 56, "but for a title bar"

        def centred():
            place = desktop.geometry("Quillory")
            return (abs(place["X"] * 2 + place["WIDTH"] - width) < 20 and abs(place["Y"] * 2 + place["HEIGHT"] - height) < 20)
        wait_for(centred, "the window to be centred")
        desktop.run("xdotool", "windowsize", app.window(), "300", "300")
        app.run_script("while (innerWidth > 800) await new Promise(r => addEventListener('resize', r, {once: true}))")
        assert app.run_script("return [innerWidth, innerHeight]") == [800, min(800, page[1])]
        app.quit()


def test_about_window_is_one_and_stays_where_it_was_put(app, desktop):
    about = desktop.open_about()
    assert (desktop.geometry(about)["WIDTH"], desktop.geometry(about)["HEIGHT"]) == (400, 550)
    desktop.run("xdotool", "windowmove", about, "30", "40")
    wait_for(lambda: desktop.geometry(about)["X"] < 60, "the window to move")
    moved = desktop.geometry(about)
    desktop.close_window("About Quillory")
    assert desktop.open_about() == about
    wait_for(lambda: desktop.geometry(about) == moved, "the window to be where it was left")
    desktop.key("ctrl+w")
    desktop.wait_no_window("About Quillory")
    desktop.open_about()
    desktop.key("ctrl+q")
    assert app.wait_exit() == 0


@pytest.fixture(scope="module")
def other(session):
    with KeyWindow(session) as other:
        yield other


def launch_again(_, app):
    second = app.start_again()
    assert (second.wait_exit(), second.log.lines, second.own_errors()) == (0, [], [])


def chord(session, _):
    session.key("super+shift+e")


def bus(session, _):
    session.run("gdbus", "call", "--session", "--dest", "com.quillory.Quillory", "--object-path", "/com/quillory/Quillory",
                "--method", "org.freedesktop.Application.Activate", "{}")


@pytest.mark.parametrize("way", [launch_again, chord, bus])
@pytest.mark.parametrize("state", ["behind", "hidden", "minimised"])
def test_comes_to_front(programs, session, other, way, state):
    app = programs.shared(session)
    app.run_script("window.mark = 'kept'")
    place = session.geometry("Quillory")
    if state == "hidden":
        session.close_window("Quillory")
    elif state == "minimised":
        session.minimize("Quillory")
    session.focus(other.TITLE)
    way(session, app)
    session.wait_active("Quillory")
    wait_for(lambda: session.geometry("Quillory") == place, "the window to be where it was")
    assert (app.run_script("return window.mark"), app.own_lines()) == ("kept", [])


@pytest.mark.parametrize("how", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP, "menu key"])
def test_every_ending_is_orderly(launch, desktop, how):
    app = launch()
    with open(f"{desktop.runtime}/Quillory.lock", "ab") as lock:
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
    wait_ended(children)
    assert (app.own_lines(), app.own_errors()) == (LAUNCH + STATUS_REPORT, [])


@pytest.mark.skipif(os.getuid() != 0, reason="only root can start a program as somebody else")
@pytest.mark.parametrize("variable", ["TMPDIR", "XDG_RUNTIME_DIR"])
def test_each_user_has_an_instance(installed, variable):
    """Whoever else holds the lock in a folder for all. With the lock the program goes on, and finds no display."""
    user = 54321
    with tempfile.TemporaryDirectory() as folder, open(f"{folder}/Quillory.lock", "w", encoding="utf-8") as lock:
        os.chmod(folder, 0o1777)
        fcntl.flock(lock, fcntl.LOCK_EX)
        try:
            result = subprocess.run([installed / "bin/quillory"], env={"PATH": "/usr/bin", "DISPLAY": "", variable: folder},
                                    user=user, group=user, extra_groups=[], cwd="/", capture_output=True, timeout=20)
            assert result.returncode == 1 and os.path.exists(f"/tmp/quillory-{user}/Quillory.lock")
        finally:
            shutil.rmtree(f"/tmp/quillory-{user}", ignore_errors=True)


def test_without_a_session_bus(launch, desktop):
    gone = {"DBUS_SESSION_BUS_ADDRESS": f"unix:path={desktop.runtime}/gone"}
    app = launch(env=gone)
    assert app.own_lines() == LAUNCH + STATUS_REPORT
    second = app.start_again(gone)
    assert (second.wait_exit(), second.log.lines) == (0, [])
    assert app.quit() == 0


def test_closed_streams(desktop, programs):
    programs.end(desktop)
    app = Application(desktop, "/bin/sh", None, arguments=["-c", f"exec {programs.installed}/bin/quillory <&- >&- 2>&-"])
    app.window()
    assert [os.readlink(f"/proc/{app.process.pid}/fd/{number}") for number in range(3)] == ["/dev/null"] * 3
    assert app.quit() == 0


def test_without_a_display(launch):
    app = launch(env={"DISPLAY": ""}, ready=False)
    assert (app.wait_exit(), app.log.lines) == (1, [])
    assert app.errors.lines == ["quillory: there is no display to open a window on"]


@pytest.mark.parametrize("missing", ["WebContent/index.html", "WebContent", "", "Info.json"])
def test_without_a_page_the_rest_works(launch, tree, missing):
    path = tree.page_folder.parent / missing
    if path.is_dir():
        shutil.rmtree(path)
    else:
        path.unlink()
    app = launch(tree, ready=missing == "Info.json")
    app.log.wait(STATUS_REPORT[-1])
    app.window()
    assert app.quit() == 0
    assert (app.own_lines(), app.own_errors()) == (LAUNCH + STATUS_REPORT, [])


def test_window_shows_although_the_page_cannot_be_loaded_yet(launch, tree, tmp_path):
    env = {"XDG_CACHE_HOME": str(tmp_path / "cache")}
    launch(tree, env).quit()
    # What limits the page's access to files was kept there; reading it anew never comes to an end.
    kept = [file for file in (tmp_path / "cache").rglob("content-filters/*") if file.is_file()]
    assert kept
    for file in kept:
        file.unlink()
        os.mkfifo(file)
    app = launch(tree, env, ready=False)
    app.window()
    assert app.quit() == 0


def test_started_at_once_there_is_one(desktop, programs, tree):
    programs.end(desktop)
    apps = [Application(desktop, tree.binary, tree.page_folder) for _ in range(LAUNCHES)]
    remaining, = wait_for(lambda: len(rest := [app for app in apps if app.process.poll() is None]) == 1 and rest,
                          "all but one to end", timeout=120)
    remaining.wait_ready()
    for app in apps:
        assert app is remaining or (app.wait_exit(), app.log.lines, app.own_errors()) == (0, [], [])
    assert len(desktop.windows("Quillory")) == 1
    assert remaining.own_lines().count("Main window created") == 1
    assert remaining.quit() == 0
