"""The hotkey under an X server: real key events, from whatever window has the focus."""
import ctypes
import os
import re
import signal
import subprocess
import time

import pytest

from application import LAUNCH, STATUS_REPORT, Log
from desktop import wait_for
from programs import KeyWindow, running

CHORD = "super+shift+e"
MODIFIERS = ["Super_L", "Shift_L"]
# The keys by their place on the keyboard.
SUPER, SHIFT, E_POSITION = "133", "50", "26"


@pytest.fixture
def other(desktop):
    """Another program's window, which has the focus."""
    with running(KeyWindow(desktop)) as program:
        yield program


@pytest.fixture
def keymap(desktop):
    def load(*arguments):
        desktop.run("setxkbmap", "-option", "")
        desktop.run("setxkbmap", *arguments)
    yield load
    load("us")


def press_by_place(desktop, modifier=SUPER):
    desktop.run("xdotool", "keydown", modifier, "keydown", SHIFT, "key", E_POSITION, "keyup", SHIFT, "keyup", modifier)


def presses_until(desktop, other, key="k"):
    """What has reached the other program, once it has the focus and this last key has reached it too."""
    desktop.focus(other.window)
    desktop.key(key)
    other.log.wait("press " + key)
    return other.presses()


def test_the_chord_comes_to_the_front_and_is_swallowed(desktop, app, other):
    desktop.key(CHORD)
    desktop.wait_active(app.window())
    assert presses_until(desktop, other) == [*MODIFIERS, "k"]
    assert app.own_lines() == [*LAUNCH, *STATUS_REPORT]


def test_what_is_typed_right_after_the_chord_goes_to_the_window_that_it_brings(desktop, app, other):
    app.run_script("window.typed = ''; addEventListener('keydown', (event) => { typed += event.key; })")
    desktop.run("xdotool", "key", "--delay", "0", CHORD, "j")
    wait_for(lambda: app.run_script("return typed") == "j", "the key to reach the page")
    assert presses_until(desktop, other) == [*MODIFIERS, "k"]


@pytest.mark.parametrize("lock", ["Caps_Lock", "Num_Lock", "Caps_Lock Num_Lock"])
def test_locks_do_not_matter(desktop, app, other, lock):
    desktop.run("xdotool", "key", *lock.split())
    try:
        desktop.run("xdotool", "key", CHORD)
        desktop.wait_active(app.window())
    finally:
        desktop.run("xdotool", "key", *lock.split())
    assert other.presses() == [*lock.split(), *MODIFIERS]


@pytest.mark.parametrize("chord, expected", [
    ("shift+e", "E"), ("ctrl+shift+e", "E"), ("alt+shift+e", "E"), ("ctrl+super+shift+e", "E"),
    ("alt+super+shift+e", "E"), ("super+shift+k", "K"),
])
def test_other_chords_pass(desktop, app, other, chord, expected):
    desktop.key(chord)
    other.log.wait("press " + expected)
    # Had it been taken as well, this one would come before the other program's next key.
    assert presses_until(desktop, other)[-1] == "k"
    assert desktop.active_window() == other.window


@pytest.mark.parametrize("arguments", [
    ["de"], ["us", "-variant", "dvorak"], ["ru"], ["us,gr"], ["us", "-option", "altwin:meta_win"], ["us", "-option", "numpad:mac"],
])
@pytest.mark.parametrize("when", ["before the launch", "while it runs"])
def test_the_key_stays_in_its_place_in_any_keymap(desktop, launch, keymap, arguments, when):
    if when == "before the launch":
        keymap(*arguments)
    app = launch()
    with running(KeyWindow(desktop)):
        if when == "while it runs":
            keymap(*arguments)
        window = app.window()
        # The program learns of a new keymap no sooner than anybody else.
        wait_for(lambda: press_by_place(desktop) or desktop.active_window() == window, "the chord to be known")


def test_the_super_key_is_looked_up(desktop, app, other, keymap):
    keymap("us", "-option", "altwin:swap_lalt_lwin")
    alt = "64"
    wait_for(lambda: press_by_place(desktop, alt) or desktop.active_window() == app.window(), "the chord to be known")


@pytest.mark.parametrize("state", ["hidden", "minimized"])
def test_a_window_out_of_sight_comes_back(desktop, app, other, state):
    window = app.window()
    app.run_script("return window.mark = 42")
    if state == "minimized":
        desktop.run("xdotool", "windowminimize", window)
    else:
        desktop.focus(window)
        desktop.key("alt+F4")
    desktop.wait_no_window("Quillory")
    desktop.key(CHORD)
    desktop.wait_active(app.window())
    assert app.run_script("return window.mark") == 42
    assert "E" not in other.presses()


