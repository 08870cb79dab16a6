#include "platform/gtk/MainQueue.h"

#include <glib.h>

#include <memory>

namespace quillory::gtk {

namespace {

using Work = std::function<void()>;

gboolean run(gpointer data)
{
    (*static_cast<Work*>(data))();
    return G_SOURCE_REMOVE;
}

void destroy(gpointer data)
{
    delete static_cast<Work*>(data);
}

gpointer box(Work work)
{
    return std::make_unique<Work>(std::move(work)).release();
}

}

void MainQueue::async(Work work)
{
    g_idle_add_full(G_PRIORITY_DEFAULT, run, box(std::move(work)), destroy);
}

void MainQueue::asyncAfter(std::chrono::milliseconds delay, Work work)
{
    g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(delay.count()), run, box(std::move(work)), destroy);
}

}
