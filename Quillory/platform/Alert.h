#pragma once

#include <functional>
#include <string>

namespace quillory {

enum class AlertStyle { warning = 0, informational = 1, critical = 2 };

inline constexpr int alertFirstButtonReturn = 1000;

// A dialog of the main window. Used once; main thread only.
class Alert {
public:
    virtual ~Alert() = default;
    virtual void setMessageText(const std::string& text) = 0;
    virtual void setInformativeText(const std::string& text) = 0;
    virtual void setAlertStyle(AlertStyle style) = 0;
    // The first button added is the default one.
    virtual void addButtonWithTitle(const std::string& title) = 0;
    // Application-modal: timers rest while it is open. Shows the dialog and returns at once; `answered` gets 1000 for
    // the first button, 1001 for the second, and 0 when the dialog was dismissed otherwise. The dialog stays without
    // its holder.
    virtual void runModal(std::function<void(int answer)> answered) = 0;
    // The same beside the other windows, which stay usable.
    virtual void show(std::function<void(int answer)> answered) = 0;
};

}
