#pragma once

#include "localb2/Service.h"

#include <boost/json.hpp>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace localb2::test {

/// An answer, or the part of it that arrived.
struct Reply {
    int status = 0;          ///< 0 when no head arrived.
    bool isComplete = false; ///< The transport reports no error.
    std::string body;
    std::map<std::string, std::string> headers; ///< Names in lower case.

    /// Reads a field of an answer whose body is a JSON object.
    boost::json::object json() const;
    /// `code` of an error answer.
    std::string code() const;
    std::string header(const std::string& name) const;
};

using Headers = std::vector<std::pair<std::string, std::string>>;

struct Sending {
    std::string method = "GET";
    std::string url;
    Headers headers = {};
    std::string body = {};
    long milliseconds = 20'000;   ///< After this the client gives up.
    std::string certificate = {}; ///< PEM file to trust.
};

/// Sends one request over a new connection.
Reply send(const Sending& sending);

/// A client with an account token.
class Client {
public:
    Client(std::string url, const MasterKey& key);

    const std::string& accountID() const { return accountID_; }
    const std::string& token() const { return token_; }
    /// The answer to the authorization.
    const Reply& authorization() const { return authorization_; }

    Reply call(const std::string& operation, const boost::json::object& fields, int version = 4) const;
    /// A call that must succeed.
    boost::json::object ask(const std::string& operation, const boost::json::object& fields, int version = 4) const;

    /// Creates a private bucket and returns its id.
    std::string createBucket(const std::string& name, boost::json::object more = {}) const;
    Client withNewKey(boost::json::object fields, int version = 4) const;

    struct Target {
        std::string url;
        std::string token;
    };
    Target uploadTarget(const std::string& bucketID) const;
    Target partTarget(const std::string& fileID) const;
    Reply upload(const Target& target, const std::string& name, const std::string& bytes, Headers headers = {}) const;
    /// Uploads a file, which must succeed, and returns its id.
    std::string put(const std::string& bucketID, const std::string& name, const std::string& bytes = "x") const;
    Reply uploadPart(const Target& target, int number, const std::string& bytes) const;
    std::string startLargeFile(const std::string& bucketID, const std::string& name) const;

    Reply download(const std::string& path, Headers headers = {}) const;

    /// Names of a listing, with "/hide" or "/start" after those that are not uploads.
    std::vector<std::string> names(const std::string& operation, boost::json::object fields) const;

    Reply control(const std::string& method, const std::string& path, const std::string& body = {}) const;

private:
    std::string url_;
    std::string accountID_;
    std::string token_;
    Reply authorization_;
};

/// In hexadecimal digits.
std::string sha1Of(std::string_view bytes);
std::string percentEncoded(std::string_view text);
std::string textAt(const boost::json::object& object, std::string_view key);

class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// A fresh service with one bucket.
struct ServiceFixture {
    TemporaryDirectory directory;
    Service service{ServiceOptions{.directory = directory.path() / "data"}};
    Client client{service.url(), service.masterKey()};
    std::string bucketID = client.createBucket("test-bucket");
};

} // namespace localb2::test
