"""The hotkey: real key events under X11 and in a Plasma session, and portals that answer as they like."""
import contextlib
import ctypes
import fcntl
import os
import re
import shutil
import signal
import subprocess
import time

import pytest

from application import LAUNCH, STATUS_REPORT, Log, wait_ended
from desktop import wait_for
from gnome import QUESTION, GnomeSession
from plasma import ALERT, PlasmaSession
from programs import KeyWindow, Portal

CHORD = "super+shift+e"
MODIFIERS = ["Super_L", "Shift_L"]
# The keys by their place on the keyboard.
SUPER, ALT, SHIFT, E_POSITION = "133", "64", "50", "26"
UNTRUSTED_STATUS = ["=== HotkeyManager Status ===", "Accessibility trusted: false", "Event tap exists: false",
                    "RunLoop source exists: false", "============================"]
GRANTED = ["Checking accessibility permission: true", "Global hotkey Cmd+Shift+E registered",
           "Accessibility permission granted - hotkey now active"]
WAITING = "Checking accessibility permission: false"


@pytest.fixture
def other(desktop, app):
    """Another program's window, which has the focus."""
    with KeyWindow(desktop) as program:
        yield program


def presses_until(session, other, key="k"):
    """What has reached the other program, once it has the focus and this last key has reached it too."""
    session.focus(other.window)
    session.key(key)
    other.log.wait("press " + key)
    return other.presses()


@pytest.fixture(params=["desktop", "plasma", "gnome"])
def anywhere(request, installed):
    if request.param == "gnome" and not shutil.which("gnome-shell"):
        pytest.skip("GNOME Shell is not installed")
    with GnomeSession(installed) if request.param == "gnome" else contextlib.nullcontext() as session:
        yield session or request.getfixturevalue(request.param)


def test_from_the_first_grant_to_the_second_start(launch, tree, anywhere, tmp_path):
    def chord_reaches_the_other():
        start = len(other.log.lines)
        wait_for(lambda: anywhere.focus(other.window) and (anywhere.key(CHORD) or "press E" in other.log.lines[start:]),
                 "the chord to be the other program's")

    env = {"TMPDIR": str(tmp_path / "temporary")}
    os.mkdir(env["TMPDIR"])
    app = launch(tree, env, on=anywhere)
    anywhere.settle(app)
    with KeyWindow(anywhere) as other:
        anywhere.key("shift+e", CHORD)
        anywhere.wait_active("Quillory")
        for leave in (anywhere.close_window, anywhere.minimize):
            leave("Quillory")
            anywhere.focus(other.window)
            anywhere.key(CHORD)
            anywhere.wait_active("Quillory")
        assert [key for key in presses_until(anywhere, other) if not key.endswith("_L")] == ["E", "k"], "swallowed"
        before = anywhere.wait_window("Quillory")
        assert app.start_again({"XDG_ACTIVATION_TOKEN": other.activation_token()}).wait_exit() == 0
        assert anywhere.wait_active("Quillory") == before, "not taken off the screen on the way"
        if hasattr(anywhere, "let_hotkey"):
            anywhere.let_hotkey(False)
            chord_reaches_the_other()
            anywhere.let_hotkey(True)
            wait_for(lambda: anywhere.is_active("Quillory") or anywhere.key(CHORD), "the hotkey to work again")
        assert app.quit() == 0
        app = launch(tree, env, on=anywhere)
        app.log.wait("Global hotkey Cmd+Shift+E registered")
        assert not anywhere.windows(ALERT) and not anywhere.windows(QUESTION), "nobody is asked again"
        anywhere.focus(other.window)
        anywhere.key(CHORD)
        anywhere.wait_active("Quillory")
        processes = app.children()
        assert app.quit() == 0
        wait_ended(processes)
        chord_reaches_the_other()
        with open(f"{anywhere.runtime}/Quillory.lock", "ab") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        assert not anywhere.dbus.name_has_owner("com.quillory.Quillory") and not os.listdir(env["TMPDIR"])


# X11

@pytest.fixture
def keymap(desktop):
    def load(*arguments):
        desktop.run("setxkbmap", "-option", "")
        desktop.run("xmodmap" if arguments[0] == "-e" else "setxkbmap", *arguments)
    yield load
    load("us")


