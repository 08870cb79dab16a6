#pragma once

#include <filesystem>
#include <functional>
#include <optional>

namespace quillory {

enum class ModalResponse { cancel = 0, ok = 1 };

// Told how a panel ended, once, on the main thread: the answer and the chosen location, if any.
// Never called for a panel that is still open when the application ends.
using PanelCompletion = std::function<void(ModalResponse response, std::optional<std::filesystem::path> url)>;

}
