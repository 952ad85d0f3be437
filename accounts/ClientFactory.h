#pragma once

#include "B2Kit/B2Client.h"
#include "B2Kit/B2Credentials.h"
#include "B2Kit/B2Log.h"
#include "B2Kit/transport/B2Transport.h"

#include <memory>
#include <string>

/// Makes the clients of the process, all in the same way: one transport, one log, one account endpoint.
class ClientFactory {
public:
    /// @param accountEndpoint  where keys are authorized: https, or http on a loopback address.
    ClientFactory(std::shared_ptr<B2Transport> transport, std::shared_ptr<B2LogSink> log, std::string accountEndpoint);

    std::shared_ptr<B2Client> makeClient(B2Credentials credentials) const;

private:
    std::shared_ptr<B2Transport> transport_;
    std::shared_ptr<B2LogSink> log_;
    std::string accountEndpoint_;
};

/// The program's "User-Agent".
std::string userAgentText();
