#include "platform/hotkey/X11EventTap.h"

#include <glib.h>

#include <chrono>
#include <optional>
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

// What became of one press; guarded by the tap's mutex.
struct X11EventTap::Question {
    X11KeyGrab::Press press;
    bool answered = false;
    bool abandoned = false;
};

X11EventTap::X11EventTap(EventTapCallback callback, void* userData, WillDeliver willDeliver)
    : SessionEventTap(callback, userData)
    , m_willDeliver(std::move(willDeliver))
{
}

std::shared_ptr<X11EventTap> X11EventTap::make(const std::string& displayName, EventTapCallback callback,
                                               void* userData, WillDeliver willDeliver)
{
    std::shared_ptr<X11EventTap> tap(new X11EventTap(callback, userData, std::move(willDeliver)));
    tap->m_grab = X11KeyGrab::make(
        displayName, [self = tap.get()](const X11KeyGrab::Press& press) { return self->askMainThread(press); });
    return tap->m_grab ? tap : nullptr;
}

X11EventTap::~X11EventTap()
{
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
    }
    m_changed.notify_all();
    // Joins the thread, which uses all of the above.
    m_grab.reset();
}

bool X11EventTap::isEnabled() const
{
    return SessionEventTap::isEnabled() && m_grab->isConnected();
}

// Nothing if the main thread has answered; the press is passed on if it is too busy to.
std::optional<X11KeyGrab::Answer> X11EventTap::askMainThread(const X11KeyGrab::Press& press)
{
    std::unique_lock lock(m_mutex);
    if (m_timedOut || m_closing)
        return X11KeyGrab::Answer::pass;
    // The main thread is not to find it locked.
    lock.unlock();
    const auto question = std::make_shared<Question>(Question {press});
    onMainThread([weak = weak_from_this(), question] {
        if (const auto self = weak.lock())
            self->take(*question);
    });
    lock.lock();
    m_changed.wait_for(lock, patience, [&] { return question->answered || m_closing; });
    if (question->answered)
        return std::nullopt;
    question->abandoned = m_timedOut = true;
    return X11KeyGrab::Answer::pass;
}

void X11EventTap::take(Question& question)
{
    const bool late = [&] {
        const std::lock_guard lock(m_mutex);
        return question.abandoned;
    }();
    if (!late) {
        const auto answer = decide(question.press);
        if (settle(question)) {
            m_grab->answer(question.press, answer);
            return;
        }
    }
    {
        const std::lock_guard lock(m_mutex);
        m_timedOut = false;
    }
    if (isEnabled()) {
        enable(false);
        tellDisabledByTimeout();
    }
}

// False if nobody waits for the answer any more.
bool X11EventTap::settle(Question& question)
{
    {
        const std::lock_guard lock(m_mutex);
        if (question.abandoned)
            return false;
        question.answered = true;
    }
    m_changed.notify_all();
    return true;
}

X11KeyGrab::Answer X11EventTap::decide(const X11KeyGrab::Press& press)
{
    if (!delivers())
        return X11KeyGrab::Answer::pass;
    if (m_willDeliver)
        m_willDeliver(press.timestamp);
    return passes(TapEvent {keyCodeE, press.flags}) ? X11KeyGrab::Answer::pass : X11KeyGrab::Answer::swallow;
}

}