def test_the_chord_is_swallowed_whatever_is_locked_and_no_other_is(desktop, app, other):
    for chord, expected in (("shift+e", "E"), ("ctrl+shift+e", "E"), ("alt+shift+e", "E"), ("ctrl+super+shift+e", "E"),
                            ("alt+super+shift+e", "E"), ("ISO_Level3_Shift+super+shift+e", "E"), ("super+shift+k", "K")):
        start = len(other.log.lines)
        desktop.key(chord)
        other.log.wait("press " + expected, start)
    for locks in ([], ["Caps_Lock"], ["Num_Lock"], ["Caps_Lock", "Num_Lock"]):
        start = len(other.log.lines)
        toggle = lambda: locks and desktop.run("xdotool", "key", *locks)
        toggle()
        desktop.run("xdotool", "key", CHORD)
        desktop.wait_active("Quillory")
        toggle()
        desktop.focus(other.window)
        desktop.key("k")
        other.log.wait("press k", start)
        assert other.presses(start) == [*locks, *MODIFIERS, "k"]
    assert app.own_lines() == []


def test_what_is_typed_right_after_the_chord_goes_to_the_window_that_it_brings(desktop, app, other):
    app.run_script("window.typed = ''; addEventListener('keydown', (event) => { typed += event.key; })")
    desktop.window_manager.send_signal(signal.SIGSTOP)  # which takes its time to move the focus
    desktop.run("xdotool", "key", "--delay", "0", CHORD, "j")
    desktop.window_manager.send_signal(signal.SIGCONT)
    wait_for(lambda: app.run_script("return typed") == "j", "the key to reach the page")
    assert presses_until(desktop, other) == [*MODIFIERS, "k"]


@pytest.mark.parametrize("when", ["before the launch", "while it runs"])
def test_the_key_stays_in_its_place_in_any_keymap(desktop, launch, keymap, when):
    if when == "before the launch":
        keymap("us,gr")
    launch()
    keymaps = [(["us,gr"], SUPER)] if when == "before the launch" else [
        (["de"], SUPER), (["us", "-variant", "dvorak"], SUPER), (["ru"], SUPER), (["us", "-option", "numpad:mac"], SUPER),
        (["-e", "remove mod4 = Super_L", "-e", "add mod3 = Super_L"], SUPER), (["us", "-option", "altwin:meta_win"], SUPER), (["us", "-option", "altwin:swap_lalt_lwin"], ALT)]
    with KeyWindow(desktop) as other:
        for arguments, modifier in keymaps:
            keymap(*arguments)
            desktop.focus(other.window)

            def press():
                desktop.run("xdotool", "keydown", modifier, "keydown", SHIFT, "key", E_POSITION, "keyup", SHIFT, "keyup", modifier)
            # The program learns of a new keymap no sooner than anybody else.
            wait_for(lambda: press() or desktop.is_active("Quillory"), "the chord to be known")


def test_holding_the_chord_repeats_it(desktop, app, other):
    # Twice a second, so that the other program has the focus for long enough to notice.
    desktop.run("xset", "r", "rate", "300", "2")
    desktop.run("xdotool", "keydown", "super", "keydown", "shift", "keydown", "e")
    try:
        desktop.wait_active("Quillory")
        start = len(other.log.lines)
        desktop.run("xdotool", "windowactivate", other.window)
        other.log.wait("active", start)
        desktop.wait_active("Quillory")
    finally:
        desktop.run("xdotool", "keyup", "e", "keyup", "shift", "keyup", "super")
        desktop.run("xset", "r", "rate")
    assert presses_until(desktop, other) == [*MODIFIERS, "k"]


def test_a_chord_that_another_program_holds_is_a_failure_and_stays_with_it(desktop, programs, launch, tmp_path):
    first = launch()
    tmp_path.chmod(0o700)
    second = programs.start(desktop, {"XDG_RUNTIME_DIR": str(tmp_path)})
    assert second.own_lines() == [
        "Failed to create event tap - accessibility permissions may be required", "Main window created",
        "=== HotkeyManager Status ===", "Accessibility trusted: true", "Event tap exists: false",
        "RunLoop source exists: false", "============================"]
    with KeyWindow(desktop):
        desktop.key(CHORD)
        wait_for(lambda: desktop.run("xdotool", "getactivewindow", "getwindowpid", check=False).strip() == str(first.process.pid),
                 "the first program to be active")


