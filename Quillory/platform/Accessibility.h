#pragma once

namespace quillory {

// Whether this process may watch the keys of the session. Main thread only.
class Accessibility {
public:
    virtual ~Accessibility() = default;
    // Asks nobody anything.
    virtual bool isProcessTrusted() = 0;
    // With `prompt`, a process that is not trusted makes the desktop ask the user. May take up to
    // 250 ms to hear that an earlier grant still stands.
    virtual bool isProcessTrustedWithOptions(bool prompt) = 0;
};

}
