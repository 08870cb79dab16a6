#include "platform/hotkey/SettingsProgram.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/glib/GObjectPtr.h"
#include "platform/hotkey/CurrentDesktop.h"

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

// Null on a desktop whose program is not known, or not installed.
std::optional<SettingsProgram> programOfDesktop(const std::string& applicationID)
{
    for (auto& program : knownPrograms(applicationID)) {
        if (isCurrentDesktop(program.desktop) && GStringPtr(g_find_program_in_path(program.command.front().c_str())))
            return std::move(program);
    }
    return std::nullopt;
}

}

bool hasSettingsProgram()
{
    return programOfDesktop("").has_value();
}

void openSettingsProgram(const std::string& applicationID, const std::string& activationToken)
{
    const auto program = programOfDesktop(applicationID);
    if (!program)
        return;
    std::vector<char*> arguments;
    arguments.reserve(program->command.size() + 1);
    for (const auto& argument : program->command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    const auto flags =
        static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    auto* environment = g_get_environ();
    if (!activationToken.empty())
        environment = g_environ_setenv(environment, "XDG_ACTIVATION_TOKEN", activationToken.c_str(), TRUE);
    g_spawn_async(nullptr, arguments.data(), environment, flags, nullptr, nullptr, nullptr, nullptr);
    g_strfreev(environment);
}

}
