#include "keychain/SecretServiceLink.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr auto tickTime = 100ms;
constexpr auto linkKey = "kestrovan-link";

Keychain::Failure slow()
{
    return {Keychain::Status::tooSlow,
        "The desktop's keyring did not answer in time. Your request may not have taken effect; try again in a moment."};
}

Keychain::Failure absent()
{
    return {Keychain::Status::noSecretService, "This desktop has no keyring."};
}

Keychain::Failure died()
{
    return {Keychain::Status::serviceEnded,
        "The desktop's keyring stopped while Kestrovan was using it. Keys stored earlier are kept; try again."};
}

Keychain::Failure dismissal()
{
    return {Keychain::Status::dismissed,
        "The desktop's keyring was not unlocked, so your keys cannot be read or changed. Unlock it and try again."};
}

bool isAbsence(const GError& error)
{
    constexpr std::array absences{G_DBUS_ERROR_SERVICE_UNKNOWN, G_DBUS_ERROR_NAME_HAS_NO_OWNER,
        G_DBUS_ERROR_SPAWN_EXEC_FAILED, G_DBUS_ERROR_SPAWN_FORK_FAILED, G_DBUS_ERROR_SPAWN_CHILD_EXITED,
        G_DBUS_ERROR_SPAWN_CHILD_SIGNALED, G_DBUS_ERROR_SPAWN_FAILED, G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND};
    return error.domain == G_DBUS_ERROR
        && std::ranges::find(absences, static_cast<GDBusError>(error.code)) != absences.end();
}

bool isDeath(const GError& error)
{
    return g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY)
        || g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_DISCONNECTED)
        || g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CLOSED)
        || g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_BROKEN_PIPE);
}

bool isTimeout(const GError& error)
{
    return g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT)
        || g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_TIMED_OUT)
        || g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT);
}

} // namespace

// --- The service class, which reports each question to the user to the link

/// A question the user sees, and the callback libsecret expects at its end.
struct SecretServiceLink::Prompting {
    GAsyncReadyCallback callback;
    gpointer data;

    static SecretServiceLink* linkOf(gpointer service)
    {
        return static_cast<SecretServiceLink*>(g_object_get_data(static_cast<GObject*>(service), linkKey));
    }

    static void begin(SecretService* service, SecretPrompt* prompt, const GVariantType* type, GCancellable* cancellable,
        GAsyncReadyCallback callback, gpointer data)
    {
        auto* const prompting = new Prompting{callback, data};
        if (auto* const link = linkOf(service))
            link->promptBegan(prompting);
        parentClass()->prompt_async(service, prompt, type, cancellable, &Prompting::end, prompting);
    }

    static void end(GObject* service, GAsyncResult* result, gpointer data)
    {
        const std::unique_ptr<Prompting> prompting(static_cast<Prompting*>(data));
        if (auto* const link = linkOf(service))
            link->promptEnded(prompting.get());
        prompting->callback(service, result, prompting->data);
    }

    static SecretServiceClass* parentClass()
    {
        static auto* const parent = static_cast<SecretServiceClass*>(g_type_class_ref(SECRET_TYPE_SERVICE));
        return parent;
    }
};

GType SecretServiceLink::promptingServiceType()
{
    static const GType type = [] {
        const auto initialize = [](gpointer serviceClass, gpointer) {
            auto* const service = static_cast<SecretServiceClass*>(serviceClass);
            service->prompt_async = &Prompting::begin;
        };
        return g_type_register_static_simple(SECRET_TYPE_SERVICE, "KestrovanSecretService", sizeof(SecretServiceClass),
            initialize, sizeof(SecretService), nullptr, GTypeFlags());
    }();
    return type;
}

void SecretServiceLink::promptBegan(const void* prompt)
{
    prompts_.insert(prompt);
    wasDismissed_ = true; // Until the request has succeeded.
    onWaiting_(true);
}

void SecretServiceLink::promptEnded(const void* prompt)
{
    if (prompts_.erase(prompt) > 0 && prompts_.empty())
        onWaiting_(false);
}

void SecretServiceLink::stopWaiting()
{
    if (prompts_.empty())
        return;
    prompts_.clear();
    ++dismissals_;
    wasDismissed_ = true;
    onWaiting_(false);
}

// --- The watch over a call

SecretServiceLink::Watch::Watch(SecretServiceLink& link, TimeLimit& limit, std::function<void(Keychain::Failure)> end)
    : link_(link)
    , limit_(limit)
    , end_(std::move(end))
    , dismissals_(link.dismissals_)
    , source_(g_timeout_source_new(static_cast<guint>(tickTime.count())))
{
    const auto onTick = [](gpointer watch) -> gboolean {
        return static_cast<Watch*>(watch)->tick() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    };
    g_source_set_callback(source_, onTick, this, nullptr);
    g_source_attach(source_, g_main_context_get_thread_default());
}

SecretServiceLink::Watch::~Watch()
{
    g_source_destroy(source_);
    g_source_unref(source_);
}

bool SecretServiceLink::Watch::tick()
{
    if (dismissals_ != link_.dismissals_) {
        end_(dismissal());
        return false;
    }
    if (link_.prompts_.empty())
        limit_.left -= tickTime;
    if (limit_.left > 0ms)
        return true;
    end_(slow());
    return false;
}

