#include "web/ContentView.h"

#include "web/WebView.h"

namespace quillory::web {

View ContentView::body() const
{
    return WebView(m_platform).body();
}

}
