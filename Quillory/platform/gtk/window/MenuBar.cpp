#include "platform/gtk/window/MenuBar.h"

#include <array>
#include <string>
#include <utility>

#include "platform/Localization.h"
#include "platform/glib/GObjectPtr.h"
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

using Menu = GObjectPtr<GMenu>;
using Actions = GObjectPtr<GSimpleActionGroup>;

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

void addAction(const Actions& actions, const std::string& name, std::function<void(GVariant* parameter)> perform,
               const GVariantType* parameterType = nullptr)
{
    const GObjectPtr<GSimpleAction> action(g_simple_action_new(name.c_str(), parameterType));
    connectSignal<void(GVariant*)>(action.get(), "activate", std::move(perform));
    g_action_map_add_action(G_ACTION_MAP(actions.get()), G_ACTION(action.get()));
}

// The commands that replace a standard group, whose actions are called `name` and a number.
Menu makeSection(const Scene& scene, CommandGroupPlacement placement, const std::string& name, const Actions& actions)
{
    auto section = makeMenu();
    for (const auto& group : scene.commands) {
        if (group.replacing != placement)
            continue;
        for (const auto& [title, perform] : group.content) {
            const auto action = name + std::to_string(g_menu_model_get_n_items(G_MENU_MODEL(section.get())));
            addAction(actions, action, [perform](GVariant*) { perform(); });
            append(section, title, "menu." + action);
        }
    }
    return section;
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

// Gives the items their text as the name that a screen reader says, each time that their menu opens. By itself the
// toolkit names them after a label, again whenever something of them changes, and at least in 4.18 hides that label
// from the reader.
void nameMenuItems(GtkWidget* menuBar)
{
    for (auto* item = gtk_widget_get_first_child(menuBar); item != nullptr; item = gtk_widget_get_next_sibling(item)) {
        auto* menu = gtk_widget_get_last_child(item);
        g_signal_connect(menu, "map", G_CALLBACK(+[](GtkWidget* shown, gpointer) { nameItemsBelow(shown); }), nullptr);
    }
}

}

void installWindowActions(GtkWindow* window, std::function<void()> quit)
{
    const Actions actions(g_simple_action_group_new());
    addAction(actions, "quit", [quit = std::move(quit)](GVariant*) { quit(); });
    addAction(actions, "close", [window](GVariant*) { gtk_window_close(window); });
    gtk_widget_insert_action_group(GTK_WIDGET(window), "any", G_ACTION_GROUP(actions.get()));
    setKey(window, "any.quit", "<Control>q");
    setKey(window, "any.close", "<Control>w");
}

GtkWidget* makeMenuBar(GtkWindow* window, const Scene& scene, std::function<void(const char* command)> edit)
{
    const Actions actions(g_simple_action_group_new());
    const auto applicationMenu = makeMenu();
    appendSection(applicationMenu, makeSection(scene, CommandGroupPlacement::appInfo, "app-info-", actions));
    const auto ending = makeMenu();
    append(ending, localized("_Quit"), "any.quit");
    appendSection(applicationMenu, ending);

    const auto fileMenu = makeMenu();
    appendSection(fileMenu, makeSection(scene, CommandGroupPlacement::newItem, "new-item-", actions));
    append(fileMenu, localized("_Close"), "any.close");

    const auto editMenu = makeMenu();
    for (const auto& [title, command, shownKey] : editItems) {
        const auto action = std::string("menu.edit::") + command;
        const GObjectPtr<GMenuItem> item(g_menu_item_new(localized(title).c_str(), action.c_str()));
        g_menu_item_set_attribute(item.get(), "accel", "s", shownKey);
        g_menu_append_item(editMenu.get(), item.get());
    }
    const auto perform = [edit = std::move(edit)](GVariant* command) { edit(g_variant_get_string(command, nullptr)); };
    addAction(actions, "edit", perform, G_VARIANT_TYPE_STRING);

    const auto windowMenu = makeMenu();
    append(windowMenu, localized("_Minimize"), "window.minimize");

    const auto bar = makeMenu();
    appendSubmenu(bar, localized("_Quillory"), applicationMenu);
    appendSubmenu(bar, localized("_File"), fileMenu);
    appendSubmenu(bar, localized("_Edit"), editMenu);
    appendSubmenu(bar, localized("_Window"), windowMenu);
    gtk_widget_insert_action_group(GTK_WIDGET(window), "menu", G_ACTION_GROUP(actions.get()));
    auto* widget = gtk_popover_menu_bar_new_from_model(G_MENU_MODEL(bar.get()));
    setAccessibleName(widget, localized("Menu bar"));
    nameMenuItems(widget);
    return widget;
}

}
