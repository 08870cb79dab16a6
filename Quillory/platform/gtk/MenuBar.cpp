#include "platform/gtk/MenuBar.h"

#include <gtkmm/application.h>

#include <array>

#include "platform/Localization.h"

namespace quillory::gtk {

namespace {

struct EditItem {
    const char* title;
    const char* command;
    const char* shownKey;
};

constexpr std::array editItems {
    EditItem {localizable("_Undo"), "Undo", "<Control>z"},
    EditItem {localizable("_Redo"), "Redo", "<Shift><Control>z"},
    EditItem {localizable("Cu_t"), "Cut", "<Control>x"},
    EditItem {localizable("_Copy"), "Copy", "<Control>c"},
    EditItem {localizable("_Paste"), "Paste", "<Control>v"},
    EditItem {localizable("Select _All"), "SelectAll", "<Control>a"},
};

const CommandGroup* replacement(const Scene& scene, CommandGroupPlacement placement)
{
    for (const auto& group : scene.commands) {
        if (group.replacing == placement)
            return &group;
    }
    return nullptr;
}

std::string actionName(CommandGroupPlacement placement, std::size_t index)
{
    const char* group = placement == CommandGroupPlacement::newItem ? "new-item" : "app-info";
    return std::string(group) + "-" + std::to_string(index);
}

Glib::RefPtr<Gio::Menu> makeSection(const Scene& scene, CommandGroupPlacement placement)
{
    auto section = Gio::Menu::create();
    if (const auto* group = replacement(scene, placement)) {
        for (std::size_t i = 0; i < group->content.size(); ++i)
            section->append(group->content[i].title, "win." + actionName(placement, i));
    }
    return section;
}

}

Glib::RefPtr<Gio::Menu> makeMenuBarModel(const Scene& scene)
{
    auto applicationMenu = Gio::Menu::create();
    applicationMenu->append_section(makeSection(scene, CommandGroupPlacement::appInfo));
    auto ending = Gio::Menu::create();
    ending->append(localized("_Quit"), "win.quit");
    applicationMenu->append_section(ending);

    auto file = Gio::Menu::create();
    file->append_section(makeSection(scene, CommandGroupPlacement::newItem));
    file->append(localized("_Close"), "win.close");

    auto edit = Gio::Menu::create();
    for (const auto& item : editItems) {
        auto menuItem = Gio::MenuItem::create(localized(item.title), std::string("win.edit-") + item.command);
        menuItem->set_attribute_value("accel", Glib::Variant<Glib::ustring>::create(item.shownKey));
        edit->append_item(menuItem);
    }

    auto window = Gio::Menu::create();
    window->append(localized("_Minimize"), "win.minimize");

    auto bar = Gio::Menu::create();
    bar->append_submenu(localized("_Quillory"), applicationMenu);
    bar->append_submenu(localized("_File"), file);
    bar->append_submenu(localized("_Edit"), edit);
    bar->append_submenu(localized("_Window"), window);
    return bar;
}

void installMenuActions(Gtk::ApplicationWindow& window, const Scene& scene, const MenuActions& actions)
{
    for (const auto placement : {CommandGroupPlacement::newItem, CommandGroupPlacement::appInfo}) {
        const auto* group = replacement(scene, placement);
        for (std::size_t i = 0; group != nullptr && i < group->content.size(); ++i)
            window.add_action(actionName(placement, i), group->content[i].action);
    }
    window.add_action("quit", actions.quit);
    window.add_action("close", actions.close);
    window.add_action("minimize", actions.minimize);
    for (const auto& item : editItems)
        window.add_action(std::string("edit-") + item.command, [edit = actions.edit, &item] { edit(item.command); });

    const auto application = window.get_application();
    application->set_accel_for_action("win.quit", "<Control>q");
    application->set_accel_for_action("win.close", "<Control>w");
}

}
