#include "tests/localb2/Client.h"

#include <gmock/gmock.h>

#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <arpa/inet.h>
#include <csignal>
#include <fstream>
#include <thread>

namespace localb2::test {

namespace {

/// The program in a separate process.
class Process {
public:
    explicit Process(std::vector<std::string> arguments)
    {
        int pipe[2];
        if (::pipe(pipe) != 0)
            throw std::runtime_error("No pipe.");
        arguments.insert(arguments.begin(), LOCALB2_PROGRAM);
        std::vector<char*> words;
        for (auto& argument : arguments)
            words.push_back(argument.data());
        words.push_back(nullptr);
        id_ = ::fork();
        if (id_ == 0) {
            ::dup2(pipe[1], STDOUT_FILENO);
            ::close(pipe[0]);
            ::execv(words.front(), words.data());
            ::_exit(127);
        }
        ::close(pipe[1]);
        std::string line;
        for (char byte = 0; ::read(pipe[0], &byte, 1) == 1 && byte != '\n';)
            line += byte;
        ::close(pipe[0]);
        std::istringstream(line) >> url >> key.keyID >> key.applicationKey;
    }

    ~Process() { end(SIGKILL); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Sends the signal and returns the exit code; -1 when it was killed.
    int end(int signal)
    {
        if (id_ <= 0)
            return -1;
        ::kill(id_, signal);
        int status = 0;
        ::waitpid(id_, &status, 0);
        id_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string url;
    MasterKey key;

private:
    pid_t id_ = -1;
};

/// Sends bytes as they are, and returns what arrives until the connection ends.
std::string sendRaw(const std::string& url, const std::string& bytes)
{
    const int connection = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1))));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    ::shutdown(connection, SHUT_WR);
    std::string answer;
    char buffer[4096];
    for (ssize_t count = 0; (count = ::recv(connection, buffer, sizeof buffer, 0)) > 0;)
        answer.append(buffer, static_cast<std::size_t>(count));
    ::close(connection);
    return answer;
}

/// A self-signed certificate for 127.0.0.1.
void makeCertificate(const std::string& certificateFile, const std::string& keyFile)
{
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), X509_free);
    X509_set_version(certificate.get(), X509_VERSION_3);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -60);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
    X509_set_pubkey(certificate.get(), key.get());
    auto* const name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(
        name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("127.0.0.1"), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    auto* const address = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1");
    X509_add_ext(certificate.get(), address, -1);
    X509_EXTENSION_free(address);
    X509_sign(certificate.get(), key.get(), EVP_sha256());
    const std::unique_ptr<BIO, decltype(&BIO_free)> certificateOut(
        BIO_new_file(certificateFile.c_str(), "w"), BIO_free);
    PEM_write_bio_X509(certificateOut.get(), certificate.get());
    const std::unique_ptr<BIO, decltype(&BIO_free)> keyOut(BIO_new_file(keyFile.c_str(), "w"), BIO_free);
    PEM_write_bio_PrivateKey(keyOut.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
}

} // namespace

TEST(ProgramTest, AnnouncesAnotherPartSizeAndLeavesOutMD5)
{
    const TemporaryDirectory directory;
    const Process process({"--data", (directory.path() / "data").string(), "--part-size", "7000000", "--without-md5"});
    const Client client(process.url, process.key);
    client.put(client.createBucket("test-bucket"), "a");

    EXPECT_THAT(client.authorization().body, testing::HasSubstr(R"("recommendedPartSize":7000000)"));
    EXPECT_THAT(client.download("/file/test-bucket/a").headers, testing::Contains(testing::Key("x-bz-content-sha1")));
    const auto buckets = client.ask("b2_list_buckets", {{"accountId", client.accountID()}});
    const auto files =
        client.ask("b2_list_file_names", {{"bucketId", textAt(buckets.at("buckets").at(0).as_object(), "bucketId")}});
    EXPECT_TRUE(files.at("files").at(0).at("contentMd5").is_null());
}

