#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gio/gio.h>

#include "platform/glib/GObjectPtr.h"

namespace quillory {

// The hotkey as the desktop portal's global shortcut: one session with one shortcut, asked for once,
// and again only from a portal that left the bus and came back, unless the user has refused. Signals
// arrive on GLib's default main context. Main thread only.
class PortalSession final : public std::enable_shared_from_this<PortalSession> {
public:
    explicit PortalSession(std::string applicationID);
    ~PortalSession();
    PortalSession(const PortalSession&) = delete;
    PortalSession& operator=(const PortalSession&) = delete;

    // Called for each press of the shortcut, with the activation token that came with it, or an empty
    // text. May be empty.
    std::function<void(std::string activationToken)> activated;

    // Whether the desktop has given the shortcut to this session.
    bool isBound() const { return m_bound; }

    // Asks for the shortcut, which may open a dialog of the desktop; a second call does nothing. Waits
    // for the answer no longer than `patience`; what comes later is taken in on the main context.
    void ask(std::chrono::milliseconds patience);

    // Gives the shortcut up and forgets that it was asked for. Waits 100 ms at most.
    void close();

    // Opens the desktop's dialog for the session's shortcuts; false if this portal has none. Waits
    // 250 ms at most.
    bool configure();

private:
    enum class Step { createSession, bindShortcuts };
    struct Request {
        Step step;
        std::string path;
    };
    class Subscription;
    using SignalHandler = void (PortalSession::*)(GVariant* parameters);

    bool connect();
    unsigned versionWithin(std::chrono::milliseconds patience);
    void waitForAnswer(std::chrono::steady_clock::time_point deadline);

    void registerApplication();
    void createSession();
    void bindShortcuts();
    void send(const char* interface, const char* method, GVariant* parameters);
    void call(Step step, GVariant* parameters, const std::string& requestToken);
    std::string nextRequestToken();
    void forgetSession();

    void requestAnswered(const std::string& path, GVariant* parameters);
    void shortcutActivated(GVariant* parameters);
    void shortcutsChanged(GVariant* parameters);
    void portalOwnerChanged(GVariant* parameters);

    Subscription subscribeToAnswers();
    Subscription subscribe(const char* sender, const char* interface, const char* signal, const char* argument,
                           SignalHandler handler);

    std::string m_applicationID;
    GObjectPtr<GDBusConnection> m_connection;
    std::vector<Subscription> m_subscriptions;
    std::optional<Request> m_pending;
    std::string m_session;
    unsigned m_requests = 0;
    bool m_asked = false;
    bool m_refused = false;
    bool m_bound = false;
};

}
