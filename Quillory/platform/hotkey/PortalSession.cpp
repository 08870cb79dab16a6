#include "platform/hotkey/PortalSession.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <utility>

#include <giomm/error.h>
#include <glibmm/main.h>
#include <glibmm/utility.h>

#include "platform/hotkey/PortalShortcut.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Options = PortalShortcut::Options;
using ObjectPath = Glib::DBusObjectPathString;

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

template<typename T> Glib::Variant<T> variant(const T& value)
{
    return Glib::Variant<T>::create(value);
}

template<typename... T> Glib::VariantContainerBase arguments(const T&... values)
{
    return Glib::VariantContainerBase::create_tuple({values...});
}

Glib::VariantBase child(const Glib::VariantContainerBase& parameters, gsize index)
{
    Glib::VariantBase value;
    if (index < parameters.get_n_children())
        parameters.get_child(value, index);
    return value;
}

// The binding's own call never frees the text.
std::string sessionBusAddress()
{
    GError* error = nullptr;
    const auto address =
        Glib::make_unique_ptr_gfree(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    if (error != nullptr)
        Glib::Error::throw_exception(error);
    return address.get();
}

void report(const Glib::Error& error)
{
    std::cerr << "quillory: global shortcuts portal: " << error.what() << std::endl;
}

// Answers to calls that are made while it lives arrive on the context, whoever iterates another one.
class ThreadDefaultContext {
public:
    explicit ThreadDefaultContext(Glib::RefPtr<Glib::MainContext> context)
        : m_context(std::move(context))
    {
        m_context->push_thread_default();
    }
    ~ThreadDefaultContext() { m_context->pop_thread_default(); }
    ThreadDefaultContext(const ThreadDefaultContext&) = delete;
    ThreadDefaultContext& operator=(const ThreadDefaultContext&) = delete;

private:
    Glib::RefPtr<Glib::MainContext> m_context;
};

void iterateUntil(const Glib::RefPtr<Glib::MainContext>& context, Clock::time_point deadline,
                  const std::function<bool()>& done)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    const auto timeout = Glib::TimeoutSource::create(static_cast<unsigned>(std::max<long>(0, left.count())));
    bool late = false;
    timeout->connect([&late] {
        late = true;
        return false;
    });
    timeout->attach(context);
    while (!done() && !late)
        context->iteration(true);
    timeout->destroy();
}

}

class PortalSession::Subscription {
public:
    Subscription(Connection connection, guint identifier)
        : m_connection(std::move(connection))
        , m_identifier(identifier)
    {
    }
    ~Subscription()
    {
        if (m_connection)
            m_connection->signal_unsubscribe(m_identifier);
    }
    Subscription(Subscription&&) = default;
    Subscription& operator=(Subscription&&) = delete;

private:
    Connection m_connection;
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
        try {
            m_connection->call_sync(m_session, sessionInterface, "Close", {}, portalName,
                                    static_cast<int>(closePatience.count()));
        } catch (const Glib::Error& error) {
            report(error);
        }
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
    m_connection->call(portalPath, shortcutsInterface, "ConfigureShortcuts",
                       arguments(variant(ObjectPath(m_session)), variant(Glib::ustring()), variant(Options())), {},
                       portalName);
    return true;
}

bool PortalSession::connect()
{
    try {
        m_connection = Gio::DBus::Connection::create_for_address_sync(
            sessionBusAddress(),
            Gio::DBus::ConnectionFlags::AUTHENTICATION_CLIENT | Gio::DBus::ConnectionFlags::MESSAGE_BUS_CONNECTION);
    } catch (const Glib::Error& error) {
        report(error);
        return false;
    }
    m_subscriptions.push_back(subscribeToAnswers());
    m_subscriptions.push_back(
        subscribe(portalName, shortcutsInterface, "Activated", "", &PortalSession::shortcutActivated));
    m_subscriptions.push_back(
        subscribe(portalName, shortcutsInterface, "ShortcutsChanged", "", &PortalSession::shortcutsChanged));
    m_subscriptions.push_back(subscribe("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", portalName,
                                        &PortalSession::portalOwnerChanged));
    return true;
}

// Zero without a portal for shortcuts.
unsigned PortalSession::versionWithin(std::chrono::milliseconds patience)
{
    try {
        const auto reply = m_connection->call_sync(
            portalPath, "org.freedesktop.DBus.Properties", "Get",
            arguments(variant(Glib::ustring(shortcutsInterface)), variant(Glib::ustring("version"))), portalName,
            static_cast<int>(patience.count()), Gio::DBus::CallFlags::NONE, Glib::VariantType("(v)"));
        Glib::VariantBase version;
        if (const auto box = child(reply, 0); box.is_of_type(Glib::VARIANT_TYPE_VARIANT))
            version = Glib::VariantBase::cast_dynamic<Glib::Variant<Glib::VariantBase>>(box).get();
        return version && version.is_of_type(Glib::VARIANT_TYPE_UINT32)
            ? Glib::VariantBase::cast_dynamic<Glib::Variant<guint32>>(version).get()
            : 0;
    } catch (const Glib::Error& error) {
        report(error);
        return 0;
    }
}