TEST(ProgramTest, KeepsWhatItAnsweredThroughAKill)
{
    const TemporaryDirectory directory;
    const auto data = (directory.path() / "data").string();
    const std::string large(300'000, 'l');
    MasterKey key;
    std::string url;
    std::string token;
    {
        Process process({"--data", data, "--port", "0"});
        key = process.key;
        url = process.url;
        const Client client(process.url, process.key);
        token = client.token();
        const auto bucketID = client.createBucket("test-bucket");
        for (int i = 0; i < 50; ++i)
            client.put(bucketID, "small/" + std::to_string(i), std::to_string(i));
        client.put(bucketID, "large", large);
        client.control("POST", "faults",
            R"({"operation":"b2_upload_file","kind":"stall","in":"request","at":200000,"milliseconds":60000})");
        const auto target = client.uploadTarget(bucketID);
        std::thread cutOff([&] { EXPECT_FALSE(client.upload(target, "cut off", large).isComplete); });
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        process.end(SIGKILL);
        cutOff.join();
    }

    Process process({"--data", data, "--port", url.substr(url.rfind(':') + 1)});

    EXPECT_EQ(process.url, url);
    EXPECT_EQ(process.key, key);
    const std::filesystem::directory_iterator bodies(directory.path() / "data" / "bodies");
    EXPECT_EQ(std::distance(begin(bodies), end(bodies)), 1);
    EXPECT_EQ(std::filesystem::status(directory.path() / "data" / "localb2.sqlite").permissions(),
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    const auto list = send({.url = process.url + "/b2api/v4/b2_list_buckets?accountId=" + key.keyID,
        .headers = {{"Authorization", token}}});
    EXPECT_EQ(list.status, 200) << "the account's token lives on";
    const Client client(process.url, process.key);
    EXPECT_EQ(client.download("/file/test-bucket/large").body, large);
    EXPECT_EQ(client.download("/file/test-bucket/small/49").body, "49");
    EXPECT_EQ(client.download("/file/test-bucket/cut%20off").status, 404);
    EXPECT_EQ(process.end(SIGTERM), 0);
}

TEST(ProgramTest, EndsAtOnceWhileRequestsAreStalled)
{
    const TemporaryDirectory directory;
    Process process({"--data", (directory.path() / "data").string()});
    const Client client(process.url, process.key);
    client.control("POST", "faults", R"({"operation":"b2_list_buckets","kind":"stall","milliseconds":60000})");
    std::thread stalled([&] { client.call("b2_list_buckets", {{"accountId", client.accountID()}}); });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto begin = std::chrono::steady_clock::now();

    EXPECT_EQ(process.end(SIGINT), 0);

    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    stalled.join();
}

TEST(ProgramTest, RefusesADirectoryInUseAndOptionsItDoesNotKnow)
{
    const TemporaryDirectory directory;
    const auto data = (directory.path() / "data").string();
    Process first({"--data", data});

    Process second({"--data", data});
    EXPECT_EQ(second.url, "");
    EXPECT_EQ(second.end(0), 1);
    EXPECT_EQ(Process({"--data", data, "--frobnicate"}).end(0), 2);
    EXPECT_EQ(Process({"--data", data, "--port", "70000"}).end(0), 2);
    EXPECT_EQ(Process({}).end(0), 2);
}

TEST(ProgramTest, SurvivesInputThatIsNotARequest)
{
    const TemporaryDirectory directory;
    Process process({"--data", (directory.path() / "data").string()});

    EXPECT_THAT(sendRaw(process.url, "nonsense\r\n\r\n"), testing::StartsWith("HTTP/1.1 400"));
    EXPECT_THAT(sendRaw(process.url, "GET / HTTP/1.1\r\nX: " + std::string(100'000, 'x') + "\r\n\r\n"),
        testing::AnyOf("", testing::StartsWith("HTTP/1.1 400")));
    EXPECT_THAT(sendRaw(process.url, "POST /b2api/v4/b2_list_buckets HTTP/1.1\r\nContent-Length: -5\r\n\r\n"),
        testing::StartsWith("HTTP/1.1 400"));
    EXPECT_THAT(
        sendRaw(process.url, "POST /b2api/v4/b2_list_buckets HTTP/1.1\r\nContent-Length: 9999999999999\r\n\r\n"),
        testing::StartsWith("HTTP/1.1 400"));
    EXPECT_THAT(sendRaw(process.url, "POST /x HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"),
        testing::StartsWith("HTTP/1.1 400"));
    EXPECT_THAT(sendRaw(process.url, "GET /%zz HTTP/1.1\r\n\r\n"), testing::StartsWith("HTTP/1.1 404"));
    const Client client(process.url, process.key);
    EXPECT_EQ(client.call("b2_list_buckets", {{"accountId", {}}}).code(), "bad_request");
    EXPECT_EQ(send({.method = "POST",
                       .url = process.url + "/b2api/v4/b2_list_buckets",
                       .headers = {{"Authorization", client.token()}},
                       .body = std::string(100'000, '[')})
                  .code(),
        "bad_json");
}

TEST(ProgramTest, ServesOverTLSToClientsThatTrustItOnly)
{
    const TemporaryDirectory directory;
    const auto certificate = (directory.path() / "certificate.pem").string();
    const auto privateKey = (directory.path() / "key.pem").string();
    makeCertificate(certificate, privateKey);
    Process process({"--data", (directory.path() / "data").string(), "--tls", certificate, privateKey});
    const Sending request{.url = process.url + "/b2api/v4/b2_authorize_account",
        .headers = {{"Authorization", "Basic bm9ib2R5Og=="}},
        .certificate = certificate};

    EXPECT_THAT(process.url, testing::StartsWith("https://127.0.0.1:"));
    EXPECT_EQ(send(request).code(), "unauthorized");
    EXPECT_EQ(send({.url = request.url}).status, 0);
    EXPECT_EQ(sendRaw(process.url, "GET / HTTP/1.1\r\n\r\n").find("HTTP/1.1 200"), std::string::npos);
    EXPECT_EQ(Process({"--data", (directory.path() / "d").string(), "--tls", privateKey, certificate}).end(0), 1);
}

TEST(ProgramTest, PlantsTheDemoAndSeedFiles)
{
    const TemporaryDirectory directory;
    Process demo({"--data", (directory.path() / "demo").string(), "--seed", "demo"});
    const Client client(demo.url, demo.key);
    const auto buckets = client.ask("b2_list_buckets", {{"accountId", client.accountID()}}).at("buckets").as_array();
    EXPECT_EQ(buckets.size(), 6U);
    EXPECT_EQ(client.control("GET", "accounts").json().at("accounts").as_array().size(), 2U);
    std::size_t unfinished = 0;
    for (const auto& value : buckets) {
        const auto id = textAt(value.as_object(), "bucketId");
        const auto files =
            client.ask("b2_list_file_names", {{"bucketId", id}, {"maxFileCount", 10000}}).at("files").as_array();
        unfinished += client.ask("b2_list_unfinished_large_files", {{"bucketId", id}}).at("files").as_array().size();
        const auto& first = files.at(0).as_object();
        const auto reply = client.download("/b2api/v4/b2_download_file_by_id?fileId=" + textAt(first, "fileId"));
        if (textAt(first, "contentSha1") != "none")
            EXPECT_EQ(sha1Of(reply.body), textAt(first, "contentSha1"));
        EXPECT_EQ(static_cast<std::int64_t>(reply.body.size()), first.at("contentLength").as_int64());
    }
    EXPECT_EQ(unfinished, 2U);

    std::ofstream(directory.path() / "seed.json") << R"({"buckets":[{"name":"seeded-bucket",
        "files":[{"name":"a.txt","text":"A","time":1700000000000},{"name":"a.txt","hidden":true}]}]})";
    Process seeded(
        {"--data", (directory.path() / "own").string(), "--seed", (directory.path() / "seed.json").string()});
    const Client own(seeded.url, seeded.key);
    const auto bucket = own.ask("b2_list_buckets", {{"accountId", own.accountID()}}).at("buckets").at(0).as_object();
    EXPECT_THAT(own.names("b2_list_file_versions", {{"bucketId", bucket.at("bucketId")}}),
        testing::ElementsAre("a.txt/hide", "a.txt"));
    EXPECT_EQ(Process({"--data", (directory.path() / "none").string(), "--seed", "/nowhere/seed.json"}).end(0), 1);
}

} // namespace localb2::test
