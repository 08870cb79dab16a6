import contextlib
import os
import pathlib
import shutil
import subprocess

import pytest

from application import Application, InstallTree
from desktop import Desktop
from plasma import PlasmaSession
from programs import Portal, running


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
def sanitizers_have_nothing_to_say():
    """Holds for every program that a file's tests start, whatever they are about (see tests/sanitizers)."""
    yield
    reports = [line for app in Application.started for line in app.sanitizer_reports()]
    Application.started.clear()
    assert not reports, "\n".join(reports)


class Programs:
    """The programs of a file's tests. What they can have in common they get from `shared`, with its page loaded anew."""

    def __init__(self, installed, folder):
        self.installed = installed
        self.folder = folder
        self.shared_ones = {}

    def start(self, tree, env, session, ready=True, arguments=()):
        app = Application(session, tree.binary, tree.page_folder, env, arguments)
        app.tree = tree
        if ready:
            app.wait_ready()
            # The status report, half a second after the launch: from here on the log is the test's own.
            app.log.wait("=" * 28)
        return app

    @contextlib.contextmanager
    def shared(self, request, session, env):
        app = self.shared_ones.get(session)
        if app and app.process.poll() is None and app.env == env:
            app.load_anew()
        else:
            self.end(session)
            tree = InstallTree(self.installed, self.folder / f"tree-{len(os.listdir(self.folder))}")
            app = self.shared_ones[session] = self.start(tree, env, session)
            session.settle(app)
            app.log.lines.clear()
            app.env = env
        failed = request.session.testsfailed
        yield app
        if request.session.testsfailed != failed:
            self.end(session)

    def end(self, session=None):
        """Ends what is shared in a session, or in all."""
        for one in [session] if session else list(self.shared_ones):
            if one in self.shared_ones:
                self.shared_ones.pop(one).kill()


@pytest.fixture(scope="module")
def programs(installed, tmp_path_factory):
    programs = Programs(installed, tmp_path_factory.mktemp("trees"))
    yield programs
    programs.end()


@pytest.fixture(autouse=True)
def nothing_runs_on(programs):
    """What a test started ends with it, but for what the file's tests share."""
    yield
    for app in Application.started:
        if app not in programs.shared_ones.values():
            app.kill()


@pytest.fixture
def app(programs, desktop, request):
    """The program on X11, which the file's tests share."""
    with programs.shared(request, desktop, None) as app:
        yield app


@pytest.fixture
def shell(programs, desktop, portal, request):
    """The same with panels that the portal answers."""
    with programs.shared(request, desktop, Portal.ENVIRONMENT) as app:
        yield app


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
    def start(tree=None, env=None, ready=True, on=None, arguments=()):
        on = on or request.getfixturevalue("desktop")
        programs.end(on)
        return programs.start(tree or request.getfixturevalue("tree"), env, on, ready, arguments)
    return start


@pytest.fixture(scope="session")
def locale(tmp_path_factory):
    """The environment of a real locale: in that of C the C library translates nothing, whatever LANGUAGE says."""
    folder = tmp_path_factory.mktemp("locales")
    subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", folder / "de_DE.UTF-8"], check=True)
    return {"LOCPATH": str(folder), "LC_ALL": "de_DE.UTF-8"}


@pytest.fixture(scope="module")
def portal_of_the_file(desktop):
    with running(Portal(desktop)) as portal:
        yield portal


@pytest.fixture
def portal(portal_of_the_file):
    """File panels that the test answers itself; the program needs `Portal.ENVIRONMENT`, as `shell` has."""
    yield portal_of_the_file
    portal_of_the_file.cancel_all()
