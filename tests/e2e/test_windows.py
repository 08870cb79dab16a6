"""The main window and the menus, worked as a user would."""
import os
import pathlib

from desktop import wait_for


def test_close_button_hides_and_keeps_the_page(launch, desktop):
    app = launch()
    app.run_script("document.body.innerHTML = '<input id=i>'; document.getElementById('i').value = 'typed'")
    window = app.window()
    desktop.focus(window)
    desktop.key("alt+F4")
    desktop.wait_no_window("Quillory")
    assert app.run_script("return document.getElementById('i').value") == "typed"
    assert app.process.poll() is None


def test_about_window_is_one_and_stays_where_it_was_put(app, desktop):
    window = app.window()
    desktop.focus(window)

    def choose_about():
        desktop.choose_from_menu(window, 0, 0)
        about = desktop.wait_window("About Quillory")
        desktop.wait_active(about)
        return about

    about = choose_about()
    place = desktop.geometry(about)
    assert (place["WIDTH"], place["HEIGHT"]) == (400, 550)
    desktop.run("xdotool", "windowmove", about, "30", "40")
    wait_for(lambda: desktop.geometry(about)["X"] < 60, "the window to move")
    moved = desktop.geometry(about)
    desktop.key("alt+F4")
    desktop.wait_no_window("About Quillory")
    assert choose_about() == about
    wait_for(lambda: desktop.geometry(about) == moved, "the window to be where it was left")


def test_edit_menu_works_in_the_page(app, desktop):
    window = app.window()
    desktop.focus(window)
    app.run_script("document.body.innerHTML = '<textarea id=t>text</textarea>'; document.getElementById('t').focus()")
    desktop.choose_from_menu(window, 2, 5)  # Select All
    app.run_script("while (document.getElementById('t').selectionEnd != 4) await new Promise(r => setTimeout(r, 10))")
    # Keys of the menu's items are the page's own.
    app.run_script("window.seen = new Promise(r => addEventListener('keydown', "
                   "(e) => { if (e.key == 'z' && e.ctrlKey) { e.preventDefault(); r('page'); } }))")
    app.run_script("while (!document.hasFocus()) await new Promise(r => setTimeout(r, 10))")
    desktop.key("ctrl+z")
    assert app.run_script("return await window.seen") == "page"


def test_page_started_downloads_are_refused(app, desktop):
    app.run_script("""
        const link = document.createElement("a");
        link.href = URL.createObjectURL(new Blob(["content"]));
        link.download = "unasked.txt";
        document.body.append(link);
        link.click();
        await new Promise((resolve) => setTimeout(resolve, 500));
    """)
    assert list(pathlib.Path(desktop.home).rglob("unasked*")) == []
    assert app.run_script("return document.title") == "Test page"


def test_window_shows_although_the_page_cannot_be_loaded_yet(launch, tmp_path):
    env = {"XDG_CACHE_HOME": str(tmp_path / "cache")}
    launch(env=env).quit()
    # What limits the page's access to files was kept there; reading it anew never comes to an end.
    kept = [file for file in (tmp_path / "cache").rglob("content-filters/*") if file.is_file()]
    assert kept
    for file in kept:
        file.unlink()
        os.mkfifo(file)
    app = launch(env=env, ready=False)
    app.window()
    assert app.quit() == 0