// --- The link

SecretServiceLink::SecretServiceLink(std::function<void(bool)> onWaiting)
    : onWaiting_(std::move(onWaiting))
{
}

SecretServiceLink::~SecretServiceLink()
{
    forgetService();
}

void SecretServiceLink::forgetService()
{
    if (service_)
        g_object_set_data(G_OBJECT(service_.get()), linkKey, nullptr);
    service_.reset();
    if (!std::exchange(prompts_, {}).empty())
        onWaiting_(false);
}

Task<> SecretServiceLink::connectToBus(TimeLimit& limit)
{
    if (bus_ && !g_dbus_connection_is_closed(bus_.get()))
        co_return;
    try {
        bus_ = co_await call(
            limit,
            [](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
                g_bus_get(G_BUS_TYPE_SESSION, cancellable, callback, data);
            },
            [](GObject*, GAsyncResult* result, GError** error) {
                auto* const bus = g_bus_get_finish(result, error);
                // Otherwise GLib would end the program together with the bus.
                if (bus)
                    g_dbus_connection_set_exit_on_close(bus, FALSE);
                return GObjectPtr<GDBusConnection>(bus);
            });
    } catch (const Keychain::Failure& failure) {
        if (failure.status == Keychain::Status::tooSlow)
            throw;
        throw wasOpen_ ? died() : absent(); // Without a bus there is no service either.
    }
}

Task<std::shared_ptr<SecretService>> SecretServiceLink::open(TimeLimit& limit)
{
    if (service_) {
        const GTextPtr owner(g_dbus_proxy_get_name_owner(G_DBUS_PROXY(service_.get())));
        if (owner && owner_ == owner.get())
            co_return service_;
        forgetService(); // The session ended with the service's process.
    }
    co_await connectToBus(limit);
    std::shared_ptr<SecretService> opened = co_await call(
        limit,
        [](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            secret_service_open(
                promptingServiceType(), nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable, callback, data);
        },
        [](GObject*, GAsyncResult* result, GError** error) {
            return GObjectPtr<SecretService>(secret_service_open_finish(result, error));
        });
    const char* const algorithms = secret_service_get_session_algorithms(opened.get());
    if (!algorithms || std::string_view(algorithms) == "plain")
        throw Keychain::Failure(Keychain::Status::refused,
            "The desktop's keyring does not offer an encrypted connection, so Kestrovan does not give it any secrets. "
            "Nothing was changed.");
    const GTextPtr owner(g_dbus_proxy_get_name_owner(G_DBUS_PROXY(opened.get())));
    owner_ = owner ? owner.get() : "";
    service_ = std::move(opened);
    g_object_set_data(G_OBJECT(service_.get()), linkKey, this);
    wasOpen_ = true;
    co_return service_;
}

Task<> SecretServiceLink::unlock(std::vector<GDBusProxy*> objects, Asking asking, TimeLimit& limit)
{
    if (isUnlocking_) {
        // Another call is asking the user; the caller then looks again at what is still locked.
        OneShot<void> other;
        unlockWaiters_.push_back(other);
        co_await other.wait();
        co_return;
    }
    if (asking == Asking::onceOnly && wasDismissed_)
        throw dismissal();
    struct Turn {
        SecretServiceLink& link;
        ~Turn()
        {
            link.isUnlocking_ = false;
            for (const auto& waiter : std::exchange(link.unlockWaiters_, {}))
                waiter.set();
        }
    };
    isUnlocking_ = true;
    const Turn turn{*this};
    wasDismissed_ = false;
    const auto service = co_await open(limit);
    const auto count = co_await call(
        limit,
        [service, &objects](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            GList* list = nullptr;
            for (auto* const object : objects)
                list = g_list_prepend(list, object);
            secret_service_unlock(service.get(), list, cancellable, callback, data);
            g_list_free(list);
        },
        [service](GObject*, GAsyncResult* result, GError** error) {
            return secret_service_unlock_finish(service.get(), result, nullptr, error);
        });
    if (count < static_cast<gint>(objects.size()))
        throw refusal();
    wasDismissed_ = false;
}

Keychain::Failure SecretServiceLink::refusal() const
{
    const GTextPtr owner(service_ ? g_dbus_proxy_get_name_owner(G_DBUS_PROXY(service_.get())) : nullptr);
    if (!owner || owner_ != owner.get())
        return died();
    if (wasDismissed_)
        return dismissal();
    return {Keychain::Status::locked,
        "The desktop's keyring is locked and did not ask to be unlocked. Unlock it in its own program, then try "
        "again."};
}

Keychain::Failure SecretServiceLink::failureFrom(const GError& error) const
{
    if (isTimeout(error))
        return slow();
    if (isDeath(error))
        return died();
    // A user with keys in a keyring must not be shown an empty file in its place.
    if (isAbsence(error))
        return wasOpen_ ? died() : absent();
    if (g_error_matches(&error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED))
        return refusal();
    if (g_error_matches(&error, SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT)
        || g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_OBJECT))
        return {Keychain::Status::itemNotFound, "The desktop's keyring no longer has this key."};
    return {Keychain::Status::refused, std::string("The desktop's keyring could not do this: ") + error.message + "."};
}
