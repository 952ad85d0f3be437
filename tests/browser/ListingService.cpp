#include "tests/browser/ListingService.h"

#include "B2Kit/B2Client.h"
#include "foundation/QtText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <stdexcept>
#include <utility>

namespace {

QString text(const char* raw)
{
    return QString::fromLatin1(raw);
}

std::string toBody(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

std::string authorizationBody()
{
    const QJsonObject storage{{text("apiUrl"), text("https://api.example.test")},
        {text("downloadUrl"), text("https://f.example.test")}, {text("recommendedPartSize"), 100000000},
        {text("absoluteMinimumPartSize"), 5000000},
        {text("allowed"), QJsonObject{{text("capabilities"), QJsonArray{text("listFiles")}}}}};
    return toBody({{text("accountId"), text("account-1")}, {text("authorizationToken"), text("token-1")},
        {text("apiInfo"), QJsonObject{{text("storageApi"), storage}}}});
}

QJsonObject row(const std::string& name, const QString& id, const std::string& action)
{
    const bool isFolder = action == "folder";
    return {{text("fileName"), toQString(name)}, {text("fileId"), isFolder ? QJsonValue() : QJsonValue(id)},
        {text("action"), toQString(action)}, {text("contentLength"), static_cast<qint64>(isFolder ? 0 : name.size())},
        {text("contentSha1"), isFolder ? QJsonValue() : QJsonValue(text("8c723a0fa70b111017b4a6f06afe1c0dbcec14e3"))},
        {text("contentType"), text("text/plain")}, {text("fileInfo"), QJsonObject()},
        {text("uploadTimestamp"), isFolder ? 0.0 : 1772705700000.0}};
}

} // namespace

void ListingService::add(const std::string& bucketID, const std::string& name, const std::string& action)
{
    const std::lock_guard lock(mutex_);
    buckets_[bucketID][name].push_front({"id-" + std::to_string(nextID_++), action});
}

void ListingService::dropBucket(const std::string& bucketID)
{
    const std::lock_guard lock(mutex_);
    buckets_.erase(bucketID);
}

void ListingService::refuseOnce(int status, const std::string& code, const std::string& message)
{
    const std::lock_guard lock(mutex_);
    refusal_ = {status,
        toBody({{text("status"), status}, {text("code"), toQString(code)}, {text("message"), toQString(message)}})};
}

void ListingService::forgetStarts()
{
    const std::lock_guard lock(mutex_);
    forgetsStarts_ = true;
}

OneShot<void> ListingService::holdNext()
{
    const std::lock_guard lock(mutex_);
    return gate_.emplace();
}

std::vector<ListingService::Call> ListingService::calls() const
{
    const std::lock_guard lock(mutex_);
    return calls_;
}

Task<B2DataReply> ListingService::data(B2HTTPRequest request)
{
    const auto operation = request.url.substr(request.url.rfind('/') + 1);
    if (operation == "b2_authorize_account")
        co_return B2DataReply{authorizationBody(), {200, {}}};
    std::optional<OneShot<void>> gate;
    {
        const std::lock_guard lock(mutex_);
        gate = std::exchange(gate_, std::nullopt);
    }
    // The answer is as of the time of the request.
    auto reply = list(operation, request.body);
    if (gate)
        co_await gate->wait();
    co_return reply;
}

B2DataReply ListingService::list(const std::string& operation, const std::string& body)
{
    const auto request = QJsonDocument::fromJson(QByteArray::fromStdString(body)).object();
    const auto field = [&](const char* name) { return fromQString(request[text(name)].toString()); };
    const Call call{
        operation, field("prefix"), field("startFileName"), request[text("maxFileCount")].toInt(), field("delimiter")};
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
    if (const auto refusal = std::exchange(refusal_, std::nullopt))
        return {refusal->body, {refusal->status, {}}};
    const auto bucket = buckets_.find(field("bucketId"));
    if (bucket == buckets_.end()) {
        return {toBody({{text("status"), 400}, {text("code"), text("bad_bucket_id")}, {text("message"), text("gone")}}),
            {400, {}}};
    }

    const bool listsVersions = operation == "b2_list_file_versions";
    const auto startID = field("startFileId");
    const auto start = forgetsStarts_ ? call.prefix : std::max(call.prefix, call.startName);
    QJsonArray files;
    std::string lastFolder;
    for (auto name = bucket->second.lower_bound(start); name != bucket->second.end(); ++name) {
        if (!name->first.starts_with(call.prefix))
            break;
        const auto slash = call.delimiter.empty() ? std::string::npos : name->first.find('/', call.prefix.size());
        const auto folder = slash == std::string::npos ? std::string() : name->first.substr(0, slash + 1);
        if (!folder.empty() && folder == lastFolder)
            continue;
        lastFolder = folder;
        bool isStarted = startID.empty() || name->first != call.startName;
        for (const auto& version : name->second) {
            isStarted = isStarted || version.id == startID;
            if (!listsVersions && version.action == "hide")
                break;
            if (!isStarted || (!listsVersions && version.action != "upload"))
                continue;
            if (files.size() == call.maxFileCount) {
                const auto nextID = listsVersions ? QJsonValue(toQString(version.id)) : QJsonValue();
                return {toBody({{text("files"), files}, {text("nextFileName"), toQString(name->first)},
                            {text("nextFileId"), nextID}}),
                    {200, {}}};
            }
            files.append(
                folder.empty() ? row(name->first, toQString(version.id), version.action) : row(folder, {}, "folder"));
            if (!listsVersions || !folder.empty())
                break;
        }
    }
    return {toBody({{text("files"), files}, {text("nextFileName"), QJsonValue()}}), {200, {}}};
}

Task<B2DownloadReply> ListingService::download(B2HTTPRequest, B2Place, B2Progress)
{
    throw std::logic_error("nothing is downloaded here");
    co_return B2DownloadReply();
}

Task<B2DataReply> ListingService::upload(B2HTTPRequest, B2UploadBody, B2Progress)
{
    throw std::logic_error("nothing is uploaded here");
    co_return B2DataReply();
}

std::shared_ptr<B2Session> makeSession(std::shared_ptr<ListingService> service, std::optional<std::string> namePrefix)
{
    B2ClientOptions options{.credentials = {"key-1", "secret"}, .transport = std::move(service)};
    options.retryPolicy.maxAttempts = 1;
    B2Authorization answer{.accountID = "account-1"};
    answer.storage.allowed.capabilities = {
        B2Capabilities::listFiles, B2Capabilities::readFiles, B2Capabilities::writeFiles};
    answer.storage.allowed.namePrefix = std::move(namePrefix);
    return std::make_shared<B2Session>(
        StoredKey{"key-1", "Test key", "account-1"}, B2Client::make(std::move(options)), std::move(answer));
}
