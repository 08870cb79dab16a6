#include "platform/hotkey/SettingsProgram.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <glib.h>

namespace quillory {

namespace {

struct SettingsProgram {
    std::string desktop;
    std::vector<std::string> command;
};

// In the order they are tried: a desktop's program changed its name over time.
std::vector<SettingsProgram> knownPrograms(const std::string& applicationID)
{
    if (applicationID.empty())
        return {{"GNOME", {"gnome-control-center", "keyboard"}},
                {"KDE", {"systemsettings", "kcm_keys"}},
                {"KDE", {"systemsettings5", "kcm_keys"}}};
    return {{"GNOME", {"gnome-control-center", "applications", applicationID}},
            {"KDE", {"systemsettings", "kcm_keys", "--args", applicationID}},
            {"KDE", {"systemsettings5", "kcm_keys", "--args", applicationID}}};
}

std::vector<std::string> currentDesktops()
{
    std::vector<std::string> names;
    const char* desktops = g_getenv("XDG_CURRENT_DESKTOP");
    std::istringstream list(desktops != nullptr ? desktops : "");
    for (std::string name; std::getline(list, name, ':');)
        names.push_back(name);
    return names;
}

bool start(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const auto& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    const auto flags =
        static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    return g_spawn_async(nullptr, arguments.data(), nullptr, flags, nullptr, nullptr, nullptr, nullptr) != 0;
}

}

void openSettingsProgram(const std::string& applicationID)
{
    const auto desktops = currentDesktops();
    for (const auto& program : knownPrograms(applicationID)) {
        const bool here = std::find(desktops.begin(), desktops.end(), program.desktop) != desktops.end();
        if (here && start(program.command))
            return;
    }
}

}
