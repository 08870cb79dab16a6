#pragma once

#include <string>

namespace quillory {

// Starts the settings program of the user's desktop at its page for the shortcuts of an application, or of all
// where `applicationID` is empty. Does nothing on a desktop whose program is not known or not installed.
void openSettingsProgram(const std::string& applicationID);

}
