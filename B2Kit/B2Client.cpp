#include "B2Kit/B2Client.h"

#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/pipeline/B2Pipeline.h"
#include "B2Kit/uploads/UploadURLPool.h"
#include "B2Kit/wire/B2URL.h"

#include <openssl/evp.h>
#include <random>

namespace {

double uniformRandom()
{
    thread_local std::mt19937 generator(std::random_device{}());
    return std::uniform_real_distribution<double>(0.0, 1.0)(generator);
}

/// The value of a Basic `Authorization` header.
std::string basicAuthorization(const B2Credentials& credentials)
{
    std::string pair = credentials.keyID + ":";
    pair += credentials.applicationKey.reveal();
    std::string encoded(4 * ((pair.size() + 2) / 3) + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
        reinterpret_cast<const unsigned char*>(pair.data()), static_cast<int>(pair.size()));
    wipe(pair);
    encoded.resize(static_cast<std::size_t>(length));
    std::string header = "Basic " + encoded;
    wipe(encoded);
    return header;
}

} // namespace

std::shared_ptr<B2Client> B2Client::make(B2ClientOptions options)
{
    if (!options.sleeper)
        options.sleeper = std::make_shared<SystemSleeper>();
    if (!options.jitter)
        options.jitter = uniformRandom;
    if (!options.log)
        options.log = std::make_shared<B2NullLogSink>();
    return std::shared_ptr<B2Client>(new B2Client(std::make_shared<SerialExecutor>(), std::move(options)));
}

B2Client::B2Client(std::shared_ptr<SerialExecutor> executor, B2ClientOptions options)
    : Actor(*executor)
    , executor_(std::move(executor))
    , credentials_(std::move(options.credentials))
    , accountEndpoint_(std::move(options.accountEndpoint))
    , tools_(std::make_unique<B2ClientTools>(B2ClientTools{.transport = std::move(options.transport),
          .retryPolicy = options.retryPolicy,
          .sleeper = std::move(options.sleeper),
          .jitter = std::move(options.jitter),
          .log = std::move(options.log)}))
{
}

B2Client::~B2Client() = default;

Task<std::optional<B2Authorization>> B2Client::authorization()
{
    co_return authorization_ ? std::optional(*authorization_) : std::nullopt;
}

Task<std::set<B2Capability>> B2Client::capabilities()
{
    const auto record = co_await currentAuthorization();
    co_return record->storage.allowed.capabilities;
}

Task<B2Authorization> B2Client::authorized()
{
    const auto record = co_await currentAuthorization();
    co_return *record;
}

Task<B2Authorization> B2Client::reauthorize()
{
    authorization_ = nullptr;
    const auto pools = uploadPools_;
    for (const auto& [bucketID, pool] : pools)
        co_await pool->removeAll();
    const auto record = co_await currentAuthorization();
    co_return *record;
}

Task<B2Authorization> B2Client::authorizeAccount()
{
    constexpr std::string_view operation = "b2_authorize_account";
    requireTrustedURL(accountEndpoint_);
    B2HTTPRequest request;
    request.method = B2HTTPMethod::get;
    request.url = callURL(accountEndpoint_, b2APIVersion, operation);
    request.headers = {{"Authorization", basicAuthorization(credentials_)}};
    const auto reply = co_await tools_->transport->data(std::move(request));
    if (!isSuccess(reply.response.status))
        throw B2Error::ofAuthorization(readAPIError(reply.response.status, reply.body));
    auto record = decodeAnswer<B2Authorization>(operation, reply.body);
    // The token goes to these addresses. The one of the S3-compatible API is checked when it is used.
    requireTrustedURL(record.storage.apiURL);
    requireTrustedURL(record.storage.downloadURL);
    co_return record;
}

Task<B2Client::Record> B2Client::currentAuthorization()
{
    if (authorization_)
        co_return authorization_;
    co_return co_await authorizationFlight_.join([client = shared_from_this()] { return authorizeAndStore(client); });
}

Task<B2Client::Record> B2Client::authorizeAndStore(std::shared_ptr<B2Client> client)
{
    auto record = std::make_shared<const B2Authorization>(co_await client->authorizeAccount());
    client->authorization_ = record;
    co_return record;
}

void B2Client::forget(const B2Authorization& expired)
{
    if (!authorization_ || authorization_->authorizationToken != expired.authorizationToken)
        return;
    authorization_ = nullptr;
    tools_->log->info("auth", "Authorization token expired, renewing");
}

Task<B2DataReply> B2Client::postJSON(B2JSONCall call)
{
    B2Call<B2DataReply> request;
    request.operation = call.operation;
    request.accepts = isSuccess;
    request.makeRequest = [&call](const B2Authorization& authorization) {
        B2HTTPRequest made;
        made.url = callURL(authorization.storage.apiURL, call.version, call.operation);
        made.headers = {{"Authorization", authorization.authorizationToken}, {"Content-Type", "application/json"}};
        made.body = call.body;
        return made;
    };
    request.send = [this](B2HTTPRequest made) { return tools_->transport->data(std::move(made)); };
    request.mayHaveBeenDone = call.mayHaveBeenDone;
    request.expectsRefusal = call.expectsRefusal;
    co_return co_await perform(std::move(request));
}
