#pragma once

#include "platform/Bundle.h"
#include "platform/View.h"

namespace quillory {

// What the About window shows. Built anew from the bundle each time `body` is called.
class AboutView {
public:
    explicit AboutView(const Bundle& bundle)
        : m_bundle(bundle)
    {
    }

    View body() const;

private:
    const Bundle& m_bundle;
};

}
