#include "platform/hotkey/PortalSession.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <utility>

#include "platform/glib/BoxedFunction.h"
#include "platform/hotkey/PortalShortcut.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";
constexpr const char* registryInterface = "org.freedesktop.host.portal.Registry";
constexpr const char* requestInterface = "org.freedesktop.portal.Request";
constexpr const char* sessionInterface = "org.freedesktop.portal.Session";

// Desktops that know no application identifier remember a grant under this name.
constexpr const char* sessionToken = "quillory";

constexpr auto closePatience = 100ms;
constexpr auto configurePatience = 250ms;

// A dialog may stay open for as long as the user likes.
constexpr int noTimeout = std::numeric_limits<int>::max();

// Null where there is no such child.
GVariantPtr child(GVariant* parameters, gsize index)
{
    return GVariantPtr(index < g_variant_n_children(parameters) ? g_variant_get_child_value(parameters, index)
                                                                : nullptr);
}

std::string childText(GVariant* parameters, gsize index)
{
    return PortalShortcut::text(child(parameters, index).get());
}

std::string optionText(GVariant* options, const char* key)
{
    return PortalShortcut::text(PortalShortcut::option(options, key).get());
}

// No options, floating.
GVariant* noOptions()
{
    return g_variant_new("a{sv}", nullptr);
}

void report(const GError& error)
{
    std::cerr << "quillory: global shortcuts portal: " << error.message << std::endl;
}

// Answers to calls that are made while it lives arrive on the context, whoever iterates another one.
class ThreadDefaultContext {
public:
    explicit ThreadDefaultContext(GMainContext* context)
        : m_context(context)
    {
        g_main_context_push_thread_default(m_context);
    }
    ~ThreadDefaultContext() { g_main_context_pop_thread_default(m_context); }
    ThreadDefaultContext(const ThreadDefaultContext&) = delete;
    ThreadDefaultContext& operator=(const ThreadDefaultContext&) = delete;

private:
    GMainContext* m_context;
};

void iterateUntil(GMainContext* context, Clock::time_point deadline, const std::function<bool()>& done)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    const GSourcePtr timeout(g_timeout_source_new(static_cast<guint>(std::max<long>(0, left.count()))));
    bool late = false;
    const auto end = [](gpointer data) -> gboolean {
        *static_cast<bool*>(data) = true;
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(timeout.get(), end, &late, nullptr);
    g_source_attach(timeout.get(), context);
    while (!done() && !late)
        g_main_context_iteration(context, TRUE);
}

using Answered = BoxedFunction<void(const GError* error)>;

void callAnswered(GObject* connection, GAsyncResult* result, gpointer box)
{
    const auto answered = Answered::take(box);
    GError* error = nullptr;
    const GVariantPtr reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, &error));
    const GErrorPtr owner(error);
    answered(error);
}

// Gets the object and the arguments of a signal.
using Received = BoxedFunction<void(const char* path, GVariant* parameters)>;

void signalReceived(GDBusConnection*, const char*, const char* path, const char*, const char*, GVariant* parameters,
                    gpointer box)
{
    Received::of(box)(path, parameters);
}

}

class PortalSession::Subscription {
public:
    // Without an argument to look for, `argument` is null.
    Subscription(GDBusConnection* connection, const char* sender, const char* interface, const char* signal,
                 const char* argument, Received::Function received)
        : m_connection(retain(connection))
        , m_identifier(g_dbus_connection_signal_subscribe(connection, sender, interface, signal, nullptr, argument,
                                                          G_DBUS_SIGNAL_FLAGS_NONE, signalReceived,
                                                          Received::make(std::move(received)), Received::free))
    {
    }
    ~Subscription()
    {
        if (m_connection)
            g_dbus_connection_signal_unsubscribe(m_connection.get(), m_identifier);
    }
    Subscription(Subscription&&) = default;
    Subscription& operator=(Subscription&&) = delete;

private:
    GObjectPtr<GDBusConnection> m_connection;
    guint m_identifier;
};

PortalSession::PortalSession(std::string applicationID)
    : m_applicationID(std::move(applicationID))
{
}

PortalSession::~PortalSession()
{
    close();
}

void PortalSession::ask(std::chrono::milliseconds patience)
{
    if (std::exchange(m_asked, true))
        return;
    const auto deadline = Clock::now() + patience;
    if (!connect())
        return;
    registerApplication();
    // Wakes a portal that sleeps. One that needs longer to get up is asked when it enters the bus.
    if (versionWithin(patience) > 0)
        waitForAnswer(deadline);
}

