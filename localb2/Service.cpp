#include "localb2/Service.h"

#include "localb2/Core.h"
#include "localb2/Seed.h"
#include "localb2/Server.h"

#include <stdexcept>

namespace localb2 {

struct Service::Parts {
    explicit Parts(const ServiceOptions& options)
        : core(options)
    {
        if (options.tls)
            tls = std::make_unique<TLSContext>(*options.tls);
        plantSeed(core, options.seed);
        server = std::make_unique<Server>(core, options.port, tls.get());
        core.baseURL = (tls ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(server->port());
        server->start();
    }

    Core core;
    std::unique_ptr<TLSContext> tls;
    std::unique_ptr<Server> server; ///< Destroyed first, because its threads use the rest.
};

Service::Service(ServiceOptions options)
    : parts_(std::make_unique<Parts>(options))
{
}

Service::~Service() = default;

std::string Service::url() const
{
    return parts_->core.baseURL;
}

std::uint16_t Service::port() const
{
    return parts_->server->port();
}

MasterKey Service::masterKey() const
{
    auto keys = masterKeys();
    if (keys.empty())
        throw std::runtime_error("The service has no account.");
    return std::move(keys.front());
}

std::vector<MasterKey> Service::masterKeys() const
{
    const std::scoped_lock lock(parts_->core.mutex);
    std::vector<MasterKey> keys;
    for (const auto& account : parts_->core.keys.accounts()) {
        if (const auto key = parts_->core.keys.masterKey(account.id))
            keys.push_back({key->id, key->secret});
    }
    return keys;
}

std::vector<ApplicationKey> Service::applicationKeys() const
{
    const auto accountID = masterKey().keyID;
    const std::scoped_lock lock(parts_->core.mutex);
    std::vector<ApplicationKey> keys;
    for (const auto& key : parts_->core.keys.ofAccount(accountID, ""))
        keys.push_back({key.name, key.id, key.secret});
    return keys;
}

} // namespace localb2
