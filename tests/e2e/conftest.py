import os
import pathlib
import shutil
import subprocess

import pytest

from application import Application, InstallTree
from desktop import Desktop
from plasma import PlasmaSession
from programs import Portal


@pytest.fixture(scope="session")
def installed():
    """The install prefix, or a build folder, whose program is tested."""
    return pathlib.Path(os.environ["QUILLORY_PREFIX"])


@pytest.fixture(scope="module")
def desktop():
    """A session on X11."""
    with Desktop() as desktop:
        yield desktop


@pytest.fixture(scope="module")
def plasma():
    """A session on Wayland, with its own portal."""
    with PlasmaSession() as plasma:
        yield plasma


@pytest.fixture(scope="module", params=["x11", "wayland"])
def session(request):
    return request.getfixturevalue({"x11": "desktop", "wayland": "plasma"}[request.param])


@pytest.fixture(scope="module", autouse=True)
def nobody_complains():
    """Holds for every program that a file's tests start, whatever they are about (see tests/sanitizers)."""
    yield
    for app in Application.started:
        app.kill()
    reports = [line for app in Application.started for line in app.complaints()]
    Application.started.clear()
    assert not reports, "\n".join(reports)


class Programs:
    """The programs of a file's tests, with one install tree."""

    def __init__(self, installed, folder):
        self.installed = installed
        self.tree = InstallTree(installed, folder)
        self._shared = {}

    def start(self, session, env=None, tree=None, ready=True):
        tree = tree or self.tree
        app = Application(session, tree.binary, tree.page_folder, env)
        if ready:
            app.wait_ready()
            # The status report, half a second after the launch: from here on the log is the test's own.
            app.log.wait("=" * 28)
        return app

    def shared(self, session, env=None):
        """The program that a session's tests have in common, with its page loaded anew."""
        app = self._shared.get(session)
        if app and app.process.poll() is None and app.env == env:
            app.load_anew()
        else:
            self.end(session)
            app = self._shared[session] = self.start(session, env)
            session.settle(app)
            app.log.lines.clear()
            app.env = env
        return app

    def end(self, session):
        """Ends what is shared in a session."""
        if session in self._shared:
            self._shared.pop(session).kill()

    def end_test(self, failed):
        """Ends what was started, but for what is shared and was not in a test that failed."""
        if failed:
            self._shared.clear()
        for app in Application.started:
            if app not in self._shared.values():
                app.kill()


@pytest.fixture(scope="module")
def programs(installed, tmp_path_factory):
    return Programs(installed, tmp_path_factory.mktemp("programs") / "tree")


@pytest.fixture(autouse=True)
def nothing_runs_on(programs, request):
    failed = request.session.testsfailed
    yield
    programs.end_test(request.session.testsfailed != failed)


@pytest.fixture
def app(programs, desktop):
    """The program on X11, which the file's tests share."""
    return programs.shared(desktop)


@pytest.fixture
def shell(programs, desktop, portal):
    """The same with panels that the portal answers."""
    return programs.shared(desktop, Portal.ENVIRONMENT)


@pytest.fixture
def tree(installed, tmp_path):
    """An install tree of the test's own."""
    return InstallTree(installed, tmp_path / "tree")


@pytest.fixture
def tree_of_the_editor(installed, tree):
    """The same with the editor's own page."""
    shutil.copytree(installed / "share/quillory/WebContent", tree.page_folder, dirs_exist_ok=True)
    return tree


@pytest.fixture
def launch(programs, request):
    """Starts a program of the test's own."""
    def start(tree=None, env=None, ready=True, on=None):
        session = on or request.getfixturevalue("desktop")
        programs.end(session)
        return programs.start(session, env, tree, ready)
    return start


@pytest.fixture(scope="session")
def locale(tmp_path_factory):
    """The environment of a real locale: in that of C the C library translates nothing, whatever LANGUAGE says."""
    folder = tmp_path_factory.mktemp("locales")
    subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", folder / "de_DE.UTF-8"], check=True)
    return {"LOCPATH": str(folder), "LC_ALL": "de_DE.UTF-8"}


@pytest.fixture(scope="module")
def portal_of_the_file(desktop):
    with Portal(desktop) as portal:
        yield portal


@pytest.fixture
def portal(portal_of_the_file):
    """File panels that the test answers itself; the program needs `Portal.ENVIRONMENT`, as `shell` has."""
    yield portal_of_the_file
    portal_of_the_file.cancel_all()