// Runs nothing of the program: only the portal's answers are on the private context. Each reaches the
// main context once more, where it is known already.
void PortalSession::waitForAnswer(Clock::time_point deadline)
{
    const auto context = Glib::MainContext::create();
    const ThreadDefaultContext here(context);
    {
        const auto answers = subscribeToAnswers();
        createSession();
        iterateUntil(context, deadline, [this] { return !m_pending; });
    }
    // Ending a subscription frees its memory in the context's next turn.
    while (context->iteration(false)) { }
}

// Where the portal does not know the interface, or the program is sandboxed, the error says just that.
void PortalSession::registerApplication()
{
    m_connection->call(portalPath, registryInterface, "Register",
                       arguments(variant(Glib::ustring(m_applicationID)), variant(Options())), {}, portalName);
}

void PortalSession::createSession()
{
    const auto token = nextRequestToken();
    // Some portals register what comes here, others what comes with BindShortcuts.
    const Options options {{"handle_token", variant(Glib::ustring(token))},
                           {"session_handle_token", variant(Glib::ustring(sessionToken))},
                           {"shortcuts", variant(PortalShortcut::list())}};
    call(Step::createSession, arguments(variant(options)), token);
}

void PortalSession::bindShortcuts()
{
    const auto token = nextRequestToken();
    const Options options {{"handle_token", variant(Glib::ustring(token))}};
    call(Step::bindShortcuts,
         arguments(variant(ObjectPath(m_session)), variant(PortalShortcut::list()), variant(Glib::ustring()),
                   variant(options)),
         token);
}

void PortalSession::call(Step step, const Glib::VariantContainerBase& parameters, const std::string& requestToken)
{
    auto sender = m_connection->get_unique_name().substr(1);
    std::string name = sender;
    std::replace(name.begin(), name.end(), '.', '_');
    const std::string path = std::string(portalPath) + "/request/" + name + "/" + requestToken;
    m_pending = Request {step, path};

    const ThreadDefaultContext mainContext(Glib::MainContext::get_default());
    const auto answered = [weak = weak_from_this(), connection = m_connection, path](const auto& result) {
        try {
            connection->call_finish(result);
        } catch (const Glib::Error& error) {
            report(error);
            if (const auto self = weak.lock(); self && self->m_pending && self->m_pending->path == path)
                self->m_pending.reset();
        }
    };
    m_connection->call(portalPath, shortcutsInterface, step == Step::createSession ? "CreateSession" : "BindShortcuts",
                       parameters, answered, portalName, noTimeout);
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

void PortalSession::requestAnswered(const std::string& path, const Glib::VariantContainerBase& parameters)
{
    constexpr guint32 success = 0;
    constexpr guint32 cancelledByUser = 1;
    if (!m_pending || m_pending->path != path || !parameters.is_of_type(Glib::VariantType("(ua{sv})")))
        return;
    const auto step = m_pending->step;
    m_pending.reset();
    const auto response = Glib::VariantBase::cast_dynamic<Glib::Variant<guint32>>(child(parameters, 0)).get();
    const auto results = child(parameters, 1);
    if (response > cancelledByUser)
        std::cerr << "quillory: the global shortcuts portal could not serve the request" << std::endl;

    if (step == Step::createSession) {
        m_session = response == success ? PortalShortcut::text(PortalShortcut::option(results, "session_handle"))
                                        : std::string();
        m_refused = response == cancelledByUser;
        if (!m_session.empty())
            bindShortcuts();
        return;
    }
    m_bound = response == success && PortalShortcut::isIn(PortalShortcut::option(results, "shortcuts"));
    m_refused = !m_bound && response <= cancelledByUser;
}

void PortalSession::shortcutActivated(const Glib::VariantContainerBase& parameters)
{
    const bool ours = m_bound && PortalShortcut::text(child(parameters, 0)) == m_session
        && PortalShortcut::isNamed(child(parameters, 1));
    if (ours && activated)
        activated(PortalShortcut::text(PortalShortcut::option(child(parameters, 3), "activation_token")));
}

void PortalSession::shortcutsChanged(const Glib::VariantContainerBase& parameters)
{
    if (m_session.empty() || PortalShortcut::text(child(parameters, 0)) != m_session)
        return;
    m_bound = PortalShortcut::isIn(child(parameters, 1));
    m_refused = !m_bound;
}

void PortalSession::portalOwnerChanged(const Glib::VariantContainerBase& parameters)
{
    const bool someoneLeft = !PortalShortcut::text(child(parameters, 1)).empty();
    const bool someoneCame = !PortalShortcut::text(child(parameters, 2)).empty();
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
    const auto answered = [this](const auto&, const auto&, const Glib::ustring& path, const auto&, const auto&,
                                 const Glib::VariantContainerBase& parameters) { requestAnswered(path, parameters); };
    return {m_connection, m_connection->signal_subscribe(answered, portalName, requestInterface, "Response")};
}

PortalSession::Subscription PortalSession::subscribe(const char* sender, const char* interface, const char* signal,
                                                     const char* argument, SignalHandler handler)
{
    const auto received = [this, handler](const auto&, const auto&, const auto&, const auto&, const auto&,
                                          const Glib::VariantContainerBase& parameters) {
        (this->*handler)(parameters);
    };
    return {m_connection, m_connection->signal_subscribe(received, sender, interface, signal, {}, argument)};
}

}
