#include "tests/localb2/Client.h"

#include <gtest/gtest.h>

#include <curl/curl.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>
#include <stdexcept>

namespace localb2::test {

namespace {

std::size_t takeBody(char* bytes, std::size_t size, std::size_t count, void* reply)
{
    static_cast<Reply*>(reply)->body.append(bytes, size * count);
    return size * count;
}

std::size_t takeHeader(char* bytes, std::size_t size, std::size_t count, void* reply)
{
    const std::string_view line(bytes, size * count);
    const auto colon = line.find(": ");
    if (colon != std::string_view::npos) {
        std::string name(line.substr(0, colon));
        std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
        static_cast<Reply*>(reply)->headers[name] = line.substr(colon + 2, line.size() - colon - 4);
    }
    return size * count;
}

} // namespace

boost::json::object Reply::json() const
{
    boost::system::error_code error;
    const auto value = boost::json::parse(body, error);
    if (error || !value.is_object())
        throw std::runtime_error("No JSON object: " + body.substr(0, 300));
    return value.get_object();
}

std::string Reply::code() const
{
    return textAt(json(), "code");
}

std::string Reply::header(const std::string& name) const
{
    const auto found = headers.find(name);
    return found == headers.end() ? std::string() : found->second;
}

Reply send(const Sending& sending)
{
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    curl_slist* lines = nullptr;
    for (const auto& [name, value] : sending.headers)
        lines = curl_slist_append(lines, (name + ": " + value).c_str());
    const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> keptLines(lines, curl_slist_free_all);
    Reply reply;
    curl_easy_setopt(curl.get(), CURLOPT_URL, sending.url.c_str());
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, lines);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply);
    curl_easy_setopt(curl.get(), CURLOPT_HEADERFUNCTION, takeHeader);
    curl_easy_setopt(curl.get(), CURLOPT_HEADERDATA, &reply);
    curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT_MS, sending.milliseconds);
    curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
    if (!sending.certificate.empty())
        curl_easy_setopt(curl.get(), CURLOPT_CAINFO, sending.certificate.c_str());
    if (sending.method == "POST") {
        curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(sending.body.size()));
        curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, sending.body.data());
    } else if (sending.method == "HEAD") {
        curl_easy_setopt(curl.get(), CURLOPT_NOBODY, 1L);
    } else {
        curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, sending.method.c_str());
    }
    reply.isComplete = curl_easy_perform(curl.get()) == CURLE_OK;
    long status = 0;
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
    reply.status = static_cast<int>(status);
    return reply;
}

Client::Client(std::string url, const MasterKey& key)
    : url_(std::move(url))
    , accountID_(key.keyID)
{
    const auto credentials = key.keyID + ":" + key.applicationKey;
    std::string encoded(credentials.size() * 2, '\0');
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
        reinterpret_cast<const unsigned char*>(credentials.data()), static_cast<int>(credentials.size()));
    encoded.resize(static_cast<std::size_t>(size));
    authorization_ =
        send({.url = url_ + "/b2api/v4/b2_authorize_account", .headers = {{"Authorization", "Basic " + encoded}}});
    if (authorization_.status != 200)
        return;
    accountID_ = textAt(authorization_.json(), "accountId");
    token_ = textAt(authorization_.json(), "authorizationToken");
}

Reply Client::call(const std::string& operation, const boost::json::object& fields, int version) const
{
    return send({.method = "POST",
        .url = url_ + "/b2api/v" + std::to_string(version) + "/" + operation,
        .headers = {{"Authorization", token_}},
        .body = boost::json::serialize(fields)});
}

boost::json::object Client::ask(const std::string& operation, const boost::json::object& fields, int version) const
{
    const auto reply = call(operation, fields, version);
    EXPECT_EQ(reply.status, 200) << operation << ": " << reply.body;
    return reply.json();
}

std::string Client::createBucket(const std::string& name, boost::json::object more) const
{
    more["accountId"] = accountID_;
    more["bucketName"] = name;
    more.emplace("bucketType", "allPrivate");
    return textAt(ask("b2_create_bucket", more), "bucketId");
}

