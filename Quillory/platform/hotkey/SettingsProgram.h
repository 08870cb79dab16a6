#pragma once

#include <string>

namespace quillory {

// Whether the settings program of the user's desktop is known and installed.
bool hasSettingsProgram();

// Starts it at its page for the shortcuts of an application, or of all where `applicationID` is empty. Does nothing
// where there is none. `activationToken` entitles it to take the focus; it may be empty.
void openSettingsProgram(const std::string& applicationID, const std::string& activationToken);

}
