#include "platform/hotkey/X11EventTap.h"

#include <glib-unix.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

#include <chrono>
#include <utility>

#include "platform/gtk/BoxedFunction.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 1s;

// Before anything else that waits there.
void onMainThread(std::function<void()> work)
{
    using Work = gtk::BoxedFunction<void()>;
    g_idle_add_full(G_PRIORITY_HIGH, Work::callOnce, Work::make(std::move(work)), Work::free);
}

}

X11EventTap::X11EventTap(EventTapCallback callback, void* userData, WillDeliver willDeliver)
    : SessionEventTap(callback, userData)
    , m_willDeliver(std::move(willDeliver))
{
}

std::shared_ptr<X11EventTap> X11EventTap::make(const std::string& displayName, EventTapCallback callback,
                                               void* userData, WillDeliver willDeliver)
{
    auto grab = X11KeyGrab::make(displayName);
    if (!grab)
        return nullptr;
    std::shared_ptr<X11EventTap> tap(new X11EventTap(callback, userData, std::move(willDeliver)));
    tap->m_grab = std::move(grab);
    tap->start();
    return tap;
}

X11EventTap::~X11EventTap()
{
    m_source.reset();
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
    }
    m_changed.notify_all();
    // Ends the wait for the connection.
    shutdown(m_grab->descriptor(), SHUT_RDWR);
    m_watch.join();
}

bool X11EventTap::isEnabled() const
{
    return SessionEventTap::isEnabled() && m_grab->isConnected();
}

void X11EventTap::start()
{
    using Take = gtk::BoxedFunction<bool()>;
    const auto take = [](gint, GIOCondition, gpointer box) -> gboolean { return Take::of(box)() ? TRUE : FALSE; };
    m_source.reset(g_unix_fd_source_new(m_grab->descriptor(), G_IO_IN));
    g_source_set_priority(m_source.get(), G_PRIORITY_HIGH);
    g_source_set_callback(m_source.get(), G_SOURCE_FUNC(static_cast<GUnixFDSourceFunc>(take)),
                          Take::make([weak = weak_from_this()] {
                              const auto self = weak.lock();
                              if (self)
                                  self->takePresses();
                              return self && self->m_grab->isConnected();
                          }),
                          Take::free);
    g_source_attach(m_source.get(), nullptr);
    m_watch = std::thread([this] { watch(); });
    // What came with the replies to the grabs makes the connection readable no more.
    takePresses();
}

void X11EventTap::takePresses()
{
    tellIfLate();
    while (const auto press = m_grab->nextPress()) {
        {
            const std::lock_guard lock(m_mutex);
            m_deciding = press;
        }
        const auto answer = decide(*press);
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_deciding, std::nullopt))
            m_grab->answer(*press, answer);
    }
    {
        const std::lock_guard lock(m_mutex);
        ++m_taken;
    }
    m_changed.notify_all();
}

X11KeyGrab::Answer X11EventTap::decide(const X11KeyGrab::Press& press)
{
    if (!delivers())
        return X11KeyGrab::Answer::pass;
    if (m_willDeliver)
        m_willDeliver(press.timestamp);
    return passes(TapEvent {keyCodeE, press.flags}) ? X11KeyGrab::Answer::pass : X11KeyGrab::Answer::swallow;
}

void X11EventTap::tellIfLate()
{
    const bool late = [this] {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_late, false);
    }();
    if (late && isEnabled()) {
        enable(false);
        tellDisabledByTimeout();
    }
}

void X11EventTap::watch()
{
    pthread_setname_np(pthread_self(), "hotkey");
    bool open = true;
    while (open) {
        const auto taken = [this] {
            const std::lock_guard lock(m_mutex);
            return m_taken;
        }();
        pollfd connection {m_grab->descriptor(), POLLIN, 0};
        poll(&connection, 1, -1);
        open = awaitMainThread(taken) && m_grab->isConnected();
    }
}

bool X11EventTap::awaitMainThread(std::uint64_t taken)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, m_late ? 0s : patience, [&] { return m_taken != taken || m_closing; });
    if (m_closing)
        return false;
    if (m_taken == taken) {
        const auto overdue = std::exchange(m_deciding, std::nullopt);
        if (overdue)
            m_grab->answer(*overdue, X11KeyGrab::Answer::pass);
        if (m_grab->passAll() || overdue)
            m_late = true;
        // The keymap may have changed as well.
        onMainThread([weak = weak_from_this()] {
            if (const auto self = weak.lock())
                self->takePresses();
        });
    }
    return true;
}

}
