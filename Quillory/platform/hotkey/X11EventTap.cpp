#include "platform/hotkey/X11EventTap.h"

#include <glib-unix.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

#include <chrono>
#include <utility>

#include "platform/glib/BoxedFunction.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 1s;
// For a window that the window manager does not let have the focus, and for one that is slow to appear.
constexpr auto mostForFocus = 50ms;

// Before anything else that waits there.
void onMainThread(std::function<void()> work)
{
    using Work = BoxedFunction<void()>;
    g_idle_add_full(G_PRIORITY_HIGH, Work::callOnce, Work::make(std::move(work)), Work::free);
}

}

X11EventTap::X11EventTap(EventTapCallback callback, void* userData, Hooks hooks)
    : SessionEventTap(callback, userData)
    , m_hooks(std::move(hooks))
{
}

std::shared_ptr<X11EventTap> X11EventTap::make(const std::string& displayName, EventTapCallback callback,
                                               void* userData, Hooks hooks)
{
    auto grab = X11KeyGrab::make(displayName);
    if (!grab)
        return nullptr;
    std::shared_ptr<X11EventTap> tap(new X11EventTap(callback, userData, std::move(hooks)));
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
    using Take = BoxedFunction<bool()>;
    const auto dispatch = [](gint, GIOCondition, gpointer box) -> gboolean { return Take::of(box)() ? TRUE : FALSE; };
    m_source.reset(g_unix_fd_source_new(m_grab->descriptor(), G_IO_IN));
    g_source_set_priority(m_source.get(), G_PRIORITY_HIGH);
    g_source_set_callback(m_source.get(), G_SOURCE_FUNC(static_cast<GUnixFDSourceFunc>(dispatch)),
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
    const auto takeAll = [this] {
        while (const auto press = m_grab->nextPress())
            take(*press);
    };
    takeAll();
    if (m_swallow.isUnderWay() && m_grab->hasActiveWindowChanged()) {
        swallow();
        // Sending may have read what makes the connection readable no more.
        takeAll();
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_pending)
            return;
        ++m_taken;
    }
    m_changed.notify_all();
}

void X11EventTap::take(const X11KeyGrab::Press& press)
{
    {
        const std::lock_guard lock(m_mutex);
        m_pending = {press, X11KeyGrab::Answer::pass};
    }
    const bool focusWillMove = delivers() && m_hooks.hasFocus && !m_hooks.hasFocus();
    if (focusWillMove)
        m_grab->watchActiveWindow(true);
    const auto answer = decide(press);
    if (focusWillMove && answer == X11KeyGrab::Answer::swallow)
        return swallowWhenFocusHasMoved();
    if (focusWillMove)
        m_grab->watchActiveWindow(false);
    answerPending(answer);
}

void X11EventTap::swallowWhenFocusHasMoved()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_pending)
            m_pending->answer = X11KeyGrab::Answer::swallow;
    }
    m_swallow.start(mostForFocus, [this] {
        swallow();
        takePresses();
        return false;
    });
}

void X11EventTap::swallow()
{
    m_swallow.stop();
    m_grab->watchActiveWindow(false);
    answerPending(X11KeyGrab::Answer::swallow);
}

void X11EventTap::answerPending(X11KeyGrab::Answer answer)
{
    const std::lock_guard lock(m_mutex);
    if (const auto pending = std::exchange(m_pending, std::nullopt))
        m_grab->answer(pending->press, answer);
}

X11KeyGrab::Answer X11EventTap::decide(const X11KeyGrab::Press& press)
{
    if (!delivers())
        return X11KeyGrab::Answer::pass;
    if (m_hooks.willDeliver)
        m_hooks.willDeliver(press.timestamp);
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
        const auto overdue = std::exchange(m_pending, std::nullopt);
        if (overdue)
            m_grab->answer(overdue->press, overdue->answer);
        if (m_grab->passAll() || (overdue && overdue->answer == X11KeyGrab::Answer::pass))
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
