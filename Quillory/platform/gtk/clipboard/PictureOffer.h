#pragma once

#include <gdk/gdk.h>

#include <functional>
#include <vector>

#include "platform/glib/GObjectPtr.h"
#include "platform/glib/Timeout.h"

namespace quillory::gtk {

// A picture that other programs can get from the clipboard, and which is made when the first one asks for it. It has 10
// s to come: who asked gets nothing then, or when the offer ends. Main thread only.
class PictureOffer {
public:
    // `wanted` is called once: with true when somebody asks, with false when the offer ends and nobody has.
    explicit PictureOffer(std::function<void(bool)> wanted);
    ~PictureOffer();
    PictureOffer(const PictureOffer&) = delete;
    PictureOffer& operator=(const PictureOffer&) = delete;

    GdkContentProvider* provider() const { return m_provider.get(); }
    void deliver(GBytesPtr png);

private:
    friend struct OfferedPicture;

    struct Asked {
        GObjectPtr<GTask> task;
        GObjectPtr<GOutputStream> stream;
    };

    void ask(Asked asked);
    void write(Asked asked) const;
    void refuseAll();

    GObjectPtr<GdkContentProvider> m_provider;
    std::function<void(bool)> m_wanted; // until it was called
    GBytesPtr m_png;
    std::vector<Asked> m_asked;
    Timeout m_patience;
};

}