Client Client::withNewKey(boost::json::object fields, int version) const
{
    fields["accountId"] = accountID_;
    fields.emplace("keyName", "a-key");
    const auto key = ask("b2_create_key", fields, version);
    return {url_, {textAt(key, "applicationKeyId"), textAt(key, "applicationKey")}};
}

Client::Target Client::uploadTarget(const std::string& bucketID) const
{
    const auto target = ask("b2_get_upload_url", {{"bucketId", bucketID}});
    return {textAt(target, "uploadUrl"), textAt(target, "authorizationToken")};
}

Client::Target Client::partTarget(const std::string& fileID) const
{
    const auto target = ask("b2_get_upload_part_url", {{"fileId", fileID}});
    return {textAt(target, "uploadUrl"), textAt(target, "authorizationToken")};
}

Reply Client::upload(const Target& target, const std::string& name, const std::string& bytes, Headers headers) const
{
    const bool hasHash =
        std::ranges::any_of(headers, [](const auto& header) { return header.first == "X-Bz-Content-Sha1"; });
    if (!hasHash)
        headers.emplace_back("X-Bz-Content-Sha1", sha1Of(bytes));
    headers.emplace_back("Authorization", target.token);
    headers.emplace_back("X-Bz-File-Name", percentEncoded(name));
    headers.emplace_back("Content-Type", "b2/x-auto");
    return send({.method = "POST", .url = target.url, .headers = std::move(headers), .body = bytes});
}

std::string Client::put(const std::string& bucketID, const std::string& name, const std::string& bytes) const
{
    const auto reply = upload(uploadTarget(bucketID), name, bytes);
    EXPECT_EQ(reply.status, 200) << reply.body;
    return textAt(reply.json(), "fileId");
}

Reply Client::uploadPart(const Target& target, int number, const std::string& bytes) const
{
    return send({.method = "POST",
        .url = target.url,
        .headers = {{"Authorization", target.token}, {"X-Bz-Part-Number", std::to_string(number)},
            {"X-Bz-Content-Sha1", sha1Of(bytes)}, {"Content-Type", "application/octet-stream"}},
        .body = bytes});
}

std::string Client::startLargeFile(const std::string& bucketID, const std::string& name) const
{
    return textAt(
        ask("b2_start_large_file", {{"bucketId", bucketID}, {"fileName", name}, {"contentType", "b2/x-auto"}}),
        "fileId");
}

Reply Client::download(const std::string& path, Headers headers) const
{
    if (!token_.empty())
        headers.emplace_back("Authorization", token_);
    return send({.url = url_ + path, .headers = std::move(headers)});
}

std::vector<std::string> Client::names(const std::string& operation, boost::json::object fields) const
{
    std::vector<std::string> names;
    const auto answer = ask(operation, fields);
    for (const auto& value : answer.at("files").as_array()) {
        const auto& file = value.as_object();
        const auto action = textAt(file, "action");
        names.push_back(textAt(file, "fileName") + (action == "upload" || action == "folder" ? "" : "/" + action));
    }
    return names;
}

Reply Client::control(const std::string& method, const std::string& path, const std::string& body) const
{
    return send({.method = method, .url = url_ + "/_local/" + path, .body = body});
}

std::string sha1Of(std::string_view bytes)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned length = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_sha1(), nullptr);
    std::string hex;
    for (const auto byte : std::span(digest).first(length)) {
        hex += "0123456789abcdef"[byte >> 4];
        hex += "0123456789abcdef"[byte & 15];
    }
    return hex;
}

std::string percentEncoded(std::string_view text)
{
    char* const escaped = curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size()));
    const std::string encoded = escaped;
    curl_free(escaped);
    return encoded;
}

std::string textAt(const boost::json::object& object, std::string_view key)
{
    const auto* const value = object.if_contains(key);
    return value && value->is_string() ? std::string(value->get_string()) : std::string();
}

TemporaryDirectory::TemporaryDirectory()
{
    auto name = (std::filesystem::temp_directory_path() / "localb2-test-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::runtime_error("No temporary directory.");
    path_ = name;
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::filesystem::remove_all(path_);
}

} // namespace localb2::test
