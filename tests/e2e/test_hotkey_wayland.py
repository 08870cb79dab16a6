"""The hotkey on Wayland: the real chord in a Plasma session, and portals that answer as they like."""
import re

import pytest

from application import LAUNCH, STATUS_REPORT
from plasma import PlasmaSession
from programs import KeyWindow, Portal, running

CHORD = "super+shift+e"
MAIN_WINDOW = "Quillory"
ALERT = "Accessibility Permission Required"
UNTRUSTED_STATUS = ["=== HotkeyManager Status ===", "Accessibility trusted: false", "Event tap exists: false",
                    "RunLoop source exists: false", "============================"]
GRANTED = ["Checking accessibility permission: true", "Global hotkey Cmd+Shift+E registered",
           "Accessibility permission granted - hotkey now active"]
WAITING = "Checking accessibility permission: false"


@pytest.fixture
def plasma():
    """A Plasma session with its own portal."""
    with PlasmaSession() as session:
        yield session


@pytest.fixture
def session():
    """A Plasma session in which a test is the portal."""
    with PlasmaSession(kde_portal=False) as started:
        yield started


@pytest.fixture
def portal(session):
    """Starts the tests' portal in that session."""
    portals = []

    def start(*arguments, **options):
        portals.append(Portal(session, *arguments, **options))
        return portals[-1]

    yield start
    for program in portals:
        program.kill()


def status_after_launch(app):
    app.log.wait(STATUS_REPORT[-1])
    return app.own_lines()


def dismiss_alert(session):
    """Answers "Later" to the alert."""
    session.wait_active(ALERT)
    session.key("Tab")
    session.key("Return")


def wait_registered(plasma, app):
    """Waits for the hotkey; a desktop that takes more than its 250 ms to say yes has an alert to dismiss."""
    line, _ = app.log.wait(re.compile("^Global hotkey Cmd|^Accessibility permissions required"))
    if line.startswith("Accessibility"):
        dismiss_alert(plasma)
        app.log.wait("Global hotkey Cmd+Shift+E registered")


# The real thing

@pytest.mark.parametrize("state", ["behind", "hidden", "minimized"])
def test_the_chord_comes_to_the_front_and_is_swallowed(plasma, launch, state):
    app = launch(on=plasma)
    wait_registered(plasma, app)
    plasma.wait_window(MAIN_WINDOW)
    assert app.run_script("return window.mark = 42") == 42
    if state == "hidden":
        plasma.close_window(MAIN_WINDOW)
    elif state == "minimized":
        plasma.minimize(MAIN_WINDOW)
    with running(KeyWindow(plasma)) as other:
        plasma.key("shift+e")
        plasma.key(CHORD)
        plasma.wait_active(MAIN_WINDOW)
        plasma.focus(other.TITLE)
        plasma.key("k")
        other.log.wait("press k")
        assert other.presses() == ["Shift_L", "E", "Super_L", "Shift_L", "k"]
    assert app.run_script("return window.mark") == 42, "the page is the same"


def test_the_next_start_registers_again(plasma, launch):
    for _ in range(2):
        app = launch(on=plasma)
        wait_registered(plasma, app)
        with running(KeyWindow(plasma)):
            plasma.key(CHORD)
            plasma.wait_active(MAIN_WINDOW)
        assert app.quit() == 0


# What a desktop may answer

def test_a_grant_at_once(session, portal, launch):
    desktop = portal("grant", registry=True)
    app = launch(on=session)
    assert status_after_launch(app) == [*LAUNCH, *STATUS_REPORT]
    *register, create, bind = desktop.calls()  # newer toolkits register the program as well
    assert register[0][:2] == ["Register", "com.quillory.Quillory"]
    shortcut = [["bring-to-front", {"description": "Bring Quillory to the front", "preferred_trigger": "LOGO+SHIFT+e"}]]
    assert create[1]["shortcuts"] == bind[2] == shortcut
    with running(KeyWindow(session)) as other:
        desktop.activate(session="/org/freedesktop/portal/desktop/session/1_0/stranger")
        desktop.activate()
        session.wait_active(MAIN_WINDOW)
        assert app.quit() == 0
        desktop.wait_call("Close")
        other.log.wait("active", after=2)
        assert other.log.lines == ["active", "inactive", "active"]