void PortalSession::close()
{
    if (m_connection && !m_session.empty()) {
        GError* error = nullptr;
        const GVariantPtr reply(g_dbus_connection_call_sync(
            m_connection.get(), portalName, m_session.c_str(), sessionInterface, "Close", nullptr, nullptr,
            G_DBUS_CALL_FLAGS_NONE, static_cast<int>(closePatience.count()), nullptr, &error));
        if (const GErrorPtr owner(error); owner)
            report(*owner);
    }
    forgetSession();
    m_subscriptions.clear();
    // The portal ends what an absent client left open, a dialog for instance.
    m_connection.reset();
    m_asked = m_refused = false;
}

bool PortalSession::configure()
{
    constexpr unsigned firstVersionWithConfigure = 2;
    if (m_session.empty() || versionWithin(configurePatience) < firstVersionWithConfigure)
        return false;
    send(shortcutsInterface, "ConfigureShortcuts", g_variant_new("(os@a{sv})", m_session.c_str(), "", noOptions()));
    return true;
}

bool PortalSession::connect()
{
    GError* error = nullptr;
    const GStringPtr address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    if (address) {
        constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT
                                                                 | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        m_connection.reset(g_dbus_connection_new_for_address_sync(address.get(), flags, nullptr, nullptr, &error));
    }
    if (const GErrorPtr owner(error); owner) {
        report(*owner);
        return false;
    }
    m_subscriptions.push_back(subscribeToAnswers());
    m_subscriptions.push_back(
        subscribe(portalName, shortcutsInterface, "Activated", nullptr, &PortalSession::shortcutActivated));
    m_subscriptions.push_back(
        subscribe(portalName, shortcutsInterface, "ShortcutsChanged", nullptr, &PortalSession::shortcutsChanged));
    m_subscriptions.push_back(subscribe("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", portalName,
                                        &PortalSession::portalOwnerChanged));
    return true;
}

// Zero without a portal for shortcuts.
unsigned PortalSession::versionWithin(std::chrono::milliseconds patience)
{
    GError* error = nullptr;
    const GVariantPtr reply(
        g_dbus_connection_call_sync(m_connection.get(), portalName, portalPath, "org.freedesktop.DBus.Properties",
                                    "Get", g_variant_new("(ss)", shortcutsInterface, "version"), G_VARIANT_TYPE("(v)"),
                                    G_DBUS_CALL_FLAGS_NONE, static_cast<int>(patience.count()), nullptr, &error));
    if (const GErrorPtr owner(error); owner) {
        report(*owner);
        return 0;
    }
    const GVariantPtr version(g_variant_get_variant(child(reply.get(), 0).get()));
    return g_variant_is_of_type(version.get(), G_VARIANT_TYPE_UINT32) != 0 ? g_variant_get_uint32(version.get()) : 0;
}

// Runs nothing of the program: only the portal's answers are on the private context. Each reaches the
// main context once more, where it is known already.
void PortalSession::waitForAnswer(Clock::time_point deadline)
{
    const GMainContextPtr context(g_main_context_new());
    const ThreadDefaultContext here(context.get());
    {
        const auto answers = subscribeToAnswers();
        createSession();
        iterateUntil(context.get(), deadline, [this] { return !m_pending; });
    }
    // Ending a subscription frees its memory in the context's next turn.
    while (g_main_context_iteration(context.get(), FALSE) != 0) { }
}

// Where the portal does not know the interface, or the program is sandboxed, the error says just that.
void PortalSession::registerApplication()
{
    send(registryInterface, "Register", g_variant_new("(s@a{sv})", m_applicationID.c_str(), noOptions()));
}

void PortalSession::createSession()
{
    const auto token = nextRequestToken();
    GVariantDict options;
    g_variant_dict_init(&options, nullptr);
    g_variant_dict_insert(&options, "handle_token", "s", token.c_str());
    g_variant_dict_insert(&options, "session_handle_token", "s", sessionToken);
    // Some portals register what comes here, others what comes with BindShortcuts.
    g_variant_dict_insert_value(&options, "shortcuts", PortalShortcut::list().get());
    call(Step::createSession, g_variant_new("(@a{sv})", g_variant_dict_end(&options)), token);
}

