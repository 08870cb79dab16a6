import os
import pathlib

import pytest

from application import DRIVER, Application, InstallTree
from desktop import Desktop


@pytest.fixture(scope="session")
def installed():
    """The install prefix, or a build folder, whose program is tested."""
    return pathlib.Path(os.environ["QUILLORY_PREFIX"])


@pytest.fixture(scope="session")
def desktop():
    desktop = Desktop()
    yield desktop
    desktop.close()


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
        return app

    yield start
    for app in reversed(running):
        app.kill()


@pytest.fixture
def app(launch):
    return launch()
