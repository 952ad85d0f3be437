#include "shell/tour/ServiceControl.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <stdexcept>

ServiceControl::ServiceControl(std::string serviceURL)
    : serviceURL_(std::move(serviceURL))
{
}

Task<std::string> ServiceControl::digest(std::string bucketName, std::string fileName)
{
    const auto encoded = [](const std::string& text) {
        return QUrl::toPercentEncoding(QString::fromStdString(text)).toStdString();
    };
    const std::string path = "/_local/digest?bucket=" + encoded(bucketName) + "&file=" + encoded(fileName);
    const auto answer = co_await ask(B2HTTPMethod::get, path, {});
    const auto record = QJsonDocument::fromJson(QByteArray::fromStdString(answer)).object();
    co_return record[QLatin1String("sha1")].toString().toStdString();
}

Task<> ServiceControl::writeMasterKeys(std::filesystem::path file)
{
    const auto answer = co_await ask(B2HTTPMethod::get, "/_local/accounts", {});
    const auto record = QJsonDocument::fromJson(QByteArray::fromStdString(answer));
    const auto accounts = record.isArray() ? record.array() : record.object()[QLatin1String("accounts")].toArray();
    std::filesystem::create_directories(file.parent_path());
    QFile written(QString::fromStdString(file.string()));
    if (!written.open(QIODevice::WriteOnly | QIODevice::Truncate, QFile::ReadOwner | QFile::WriteOwner))
        throw std::runtime_error("the file of keys can't be written");
    for (const auto& account : accounts) {
        const auto key = account.toObject();
        written.write(key[QLatin1String("applicationKeyId")].toString().toUtf8() + ' '
            + key[QLatin1String("applicationKey")].toString().toUtf8() + '\n');
    }
}

Task<std::int64_t> ServiceControl::bytesReceived()
{
    const auto answer = co_await ask(B2HTTPMethod::get, "/_local/counts", {});
    const auto record = QJsonDocument::fromJson(QByteArray::fromStdString(answer)).object();
    co_return record[QLatin1String("bytesIn")].toInteger();
}

Task<> ServiceControl::addFaults(std::string faults)
{
    co_await ask(B2HTTPMethod::post, "/_local/faults", std::move(faults));
}

Task<> ServiceControl::clearFaults()
{
    co_await ask(B2HTTPMethod::post, "/_local/faults/clear", "{}");
}

Task<std::string> ServiceControl::ask(B2HTTPMethod method, std::string path, std::string body)
{
    B2HTTPRequest request{.method = method, .url = serviceURL_ + path, .body = std::move(body)};
    auto reply = co_await transport_.data(std::move(request));
    if (reply.response.status != 200)
        throw std::runtime_error("the local service answered " + std::to_string(reply.response.status) + " to " + path);
    co_return std::move(reply.body);
}