@pytest.mark.parametrize("end", ["quit", "kill"])
def test_nothing_stays_grabbed(desktop, app, other, end):
    getattr(app, end)()
    desktop.focus(other.window)
    desktop.key(CHORD)
    other.log.wait("press E")


@contextlib.contextmanager
def stopped_main_thread(pid):
    """Stops one thread of a process, as a debugger does; a stop signal would stop all of them."""
    def ptrace(request):
        if libc.ptrace(request, pid, None, None) == -1:
            raise OSError(ctypes.get_errno(), "ptrace")

    seize, interrupt, detach, wall = 0x4206, 0x4207, 17, 0x40000000
    libc = ctypes.CDLL(None, use_errno=True)
    libc.ptrace.argtypes = [ctypes.c_long, ctypes.c_long, ctypes.c_void_p, ctypes.c_void_p]
    ptrace(seize)
    ptrace(interrupt)
    os.waitpid(pid, wall)
    yield
    ptrace(detach)


def test_a_busy_program_does_not_hold_up_the_keyboard(desktop, app, other):
    with stopped_main_thread(app.process.pid):
        start = time.monotonic()
        desktop.key(CHORD)
        # This chord has to pass, and further ones do so at once.
        other.log.wait("press E")
        assert time.monotonic() - start < 1.3
        desktop.key(CHORD, "k")
        other.log.wait("press k")
    assert other.presses() == [*MODIFIERS, "E", *MODIFIERS, "E", "k"]
    wait_for(lambda: desktop.key(CHORD) or desktop.is_active("Quillory"), "the hotkey to work again")


def test_nor_does_one_that_gets_busy_after_the_chord(desktop, app, other):
    spy = desktop.start("xev", "-root", "-event", "substructure", stdout=subprocess.PIPE)
    requests = Log(spy.stdout)
    wait_for(lambda: desktop.focus(other.window) and any("_NET_ACTIVE_WINDOW" in line for line in requests.lines), "the spy")
    # Nobody moves the focus for as long as the window manager rests, so a press that waits for that goes on waiting.
    desktop.window_manager.send_signal(signal.SIGSTOP)
    try:
        seen = len(requests.lines)
        desktop.run("xdotool", "key", "--delay", "0", CHORD)
        requests.wait(re.compile("_NET_ACTIVE_WINDOW"), seen)
        with stopped_main_thread(app.process.pid):
            start = time.monotonic()
            desktop.key("k")
            other.log.wait("press k", timeout=5)
            assert time.monotonic() - start < 1.3
    finally:
        desktop.window_manager.send_signal(signal.SIGCONT)


# What a desktop's portal may answer

@pytest.fixture(scope="module")
def bare():
    """A Plasma session in which a test is the portal."""
    with PlasmaSession(kde_portal=False) as session:
        yield session


@pytest.fixture
def start_portal(bare):
    with contextlib.ExitStack() as portals:
        yield lambda *arguments, **options: portals.enter_context(Portal(bare, *arguments, **options))


def comes_with(session, activate):
    with KeyWindow(session):
        activate()
        session.wait_active("Quillory")


def test_a_shortcut_that_the_portal_knows(bare, start_portal, launch):
    portal = start_portal("known")
    app = launch(on=bare)
    assert app.own_lines() == [*LAUNCH, *STATUS_REPORT]
    assert [call[0] for call in portal.calls() if call[0] != "Register"] == ["CreateSession"], "not asked again"
    comes_with(bare, portal.activate)


