#include "platform/gtk/window/MenuBar.h"

#include <array>
#include <utility>

#include "platform/Localization.h"
#include "platform/glib/SignalConnection.h"
#include "platform/gtk/window/AccessibleName.h"

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

using Menu = GObjectPtr<GMenu>;

Menu makeMenu()
{
    return Menu(g_menu_new());
}

void append(const Menu& menu, const std::string& title, const std::string& action)
{
    g_menu_append(menu.get(), title.c_str(), action.c_str());
}

void appendSection(const Menu& menu, const Menu& section)
{
    g_menu_append_section(menu.get(), nullptr, G_MENU_MODEL(section.get()));
}

void appendSubmenu(const Menu& bar, const std::string& title, const Menu& menu)
{
    g_menu_append_submenu(bar.get(), title.c_str(), G_MENU_MODEL(menu.get()));
}

Menu makeSection(const Scene& scene, CommandGroupPlacement placement)
{
    auto section = makeMenu();
    if (const auto* group = replacement(scene, placement)) {
        for (std::size_t i = 0; i < group->content.size(); ++i)
            append(section, group->content[i].title, "menu." + actionName(placement, i));
    }
    return section;
}

void addAction(GSimpleActionGroup* group, const std::string& name, std::function<void()> perform)
{
    const GObjectPtr<GSimpleAction> action(g_simple_action_new(name.c_str(), nullptr));
    connectSignal<void(GVariant*)>(action.get(), "activate", [perform = std::move(perform)](GVariant*) { perform(); });
    g_action_map_add_action(G_ACTION_MAP(group), G_ACTION(action.get()));
}

void setKey(GtkWindow* window, const char* action, const char* key)
{
    const std::array<const char*, 2> keys {key, nullptr};
    gtk_application_set_accels_for_action(gtk_window_get_application(window), action, keys.data());
}

void nameItemsBelow(GtkWidget* widget)
{
    for (auto* child = gtk_widget_get_first_child(widget); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        if (g_object_class_find_property(G_OBJECT_GET_CLASS(child), "menu-name") != nullptr) {
            char* text = nullptr;
            g_object_get(child, "text", &text, nullptr);
            std::string name = GStringPtr(text).get();
            std::erase(name, '_');
            gtk_accessible_reset_relation(GTK_ACCESSIBLE(child), GTK_ACCESSIBLE_RELATION_LABELLED_BY);
            setAccessibleName(child, name);
        }
        nameItemsBelow(child);
    }
}

}

GObjectPtr<GMenu> makeMenuBarModel(const Scene& scene)
{
    const auto applicationMenu = makeMenu();
    appendSection(applicationMenu, makeSection(scene, CommandGroupPlacement::appInfo));
    const auto ending = makeMenu();
    append(ending, localized("_Quit"), "any.quit");
    appendSection(applicationMenu, ending);

    const auto file = makeMenu();
    appendSection(file, makeSection(scene, CommandGroupPlacement::newItem));
    append(file, localized("_Close"), "any.close");

    const auto edit = makeMenu();
    for (const auto& item : editItems) {
        const auto action = std::string("menu.edit-") + item.command;
        const GObjectPtr<GMenuItem> menuItem(g_menu_item_new(localized(item.title).c_str(), action.c_str()));
        g_menu_item_set_attribute(menuItem.get(), "accel", "s", item.shownKey);
        g_menu_append_item(edit.get(), menuItem.get());
    }

    const auto window = makeMenu();
    append(window, localized("_Minimize"), "menu.minimize");

    auto bar = makeMenu();
    appendSubmenu(bar, localized("_Quillory"), applicationMenu);
    appendSubmenu(bar, localized("_File"), file);
    appendSubmenu(bar, localized("_Edit"), edit);
    appendSubmenu(bar, localized("_Window"), window);
    return bar;
}

void installWindowActions(GtkWindow* window, const WindowActions& actions)
{
    const GObjectPtr<GSimpleActionGroup> group(g_simple_action_group_new());
    addAction(group.get(), "quit", actions.quit);
    addAction(group.get(), "close", actions.close);
    gtk_widget_insert_action_group(GTK_WIDGET(window), "any", G_ACTION_GROUP(group.get()));
    setKey(window, "any.quit", "<Control>q");
    setKey(window, "any.close", "<Control>w");
}

void installMenuActions(GtkWindow* window, const Scene& scene, const MenuActions& actions)
{
    const GObjectPtr<GSimpleActionGroup> menu(g_simple_action_group_new());
    for (const auto placement : {CommandGroupPlacement::newItem, CommandGroupPlacement::appInfo}) {
        const auto* group = replacement(scene, placement);
        for (std::size_t i = 0; group != nullptr && i < group->content.size(); ++i)
            addAction(menu.get(), actionName(placement, i), group->content[i].action);
    }
    addAction(menu.get(), "minimize", actions.minimize);
    for (const auto& item : editItems)
        addAction(menu.get(), std::string("edit-") + item.command,
                  [edit = actions.edit, &item] { edit(item.command); });
    gtk_widget_insert_action_group(GTK_WIDGET(window), "menu", G_ACTION_GROUP(menu.get()));
}

void nameMenuItems(GtkWidget* menuBar)
{
    for (auto* item = gtk_widget_get_first_child(menuBar); item != nullptr; item = gtk_widget_get_next_sibling(item)) {
        auto* menu = gtk_widget_get_last_child(item);
        g_signal_connect(menu, "map", G_CALLBACK(+[](GtkWidget* shown, gpointer) { nameItemsBelow(shown); }), nullptr);
    }
}

}