void PortalSession::bindShortcuts()
{
    const auto token = nextRequestToken();
    GVariantDict options;
    g_variant_dict_init(&options, nullptr);
    g_variant_dict_insert(&options, "handle_token", "s", token.c_str());
    call(Step::bindShortcuts,
         g_variant_new("(o@a(sa{sv})s@a{sv})", m_session.c_str(), PortalShortcut::list().get(), "",
                       g_variant_dict_end(&options)),
         token);
}

// Nobody waits for the answer.
void PortalSession::send(const char* interface, const char* method, GVariant* parameters)
{
    g_dbus_connection_call(m_connection.get(), portalName, portalPath, interface, method, parameters, nullptr,
                           G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

void PortalSession::call(Step step, GVariant* parameters, const std::string& requestToken)
{
    std::string name = g_dbus_connection_get_unique_name(m_connection.get()) + 1;
    std::replace(name.begin(), name.end(), '.', '_');
    const std::string path = std::string(portalPath) + "/request/" + name + "/" + requestToken;
    m_pending = Request {step, path};

    const ThreadDefaultContext mainContext(g_main_context_default());
    const auto answered = [weak = weak_from_this(), path](const GError* error) {
        if (error == nullptr)
            return;
        report(*error);
        if (const auto self = weak.lock(); self && self->m_pending && self->m_pending->path == path)
            self->m_pending.reset();
    };
    g_dbus_connection_call(m_connection.get(), portalName, portalPath, shortcutsInterface,
                           step == Step::createSession ? "CreateSession" : "BindShortcuts", parameters, nullptr,
                           G_DBUS_CALL_FLAGS_NONE, noTimeout, nullptr, callAnswered, Answered::make(answered));
}

std::string PortalSession::nextRequestToken()
{
    return sessionToken + std::to_string(++m_requests);
}

void PortalSession::forgetSession()
{
    m_pending.reset();
    m_session.clear();
    m_bound = false;
}

void PortalSession::requestAnswered(const std::string& path, GVariant* parameters)
{
    constexpr guint32 success = 0;
    constexpr guint32 cancelledByUser = 1;
    if (!m_pending || m_pending->path != path || g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})")) == 0)
        return;
    const auto step = m_pending->step;
    m_pending.reset();
    const auto response = g_variant_get_uint32(child(parameters, 0).get());
    const auto results = child(parameters, 1);
    if (response > cancelledByUser)
        std::cerr << "quillory: the global shortcuts portal could not serve the request" << std::endl;

    if (step == Step::createSession) {
        m_session = response == success ? optionText(results.get(), "session_handle") : std::string();
        if (g_variant_is_object_path(m_session.c_str()) == 0)
            m_session.clear();
        m_refused = response == cancelledByUser;
        if (!m_session.empty())
            bindShortcuts();
        return;
    }
    m_bound = response == success && PortalShortcut::isIn(PortalShortcut::option(results.get(), "shortcuts").get());
    m_refused = !m_bound && response <= cancelledByUser;
}

void PortalSession::shortcutActivated(GVariant* parameters)
{
    const bool ours =
        m_bound && childText(parameters, 0) == m_session && PortalShortcut::isNamed(child(parameters, 1).get());
    if (ours && activated)
        activated(optionText(child(parameters, 3).get(), "activation_token"));
}

void PortalSession::shortcutsChanged(GVariant* parameters)
{
    if (m_session.empty() || childText(parameters, 0) != m_session)
        return;
    m_bound = PortalShortcut::isIn(child(parameters, 1).get());
    m_refused = !m_bound;
}

void PortalSession::portalOwnerChanged(GVariant* parameters)
{
    const bool someoneLeft = !childText(parameters, 1).empty();
    const bool someoneCame = !childText(parameters, 2).empty();
    if (someoneLeft)
        forgetSession();
    // The portal that the first question woke up is not a new one.
    const bool busy = m_pending || !m_session.empty();
    if (someoneCame && !busy && !m_refused) {
        registerApplication();
        createSession();
    }
}

PortalSession::Subscription PortalSession::subscribeToAnswers()
{
    return {m_connection.get(),
            portalName,
            requestInterface,
            "Response",
            nullptr,
            [this](const char* path, GVariant* parameters) { requestAnswered(path, parameters); }};
}

PortalSession::Subscription PortalSession::subscribe(const char* sender, const char* interface, const char* signal,
                                                     const char* argument, SignalHandler handler)
{
    return {m_connection.get(), sender,
            interface,          signal,
            argument,           [this, handler](const char*, GVariant* parameters) { (this->*handler)(parameters); }};
}

}
