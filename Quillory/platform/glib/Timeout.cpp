#include "platform/glib/Timeout.h"

#include <utility>

#include "platform/glib/BoxedFunction.h"

namespace quillory {

void Timeout::start(std::chrono::milliseconds interval, std::function<bool()> function)
{
    using Box = BoxedFunction<bool()>;
    const auto call = [](gpointer box) -> gboolean { return Box::of(box)() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE; };
    m_source.reset(g_timeout_source_new(static_cast<guint>(interval.count())));
    g_source_set_callback(m_source.get(), call, Box::make(std::move(function)), Box::free);
    g_source_attach(m_source.get(), nullptr);
}

}