def test_a_grant_at_once(bare, start_portal, launch):
    portal = start_portal("grant", registry=True)
    app = launch(on=bare)
    app.log.wait(GRANTED[-1])  # where drawing takes its time, after the status is reported
    lines = [line for line in app.own_lines() if line not in STATUS_REPORT + UNTRUSTED_STATUS]
    assert lines == ["Accessibility permissions required for global hotkey.", "Main window created", *GRANTED]
    assert not bare.windows(ALERT)
    *register, create, bind = portal.calls()  # newer toolkits register the program as well
    assert register[0] == ["Register", "com.quillory.Quillory"]
    shortcut = [["bring-to-front", {"description": "Bring Quillory to the front", "preferred_trigger": "LOGO+SHIFT+e"}]]
    assert create[1]["shortcuts"] == bind[2] == shortcut
    before = bare.wait_window("Quillory")
    with KeyWindow(bare) as other:
        # Neither another program's shortcut nor one that the user has taken away.
        portal.activate(session="/org/freedesktop/portal/desktop/session/1_0/stranger")
        portal.change_shortcuts()
        portal.activate()
        portal.change_shortcuts("bring-to-front")
        bare.key("k")
        other.log.wait("press k")
        portal.activate(other.activation_token())
        assert bare.wait_active("Quillory") == before, "not taken off the screen on the way"
        other.log.wait("inactive")
        # Spent, a token does not help once more.
        bare.focus(other.TITLE)
        portal.activate()
        assert bare.wait_active("Quillory") != before
        seen = len(other.log.lines)
        assert app.quit() == 0
        portal.wait_call("Close")
        other.log.wait("active", seen)


def test_a_grant_given_later(bare, start_portal, launch):
    portal = start_portal("nothing")
    app = launch(on=bare)
    assert app.own_lines() == ["Accessibility permissions required for global hotkey.", "Main window created", *UNTRUSTED_STATUS]
    # The desktop's own question is open, and ours waits for it.
    app.log.wait(WAITING)
    assert not bare.windows(ALERT)
    start = len(app.log.lines)
    portal.bind(True)
    app.log.wait(GRANTED[-1], start)
    lines = app.own_lines(start)
    assert lines[-3:] == GRANTED and set(lines[:-3]) <= {WAITING}
    assert [call[0] for call in portal.calls()] == ["CreateSession", "BindShortcuts"]
    comes_with(bare, portal.activate)


@pytest.mark.parametrize("answer", ["refuse", "no portal"])
def test_no_grant(bare, start_portal, launch, answer):
    portal = start_portal(answer) if answer != "no portal" else None
    app = launch(on=bare)
    launched = time.monotonic()
    assert app.own_lines()[-len(UNTRUSTED_STATUS):] == UNTRUSTED_STATUS
    # The timers rest while the alert is open, and the first would have come after two seconds.
    wait_for(lambda: bare.is_active(ALERT) and time.monotonic() > launched + 3, "the alert to stay")
    assert WAITING not in app.log.lines
    with KeyWindow(bare):
        assert app.start_again().wait_exit() == 0
        bare.wait_active(ALERT)
    bare.dismiss_alert()
    _, place = app.log.wait(WAITING)
    app.log.wait(WAITING, place + 1)
    if portal:
        assert [call[0] for call in portal.calls()] == ["CreateSession", "BindShortcuts"], "asked once"
        portal.kill()
        portal = start_portal("grant")
        app.log.wait(WAITING, app.log.wait(WAITING, len(app.log.lines))[1] + 1)
        assert portal.calls() == [], "a refusal is not asked about again"
    else:
        start_portal("grant")
        app.log.wait(GRANTED[-1])


@pytest.mark.parametrize("first", ["grant", "nothing"])
def test_a_portal_that_leaves_and_comes_back(bare, start_portal, launch, first):
    portal = start_portal(first)
    app = launch(on=bare)
    portal.wait_call("BindShortcuts")
    if first != "grant":
        app.log.wait(WAITING)
    portal.kill()
    start = len(app.log.lines)
    portal = start_portal("grant")
    portal.wait_call("BindShortcuts")
    if first != "grant":
        app.log.wait(GRANTED[-1], start)
    comes_with(bare, portal.activate)


def test_the_settings_are_the_portals_own(bare, start_portal, launch):
    portal = start_portal("refuse", version=2)
    launch(on=bare)
    bare.wait_active(ALERT)
    bare.key("Return")
    path, _, options = portal.wait_call("ConfigureShortcuts")
    assert path.endswith("/quillory") and not options["activation_token"].startswith("not-granted")
