#include "platform/hotkey/PortalSession.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "platform/hotkey/PortalShortcut.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";
constexpr const char* registryInterface = "org.freedesktop.host.portal.Registry";
constexpr const char* requestInterface = "org.freedesktop.portal.Request";
constexpr const char* sessionInterface = "org.freedesktop.portal.Session";

// Desktops that know no application identifier remember a grant under this name.
constexpr const char* sessionToken = "quillory";

constexpr auto closePatience = 100ms;
constexpr auto configurePatience = 250ms;

constexpr unsigned success = 0;
constexpr unsigned cancelledByUser = 1;

// Of a text or an object path; empty for anything else.
std::string optionText(GVariant* options, const char* key)
{
    const GVariantPtr value(g_variant_lookup_value(options, key, nullptr));
    const bool isText = value
        && (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING) != 0
            || g_variant_is_of_type(value.get(), G_VARIANT_TYPE_OBJECT_PATH) != 0);
    return isText ? g_variant_get_string(value.get(), nullptr) : "";
}

bool hasOurShortcut(GVariant* results)
{
    return PortalShortcut::isIn(GVariantPtr(g_variant_lookup_value(results, "shortcuts", nullptr)).get());
}

// No options, floating.
GVariant* noOptions()
{
    return g_variant_new("a{sv}", nullptr);
}

}

PortalSession::PortalSession(std::string applicationID, WithWindow withWindow, std::function<void()> changed)
    : m_applicationID(std::move(applicationID))
    , m_gnomeStore(m_applicationID)
    , m_withWindow(std::move(withWindow))
    , m_changed(std::move(changed))
{
}

PortalSession::~PortalSession()
{
    close();
}

void PortalSession::ask(std::chrono::milliseconds patience)
{
    if (m_connection)
        return;
    const auto deadline = Clock::now() + patience;
    m_connection = PortalBus::connect();
    m_offered = m_connection != nullptr;
    if (!m_connection)
        return;
    subscribe();
    registerApplication();
    // Wakes a portal that sleeps. One that needs longer to get up finds the question waiting.
    const auto version = versionWithin(patience);
    m_offered = version != 0;
    if (!version)
        createSession();
    else if (m_offered)
        waitForAnswer(deadline);
}

void PortalSession::close()
{
    closeSession();
    m_gnomeStore.stopWatching();
    m_subscriptions.clear();
    // The portal ends what an absent client left open, a dialog for instance.
    m_connection.reset();
}

void PortalSession::closeSession()
{
    if (m_connection && !m_session.empty()) {
        GError* error = nullptr;
        const GVariantPtr reply(g_dbus_connection_call_sync(
            m_connection.get(), PortalBus::name, m_session.c_str(), sessionInterface, "Close", nullptr, nullptr,
            G_DBUS_CALL_FLAGS_NONE, static_cast<int>(closePatience.count()), nullptr, &error));
        if (const GErrorPtr owner(error); owner)
            PortalBus::report(*owner);
    }
    forgetSession();
}

bool PortalSession::canAskAgain() const
{
    return m_connection && m_gnomeStore && !m_gnomeStore.has(PortalShortcut::isIn) && !isAsking();
}

void PortalSession::askAgain()
{
    closeSession();
    createSession();
}

bool PortalSession::canConfigure()
{
    constexpr unsigned firstVersionWithConfigure = 2;
    return !m_session.empty() && versionWithin(configurePatience).value_or(0) >= firstVersionWithConfigure;
}

void PortalSession::configure(const std::string& activationToken)
{
    GVariantDict options;
    g_variant_dict_init(&options, nullptr);
    g_variant_dict_insert(&options, "activation_token", "s", activationToken.c_str());
    PortalBus::call(m_connection.get(), shortcutsInterface, "ConfigureShortcuts",
                    g_variant_new("(os@a{sv})", m_session.c_str(), "", g_variant_dict_end(&options)));
}

std::optional<unsigned> PortalSession::versionWithin(std::chrono::milliseconds patience)
{
    GError* error = nullptr;
    const GVariantPtr reply(g_dbus_connection_call_sync(
        m_connection.get(), PortalBus::name, PortalBus::path, "org.freedesktop.DBus.Properties", "Get",
        g_variant_new("(ss)", shortcutsInterface, "version"), G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE,
        static_cast<int>(patience.count()), nullptr, &error));
    if (const GErrorPtr owner(error); owner) {
        PortalBus::report(*owner);
        return g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != 0 ? std::nullopt : std::optional(0U);
    }
    GVariant* version = nullptr;
    g_variant_get(reply.get(), "(v)", &version);
    const GVariantPtr owner(version);
    return g_variant_is_of_type(version, G_VARIANT_TYPE_UINT32) != 0 ? g_variant_get_uint32(version) : 0;
}

