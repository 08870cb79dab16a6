#include "platform/hotkey/SettingsProgram.h"

#include <gio/gio.h>

#include <optional>
#include <vector>

#include "platform/glib/GObjectPtr.h"
#include "platform/hotkey/CurrentDesktop.h"

namespace quillory {

namespace {

struct SettingsProgram {
    const char* desktop;
    std::vector<const char*> command; // with null at its end
};

// In the order they are tried: a desktop's program changed its name over time.
std::vector<SettingsProgram> knownPrograms(const std::string& applicationID)
{
    const char* id = applicationID.c_str();
    if (applicationID.empty())
        return {{"GNOME", {"gnome-control-center", "keyboard", nullptr}},
                {"KDE", {"systemsettings", "kcm_keys", nullptr}},
                {"KDE", {"systemsettings5", "kcm_keys", nullptr}}};
    return {{"GNOME", {"gnome-control-center", "applications", id, nullptr}},
            {"KDE", {"systemsettings", "kcm_keys", "--args", id, nullptr}},
            {"KDE", {"systemsettings5", "kcm_keys", "--args", id, nullptr}}};
}

// None on a desktop whose program is not known, or not installed.
std::optional<SettingsProgram> programOfDesktop(const std::string& applicationID)
{
    for (auto& program : knownPrograms(applicationID)) {
        if (isCurrentDesktop(program.desktop) && GStringPtr(g_find_program_in_path(program.command.front())))
            return program;
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
    constexpr auto flags =
        static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_SILENCE | G_SUBPROCESS_FLAGS_STDERR_SILENCE);
    const GObjectPtr<GSubprocessLauncher> launcher(g_subprocess_launcher_new(flags));
    if (!activationToken.empty())
        g_subprocess_launcher_setenv(launcher.get(), "XDG_ACTIVATION_TOKEN", activationToken.c_str(), TRUE);
    const GObjectPtr<GSubprocess> started(
        g_subprocess_launcher_spawnv(launcher.get(), program->command.data(), nullptr));
}

}