def test_a_grant_given_later(session, portal, launch):
    desktop = portal("nothing")
    app = launch(on=session)
    assert status_after_launch(app) == ["Accessibility permissions required for global hotkey.", "Main window created",
                                        *UNTRUSTED_STATUS]
    dismiss_alert(session)
    app.log.wait(WAITING)
    start = len(app.log.lines)
    desktop.bind(True)
    app.log.wait(GRANTED[-1], start)
    lines = app.own_lines(start)
    assert lines[-3:] == GRANTED and set(lines[:-3]) <= {WAITING}
    assert [call[0] for call in desktop.calls()] == ["CreateSession", "BindShortcuts"]
    with running(KeyWindow(session)):
        desktop.activate()
        session.wait_active(MAIN_WINDOW)


@pytest.mark.parametrize("answer", ["refuse", "nothing", "no portal"])
def test_no_grant(session, portal, launch, answer):
    desktop = portal(answer) if answer != "no portal" else None
    app = launch(on=session)
    assert status_after_launch(app)[-len(UNTRUSTED_STATUS):] == UNTRUSTED_STATUS
    # The timers rest while the alert is open, so all of these lines come after it.
    assert WAITING not in app.log.lines
    dismiss_alert(session)
    _, place = app.log.wait(WAITING)
    app.log.wait(WAITING, place + 1)
    if desktop:
        assert [call[0] for call in desktop.calls()] == ["CreateSession", "BindShortcuts"], "asked once"


def test_a_grant_taken_back_and_given_again(session, portal, launch):
    desktop = portal("grant")
    launch(on=session)
    with running(KeyWindow(session)) as other:
        desktop.change_shortcuts()
        desktop.activate()
        desktop.change_shortcuts("bring-to-front")
        desktop.activate()
        session.wait_active(MAIN_WINDOW)
        assert other.log.lines == ["active", "inactive"]


@pytest.mark.parametrize("first, again", [("grant", True), ("nothing", True), ("refuse", False)])
def test_a_portal_that_leaves_and_comes_back(session, portal, launch, first, again):
    desktop = portal(first)
    app = launch(on=session)
    desktop.wait_call("BindShortcuts")
    if first != "grant":
        dismiss_alert(session)
        app.log.wait(WAITING)
    desktop.kill()
    start = len(app.log.lines)
    desktop = portal("grant")
    if not again:
        app.log.wait(WAITING, app.log.wait(WAITING, start)[1] + 1)
        assert desktop.calls() == [], "a refusal is not asked about again"
        return
    desktop.wait_call("BindShortcuts")
    if first != "grant":
        app.log.wait(GRANTED[-1], start)
    with running(KeyWindow(session)):
        desktop.activate()
        session.wait_active(MAIN_WINDOW)


def test_a_portal_that_comes_after_the_launch(session, portal, launch):
    app = launch(on=session)
    dismiss_alert(session)
    app.log.wait(WAITING)
    portal("grant")
    app.log.wait(GRANTED[-1])


def test_an_activation_token_raises_the_window_as_it_is(session, portal, launch):
    desktop = portal("grant")
    app = launch(on=session)
    before = session.wait_window(MAIN_WINDOW)
    with running(KeyWindow(session)) as other:
        session.key("k")
        other.log.wait("press k")
        desktop.activate(other.activation_token())
        assert session.wait_active(MAIN_WINDOW) == before, "not taken off the screen on the way"
        # Spent, a token does not help once more.
        session.focus(other.TITLE)
        desktop.activate()
        assert session.wait_active(MAIN_WINDOW) != before
    assert app.process.poll() is None


def test_the_settings_are_the_portals_own(session, portal, launch):
    desktop = portal("refuse", version=2)
    app = launch(on=session)
    session.wait_active(ALERT)
    session.key("Return")
    path, _ = desktop.wait_call("ConfigureShortcuts")
    assert path.endswith("/quillory")
