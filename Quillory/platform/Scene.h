#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quillory {

// A standard group of the menu bar that a scene can replace.
enum class CommandGroupPlacement {
    newItem, // the File menu's New items
    appInfo, // the application menu's About item
};

// One menu item. `title` is shown as it is: whoever makes the value translates it.
struct Button {
    std::string title;
    std::function<void()> action;
};

// Puts its items, none for an empty view, in place of a standard group.
struct CommandGroup {
    CommandGroupPlacement replacing;
    std::vector<Button> content;
};

// An application's only scene: settings without content, which open no window of their own.
struct Scene {
    std::vector<CommandGroup> commands;
};

}
