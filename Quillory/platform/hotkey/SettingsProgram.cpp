#include "platform/hotkey/SettingsProgram.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <glibmm/miscutils.h>
#include <glibmm/spawn.h>

namespace quillory {

namespace {

struct SettingsProgram {
    std::string desktop;
    std::vector<std::string> command;
};

// In the order they are tried: a desktop's program changed its name over time.
const std::vector<SettingsProgram>& knownPrograms()
{
    static const std::vector<SettingsProgram> programs {
        {"GNOME", {"gnome-control-center", "keyboard"}},
        {"KDE", {"systemsettings", "kcm_keys"}},
        {"KDE", {"systemsettings5", "kcm_keys"}},
    };
    return programs;
}

std::vector<std::string> currentDesktops()
{
    std::vector<std::string> names;
    std::istringstream list(Glib::getenv("XDG_CURRENT_DESKTOP"));
    for (std::string name; std::getline(list, name, ':');)
        names.push_back(name);
    return names;
}

bool start(const std::vector<std::string>& command)
{
    const auto flags =
        Glib::SpawnFlags::SEARCH_PATH | Glib::SpawnFlags::STDOUT_TO_DEV_NULL | Glib::SpawnFlags::STDERR_TO_DEV_NULL;
    try {
        Glib::spawn_async("", command, flags);
        return true;
    } catch (const Glib::SpawnError&) {
        return false;
    }
}

}

void openSettingsProgram()
{
    const auto desktops = currentDesktops();
    for (const auto& program : knownPrograms()) {
        const bool here = std::find(desktops.begin(), desktops.end(), program.desktop) != desktops.end();
        if (here && start(program.command))
            return;
    }
}

}