def test_holding_the_chord_repeats_it(desktop, app, other):
    window = app.window()
    # Twice a second, so that the other program has the focus for long enough to notice.
    desktop.run("xset", "r", "rate", "300", "2")
    desktop.run("xdotool", "keydown", "super", "keydown", "shift", "keydown", "e")
    try:
        desktop.wait_active(window)
        start = len(other.log.lines)
        desktop.run("xdotool", "windowactivate", other.window)
        other.log.wait("active", start)
        desktop.wait_active(window)
    finally:
        desktop.run("xdotool", "keyup", "e", "keyup", "shift", "keyup", "super")
        desktop.run("xset", "r", "rate")
    assert presses_until(desktop, other) == [*MODIFIERS, "k"]


def test_a_chord_that_another_program_holds_is_a_failure_and_stays_with_it(desktop, app, launch, tmp_path):
    folder = tmp_path / "temporary"
    folder.mkdir(0o700)
    second = launch(folder="second", env={"XDG_RUNTIME_DIR": str(folder)})
    second.log.wait(STATUS_REPORT[-1])
    assert second.own_lines() == [
        "Failed to create event tap - accessibility permissions may be required", "Main window created",
        "=== HotkeyManager Status ===", "Accessibility trusted: true", "Event tap exists: false",
        "RunLoop source exists: false", "============================"]
    with running(KeyWindow(desktop)):
        desktop.key(CHORD)
        wait_for(lambda: desktop.run("xdotool", "getactivewindow", "getwindowpid", check=False).strip() == str(app.process.pid),
                 "the first program to be active")


@pytest.mark.parametrize("end", ["quit", "kill"])
def test_nothing_stays_grabbed(desktop, launch, other, end):
    app = launch()
    desktop.focus(other.window)
    assert app.quit() == 0 if end == "quit" else not app.kill()
    desktop.key(CHORD)
    other.log.wait("press E")
    assert launch().own_lines()[0] == "Global hotkey Cmd+Shift+E registered"


@pytest.fixture
def paused_window_manager(desktop):
    """Nobody moves the focus for as long as the test pauses it, so a press that waits for that goes on waiting."""
    window_manager = desktop.processes[-1]
    yield lambda: window_manager.send_signal(signal.SIGSTOP)
    window_manager.send_signal(signal.SIGCONT)


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
    wait_for(lambda: desktop.key(CHORD) or desktop.active_window() == app.window(), "the hotkey to work again")


def test_nor_does_one_that_gets_busy_after_the_chord(desktop, app, other, paused_window_manager):
    with subprocess.Popen(["xev", "-root", "-event", "substructure"], env=desktop.env, stdout=subprocess.PIPE) as spy:
        try:
            requests = Log(spy.stdout)
            desktop.focus(other.window)
            requests.wait(re.compile("_NET_ACTIVE_WINDOW"))
            paused_window_manager()
            seen = len(requests.lines)
            desktop.run("xdotool", "key", "--delay", "0", CHORD)
            requests.wait(re.compile("_NET_ACTIVE_WINDOW"), seen)
            with stopped_main_thread(app.process.pid):
                start = time.monotonic()
                desktop.key("k")
                other.log.wait("press k", timeout=5)
                assert time.monotonic() - start < 1.3
        finally:
            spy.kill()


class stopped_main_thread:
    """Stops one thread of a process, as a debugger does; a stop signal would stop all of them."""

    SEIZE, INTERRUPT, DETACH, WALL = 0x4206, 0x4207, 17, 0x40000000

    def __init__(self, pid):
        self._pid = pid
        self._libc = ctypes.CDLL(None, use_errno=True)
        self._libc.ptrace.argtypes = [ctypes.c_long, ctypes.c_long, ctypes.c_void_p, ctypes.c_void_p]

    def __enter__(self):
        self._trace(self.SEIZE)
        self._trace(self.INTERRUPT)
        os.waitpid(self._pid, self.WALL)

    def __exit__(self, *_):
        self._trace(self.DETACH)

    def _trace(self, request):
        if self._libc.ptrace(request, self._pid, None, None) == -1:
            raise OSError(ctypes.get_errno(), "ptrace")
