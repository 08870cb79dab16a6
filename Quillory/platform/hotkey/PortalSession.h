#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/hotkey/GnomeShortcutStore.h"
#include "platform/hotkey/PortalBus.h"

namespace quillory {

// The hotkey as the desktop portal's global shortcut: one session with one shortcut, asked for once,
// and again only from a portal that left the bus and came back, unless the user has refused. Signals
// arrive on GLib's default main context. Main thread only.
//
// A grant that the desktop knows of already is taken up at once. A question to the user belongs to a window of the
// program and waits for that. What the desktop says is bound decides, not the code it answers with.
class PortalSession final : public std::enable_shared_from_this<PortalSession> {
public:
    // `received` gets the portal's name for a window of the program that is on the screen, or an empty text if
    // that has none; at once or later, and not at all if there never is a window.
    using WithWindow = std::function<void(std::function<void(std::string parentWindow)> received)>;

    // `changed` is called on the main context when one of the three below may have changed.
    PortalSession(std::string applicationID, WithWindow withWindow, std::function<void()> changed);
    ~PortalSession();
    PortalSession(const PortalSession&) = delete;
    PortalSession& operator=(const PortalSession&) = delete;

    // Called for each press of the shortcut, with the activation token that came with it, or an empty
    // text. May be empty.
    std::function<void(std::string activationToken)> activated;

    // Whether the desktop has given the shortcut to this session.
    bool isBound() const { return m_bound; }
    // Whether the desktop has not answered yet.
    bool isAsking() const { return m_pending || m_awaitsWindow; }
    // False once it is known that the desktop has no portal for shortcuts.
    bool isOffered() const { return m_offered; }

    // Asks for the shortcut, which may open a dialog of the desktop; a second call does nothing. Waits
    // for the answer no longer than `patience`; what comes later is taken in on the main context.
    void ask(std::chrono::milliseconds patience);

    // Gives the shortcut up and forgets that it was asked for. Waits 100 ms at most.
    void close();

    // Whether the desktop's settings know the shortcut only once its question was answered with yes, and puts that
    // question again.
    bool canAskAgain() const;
    void askAgain();

    // Whether the desktop has a dialog for the session's shortcuts, and opens it. `activationToken` entitles it to take
    // the focus. Waits 250 ms at most.
    bool canConfigure();
    void configure(const std::string& activationToken);

private:
    using ResponseHandler = void (PortalSession::*)(unsigned response, GVariant* results);
    struct Request {
        ResponseHandler answered;
        std::string path;
    };
    using SignalHandler = void (PortalSession::*)(const char* path, GVariant* parameters);

    // Zero without a portal for shortcuts, none if it did not answer in time.
    std::optional<unsigned> versionWithin(std::chrono::milliseconds patience);
    void subscribe();
    std::shared_ptr<void> hear(const char* sender, const char* interface, const char* signal, const char* argument,
                               const char* type, SignalHandler handler);
    std::shared_ptr<void> hearAnswers();
    void waitForAnswer(std::chrono::steady_clock::time_point deadline);

    void registerApplication();
    void createSession();
    void listShortcuts();
    void bindShortcuts();
    void call(ResponseHandler answered, const char* method,
              const std::function<GVariant*(GVariantDict& options)>& parameters);
    void closeSession();
    void forgetSession();
    void waitUntilGivenBack();

    void requestAnswered(const char* path, GVariant* parameters);
    void requestFailed(const std::string& path, const GError& error);
    void sessionCreated(unsigned response, GVariant* results);
    void shortcutsListed(unsigned response, GVariant* results);
    void shortcutsBound(unsigned response, GVariant* results);
    void shortcutActivated(const char* path, GVariant* parameters);
    void shortcutsChanged(const char* path, GVariant* parameters);
    void portalOwnerChanged(const char* path, GVariant* parameters);

    std::string m_applicationID;
    GnomeShortcutStore m_gnomeStore;
    WithWindow m_withWindow;
    std::function<void()> m_changed;
    GObjectPtr<GDBusConnection> m_connection;
    std::vector<std::shared_ptr<void>> m_subscriptions;
    std::optional<Request> m_pending;
    std::string m_session;
    unsigned m_requests = 0;
    bool m_awaitsWindow = false;
    bool m_offered = true;
    bool m_refused = false;
    bool m_bound = false;
};

}
