#include "hotkey/HotkeyManager.h"
namespace quillory { std::shared_ptr<HotkeyManager> HotkeyManager::shared; }
