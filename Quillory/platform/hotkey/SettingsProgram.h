#pragma once

namespace quillory {

// Starts the settings program of the user's desktop at its page for shortcuts. Does nothing on a
// desktop whose program is not known or not installed.
void openSettingsProgram();

}
