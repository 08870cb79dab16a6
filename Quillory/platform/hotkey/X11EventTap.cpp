#include "platform/hotkey/X11EventTap.h"

#include <glib.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/glib/BoxedFunction.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;

// The rest of the second is for the answer's way.
constexpr auto patience = 900ms;
// For a window that the window manager does not let have the focus, and for one that is slow to appear.
constexpr auto mostForFocus = 50ms;

// Before anything else that waits there.
void onMainThread(std::function<void()> work)
{
    using Work = BoxedFunction<void()>;
    g_idle_add_full(G_PRIORITY_HIGH, Work::callOnce, Work::make(std::move(work)), Work::free);
}

}

X11EventTap::X11EventTap(std::unique_ptr<X11KeyGrab> grab, FileDescriptor wakeUp, EventTapCallback callback,
                         void* userData, Hooks hooks)
    : SessionEventTap(callback, userData)
    , m_hooks(std::move(hooks))
    , m_grab(std::move(grab))
    , m_wakeUp(std::move(wakeUp))
{
}

std::shared_ptr<X11EventTap> X11EventTap::make(const std::string& displayName, EventTapCallback callback,
                                               void* userData, Hooks hooks)
{
    auto grab = X11KeyGrab::make(displayName);
    FileDescriptor wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!grab || !wakeUp)
        return nullptr;
    std::shared_ptr<X11EventTap> tap(
        new X11EventTap(std::move(grab), std::move(wakeUp), callback, userData, std::move(hooks)));
    tap->m_thread = std::thread([self = tap.get()] { self->run(); });
    return tap;
}

X11EventTap::~X11EventTap()
{
    // Ends the thread's loop. The server lets go of the keyboard with the connection.
    shutdown(m_grab->descriptor(), SHUT_RDWR);
    m_thread.join();
}

bool X11EventTap::isEnabled() const
{
    return SessionEventTap::isEnabled() && m_grab->isConnected();
}

void X11EventTap::decide()
{
    const auto asked = [this] {
        const std::lock_guard lock(m_mutex);
        return m_held;
    }();
    const auto decision = asked ? std::optional(decided(*asked)) : std::nullopt;
    const bool late = [&] {
        const std::lock_guard lock(m_mutex);
        m_held = m_held ? decision : std::nullopt;
        return std::exchange(m_late, false);
    }();
    eventfd_write(m_wakeUp.get(), 1);
    if (late && isEnabled()) {
        enable(false);
        tellDisabledByTimeout();
    }
}

X11EventTap::HeldPress X11EventTap::decided(HeldPress held) const
{
    held.answer = X11KeyGrab::Answer::pass;
    if (!delivers())
        return held;
    const bool focusWillMove = !m_hooks.hasFocus();
    m_hooks.willDeliver(held.press);
    if (passes())
        return held;
    held.answer = X11KeyGrab::Answer::swallow;
    held.awaitsFocus = focusWillMove;
    held.deadline = std::min(held.deadline, Clock::now() + mostForFocus);
    return held;
}

void X11EventTap::run()
{
    pthread_setname_np(pthread_self(), "hotkey");
    while (m_grab->isConnected()) {
        answerIfDue();
        // Last, as whatever is sent may read what makes the connection readable no more.
        takePresses();
        wait();
    }
}

void X11EventTap::takePresses()
{
    while (const auto press = m_grab->nextPress()) {
        const bool mayAsk = [this] {
            const std::lock_guard lock(m_mutex);
            return !m_held && !m_late;
        }();
        if (mayAsk)
            ask(*press);
        else
            m_grab->answer(*press, X11KeyGrab::Answer::pass);
    }
}

void X11EventTap::ask(xcb_timestamp_t press)
{
    m_grab->watchActiveWindow(true);
    {
        const std::lock_guard lock(m_mutex);
        m_held = HeldPress {press, Clock::now() + patience};
    }
    onMainThread([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->decide();
    });
}

void X11EventTap::answerIfDue()
{
    const auto due = [this]() -> std::optional<HeldPress> {
        const std::lock_guard lock(m_mutex);
        if (!m_held)
            return std::nullopt;
        const bool isDecided = m_held->answer && (!m_held->awaitsFocus || m_grab->hasActiveWindowChanged());
        if (!isDecided && Clock::now() < m_held->deadline)
            return std::nullopt;
        m_late = !m_held->answer;
        return std::exchange(m_held, std::nullopt);
    }();
    if (!due)
        return;
    m_grab->watchActiveWindow(false);
    m_grab->answer(due->press, due->answer.value_or(X11KeyGrab::Answer::pass));
}

void X11EventTap::wait()
{
    const int most = [this] {
        const std::lock_guard lock(m_mutex);
        if (!m_held)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_held->deadline - Clock::now());
        return std::max(0, static_cast<int>(left.count()));
    }();
    std::array<pollfd, 2> sources {{{m_grab->descriptor(), POLLIN, 0}, {m_wakeUp.get(), POLLIN, 0}}};
    poll(sources.data(), sources.size(), most);
    eventfd_t ignored = 0;
    eventfd_read(m_wakeUp.get(), &ignored);
}

}
