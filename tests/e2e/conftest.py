import os
import pathlib
import subprocess

import pytest

from application import DRIVER, Application, InstallTree
from desktop import Desktop
from programs import Portal


@pytest.fixture(scope="session")
def installed():
    """The install prefix, or a build folder, whose program is tested."""
    return pathlib.Path(os.environ["QUILLORY_PREFIX"])


@pytest.fixture(scope="session")
def desktop():
    desktop = Desktop()
    yield desktop
    desktop.close()


@pytest.fixture(autouse=True)
def sanitizers_have_nothing_to_say():
    """Holds for every test and every program that it starts, whatever the test is about (see tests/sanitizers)."""
    yield
    reports = [line for app in Application.started for line in app.sanitizer_reports()]
    Application.started.clear()
    assert not reports, "\n".join(reports)


@pytest.fixture
def launch(desktop, installed, tmp_path):
    """Starts the program with a page of the test's own, in a folder of the test's own; ends all at the end."""
    running = []
    trees = {}

    def start(page=DRIVER, folder="installed", env=None, ready=True, on=desktop, arguments=()):
        if folder not in trees:
            trees[folder] = InstallTree(installed, tmp_path / folder, page)
        tree = trees[folder]
        for script in tree.page_folder.glob("script-*.js"):
            script.unlink()
        app = Application(on, tree.binary, tree.page_folder, env, arguments)
        app.tree = tree
        running.append(app)
        if ready:
            app.wait_ready()
            # The status report, half a second after the launch: from here on the log is the test's own.
            app.log.wait("=" * 28)
        return app

    yield start
    for app in reversed(running):
        app.kill()


@pytest.fixture
def portal(desktop):
    """File panels that the test answers itself; the program needs `Portal.ENVIRONMENT`."""
    portal = Portal(desktop)
    yield portal
    portal.kill()


@pytest.fixture
def app(launch):
    return launch()


@pytest.fixture(scope="session")
def locale(tmp_path_factory):
    """The environment of a real locale: in that of C the C library translates nothing, whatever LANGUAGE says."""
    folder = tmp_path_factory.mktemp("locales")
    subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", folder / "de_DE.UTF-8"], check=True)
    return {"LOCPATH": str(folder), "LC_ALL": "de_DE.UTF-8"}