void PortalSession::subscribe()
{
    m_subscriptions = {hearAnswers(),
                       hear(PortalBus::name, shortcutsInterface, "Activated", nullptr, "(osta{sv})",
                            &PortalSession::shortcutActivated),
                       hear(PortalBus::name, shortcutsInterface, "ShortcutsChanged", nullptr, "(oa(sa{sv}))",
                            &PortalSession::shortcutsChanged),
                       hear("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", PortalBus::name,
                            "(sss)", &PortalSession::portalOwnerChanged)};
}

std::shared_ptr<void> PortalSession::hear(const char* sender, const char* interface, const char* signal,
                                          const char* argument, const char* type, SignalHandler handler)
{
    return PortalBus::subscribe(
        m_connection.get(), sender, interface, signal, argument, type,
        [this, handler](const char* path, GVariant* parameters) { (this->*handler)(path, parameters); });
}

std::shared_ptr<void> PortalSession::hearAnswers()
{
    return hear(PortalBus::name, requestInterface, "Response", nullptr, "(ua{sv})", &PortalSession::requestAnswered);
}

// Each answer reaches the main context once more, where it is known already.
void PortalSession::waitForAnswer(Clock::time_point deadline)
{
    PortalBus::PrivateContext context;
    const auto answers = hearAnswers();
    createSession();
    context.iterateUntil(deadline, [this] { return !m_pending; });
}

// Where the portal does not know the interface, or the program is sandboxed, the error says just that.
void PortalSession::registerApplication()
{
    PortalBus::call(m_connection.get(), registryInterface, "Register",
                    g_variant_new("(s@a{sv})", m_applicationID.c_str(), noOptions()));
}

void PortalSession::createSession()
{
    call(&PortalSession::sessionCreated, "CreateSession", [](GVariantDict& options) {
        g_variant_dict_insert(&options, "session_handle_token", "s", sessionToken);
        // Some portals register what comes here, others what comes with BindShortcuts.
        g_variant_dict_insert_value(&options, "shortcuts", PortalShortcut::list().get());
        return g_variant_new("(@a{sv})", g_variant_dict_end(&options));
    });
}

void PortalSession::listShortcuts()
{
    call(&PortalSession::shortcutsListed, "ListShortcuts", [this](GVariantDict& options) {
        return g_variant_new("(o@a{sv})", m_session.c_str(), g_variant_dict_end(&options));
    });
}

// Binding once more what stands already opens the settings on some desktops, and a dialog on none.
void PortalSession::bindShortcuts()
{
    if (m_bound)
        return;
    const auto bind = [this](const std::string& parentWindow) {
        call(&PortalSession::shortcutsBound, "BindShortcuts", [&](GVariantDict& options) {
            return g_variant_new("(o@a(sa{sv})s@a{sv})", m_session.c_str(), PortalShortcut::list().get(),
                                 parentWindow.c_str(), g_variant_dict_end(&options));
        });
    };
    if (m_gnomeStore.has(PortalShortcut::isIn))
        return bind("");
    m_awaitsWindow = true;
    m_withWindow([weak = weak_from_this(), bind](const std::string& parentWindow) {
        const auto self = weak.lock();
        if (self && std::exchange(self->m_awaitsWindow, false))
            bind(parentWindow);
    });
}

void PortalSession::call(ResponseHandler answered, const char* method,
                         const std::function<GVariant*(GVariantDict& options)>& parameters)
{
    const auto token = sessionToken + std::to_string(++m_requests);
    std::string name = g_dbus_connection_get_unique_name(m_connection.get()) + 1;
    std::replace(name.begin(), name.end(), '.', '_');
    const std::string path = std::string(PortalBus::path) + "/request/" + name + "/" + token;
    m_pending = Request {answered, path};

    GVariantDict options;
    g_variant_dict_init(&options, nullptr);
    g_variant_dict_insert(&options, "handle_token", "s", token.c_str());
    PortalBus::call(m_connection.get(), shortcutsInterface, method, parameters(options),
                    [weak = weak_from_this(), path](const GError* error) {
                        const auto self = weak.lock();
                        if (error != nullptr && self)
                            self->requestFailed(path, *error);
                    });
}

