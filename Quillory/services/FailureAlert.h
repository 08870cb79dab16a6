#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace quillory {

// Tells the user what could not be saved or opened, beside the page, which goes on. There is one alert at a time:
// it gathers what failed in one turn, and what fails while it is open is told by the next one. Main thread only.
class FailureAlert : public std::enable_shared_from_this<FailureAlert> {
public:
    explicit FailureAlert(Platform& platform)
        : m_platform(platform)
    {
    }

    void notSaved(const std::string& name, const std::string& reason);
    void notOpened(const std::string& name, const std::string& reason);
    // Of a batch, with "SAVED/ALL" and "NAME: REASON" for each file that is known.
    void notAllSaved(const std::string& saved, const std::vector<std::string>& failures);

private:
    struct Failure {
        std::string message;
        std::string reason;
    };

    void add(Failure failure);
    void show();

    Platform& m_platform;
    std::vector<Failure> m_waiting;
    bool m_isOpen = false;
};

}
