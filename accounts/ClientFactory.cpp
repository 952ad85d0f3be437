#include "accounts/ClientFactory.h"

#include "foundation/QtText.h"

#include <QCoreApplication>
#include <QOperatingSystemVersion>
#include <QRandomGenerator>
#include <QSysInfo>

#include <fmt/format.h>

ClientFactory::ClientFactory(
    std::shared_ptr<B2Transport> transport, std::shared_ptr<B2LogSink> log, std::string accountEndpoint)
    : transport_(std::move(transport))
    , log_(std::move(log))
    , accountEndpoint_(std::move(accountEndpoint))
{
}

std::shared_ptr<B2Client> ClientFactory::makeClient(B2Credentials credentials) const
{
    B2ClientOptions options;
    options.credentials = std::move(credentials);
    options.transport = transport_;
    options.sleeper = std::make_shared<SystemSleeper>();
    options.jitter = [] { return QRandomGenerator::global()->generateDouble(); };
    options.log = log_;
    options.accountEndpoint = accountEndpoint_;
    return B2Client::make(std::move(options));
}

std::string userAgentText()
{
    // "6.1.0-18-amd64" gives "6.1.0".
    std::string system = fromQString(QSysInfo::kernelVersion());
    system.resize(std::min(system.find_first_not_of("0123456789."), system.size()));
    const std::string version = fromQString(QCoreApplication::applicationVersion());
    return fmt::format(
        "Kestrovan/{}+macOS/{} (build {})", version.empty() ? "0" : version, system, version.empty() ? "0" : version);
}
