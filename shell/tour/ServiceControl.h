#pragma once

#include "B2Kit/transport/B2CurlTransport.h"

#include <filesystem>
#include <string>

/// Controls the local service behind the program's back: reads what it really holds and sets the next faults.
class ServiceControl {
public:
    explicit ServiceControl(std::string serviceURL);

    /// SHA-1 of the newest version of a file, computed by the service from what it stored.
    Task<std::string> digest(std::string bucketName, std::string fileName);

    /// Writes "KEYID SECRET" of every account's master key, a line each, into a file that only its owner can read.
    Task<> writeMasterKeys(std::filesystem::path file);

    /// How many bytes of requests the service has received since its start.
    Task<std::int64_t> bytesReceived();

    /// @param faults  a JSON object or list, as `docs/local-service.md` describes.
    Task<> addFaults(std::string faults);
    Task<> clearFaults();

private:
    Task<std::string> ask(B2HTTPMethod method, std::string path, std::string body);

    std::string serviceURL_;
    B2CurlTransport transport_{{}};
};