void PortalSession::forgetSession()
{
    m_pending.reset();
    m_awaitsWindow = false;
    m_session.clear();
    m_bound = false;
}

// GNOME keeps a shortcut without keys that the user has taken away. Given back to a session that is open, its portal
// (48.0) takes the keys and tells nobody of a press; a session that begins afterwards gets them.
void PortalSession::waitUntilGivenBack()
{
    closeSession();
    m_gnomeStore.watch([this] {
        if (m_session.empty() && !isAsking() && m_gnomeStore.has(PortalShortcut::isInWithKeys))
            createSession();
    });
}

void PortalSession::requestAnswered(const char* path, GVariant* parameters)
{
    if (!m_pending || m_pending->path != path)
        return;
    unsigned response = 0;
    GVariant* results = nullptr;
    g_variant_get(parameters, "(u@a{sv})", &response, &results);
    const GVariantPtr owner(results);
    (this->*std::exchange(m_pending, std::nullopt)->answered)(response, results);
    m_changed();
}

void PortalSession::requestFailed(const std::string& path, const GError& error)
{
    PortalBus::report(error);
    if (!m_pending || m_pending->path != path)
        return;
    const auto answered = std::exchange(m_pending, std::nullopt)->answered;
    if (answered == &PortalSession::shortcutsListed)
        bindShortcuts();
    else if (answered == &PortalSession::sessionCreated)
        m_offered = false;
    m_changed();
}

void PortalSession::sessionCreated(unsigned response, GVariant* results)
{
    m_session = response == success ? optionText(results, "session_handle") : std::string();
    if (g_variant_is_object_path(m_session.c_str()) == 0)
        m_session.clear();
    m_refused = response == cancelledByUser;
    if (!m_session.empty())
        listShortcuts();
    else if (!m_refused)
        std::cerr << "quillory: the global shortcuts portal could not serve the request" << std::endl;
}

void PortalSession::shortcutsListed(unsigned, GVariant* results)
{
    m_bound = m_bound || hasOurShortcut(results);
    bindShortcuts();
}

void PortalSession::shortcutsBound(unsigned response, GVariant* results)
{
    // A change may have been told before.
    m_bound = m_bound || hasOurShortcut(results);
    m_refused = !m_bound && response <= cancelledByUser;
    if (!m_bound && m_gnomeStore.has(PortalShortcut::isIn))
        waitUntilGivenBack();
    else if (!m_bound && !m_refused)
        std::cerr << "quillory: the global shortcuts portal could not serve the request" << std::endl;
}

void PortalSession::shortcutActivated(const char*, GVariant* parameters)
{
    const char* session = nullptr;
    const char* shortcut = nullptr;
    GVariant* options = nullptr;
    g_variant_get(parameters, "(&o&st@a{sv})", &session, &shortcut, nullptr, &options);
    const GVariantPtr owner(options);
    if (m_bound && m_session == session && shortcut == std::string_view(PortalShortcut::identifier) && activated)
        activated(optionText(options, "activation_token"));
}

void PortalSession::shortcutsChanged(const char*, GVariant* parameters)
{
    const char* session = nullptr;
    GVariant* shortcuts = nullptr;
    g_variant_get(parameters, "(&o@a(sa{sv}))", &session, &shortcuts);
    const GVariantPtr owner(shortcuts);
    if (m_session != session)
        return;
    m_bound = PortalShortcut::isIn(shortcuts);
    m_refused = !m_bound;
    if (!m_bound && !m_pending && m_gnomeStore.has(PortalShortcut::isIn))
        waitUntilGivenBack();
    m_changed();
}

void PortalSession::portalOwnerChanged(const char*, GVariant* parameters)
{
    const char* left = nullptr;
    const char* came = nullptr;
    g_variant_get(parameters, "(&s&s&s)", nullptr, &left, &came);
    if (*left != '\0')
        forgetSession();
    // The portal that the first question woke up is not a new one.
    const bool busy = m_pending || !m_session.empty();
    if (*came != '\0' && !busy && !m_refused) {
        m_offered = true;
        registerApplication();
        createSession();
    }
    m_changed();
}

}
