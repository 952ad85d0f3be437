#include "localb2/Encoding.h"
#include "localb2/Seed.h"
#include "localb2/SeedContent.h"
#include "localb2/SeedPlanter.h"

#include <fmt/format.h>

#include <array>

namespace localb2 {

namespace {

using File = SeedPlanter::File;

std::map<std::string, std::string> modifiedAt(Milliseconds time)
{
    return {{"src_last_modified_millis", std::to_string(time - 3'600'000)}};
}

/// Lays out one person's account, bucket by bucket.
class Demo {
public:
    Demo(Core& core, const std::string& accountID)
        : planter_(core, accountID)
        , now_(core.nowInSeconds())
    {
    }

    void plant()
    {
        plantPhotos();
        plantDocuments();
        plantWebsite();
        plantBackups();
        plantMedia();
        plantLongName();
        plantKeys();
    }

private:
    void plantPhotos()
    {
        photos_ = planter_.addBucket({.name = "photos",
            .type = "allPrivate",
            .info = R"({"owner":"Maria","camera":"X-T4"})",
            .lifecycleRules = R"([{"fileNamePrefix":"Trash/","daysFromUploadingToHiding":30,)"
                              R"("daysFromHidingToDeleting":7}])"});
        struct Album {
            const char* name;
            int firstNumber;
            int count;
            int daysAgo;
        };
        static constexpr std::array<Album, 8> albums = {{
            {"2024/Weihnachten bei Oma", 12, 18, 690},
            {"2025/Île de Ré", 204, 34, 480},
            {"2025/Wedding of Łukasz & Ana", 391, 41, 420},
            {"2025/Grüße aus Österreich", 512, 27, 300},
            {"2025/Garden 🌻", 640, 22, 250},
            {"2026/Oslo – Bergen by train", 1, 38, 140},
            {"2026/日本 spring", 77, 29, 90},
            {"2026/Kitchen renovation", 160, 16, 20},
        }};
        std::vector<std::string> pictures;
        for (unsigned i = 0; i < 40; ++i)
            pictures.push_back(pngPicture(i));
        std::size_t picture = 0;
        for (const auto& album : albums) {
            for (int i = 0; i < album.count; ++i) {
                const auto time = planter_.daysAgo(album.daysAgo - i / 6, i);
                planter_.addFile(photos_,
                    {.name = fmt::format("{}/IMG_{:04}.png", album.name, album.firstNumber + i),
                        .bytes = pictures[picture++ % pictures.size()],
                        .time = time,
                        .info = modifiedAt(time)});
            }
        }
        planter_.addFile(
            photos_, {.name = "Best of 2025 (final).png", .bytes = pngPicture(41), .time = planter_.daysAgo(200)});
        planter_.addFile(
            photos_, {.name = "Best of 2025 (final).png", .bytes = pngPicture(42), .time = planter_.daysAgo(180)});
        for (int i = 1; i <= 6; ++i)
            planter_.addFile(photos_,
                {.name = fmt::format("Trash/blurred {}.png", i),
                    .bytes = pngPicture(43),
                    .time = planter_.daysAgo(25, i)});
        planter_.hide(photos_, "Trash/blurred 3.png", planter_.daysAgo(24));
        planter_.hide(photos_, "Trash/blurred 4.png", planter_.daysAgo(24));
    }

    void plantDocuments()
    {
        documents_ = planter_.addBucket({.name = "documents",
            .type = "allPrivate",
            .lifecycleRules = R"([{"fileNamePrefix":"","daysFromUploadingToHiding":null,)"
                              R"("daysFromHidingToDeleting":90}])",
            .isLockEnabled = true,
            .defaultRetention = Retention::Mode::governance,
            .retentionDuration = 30,
            .retentionUnit = "days"});
        for (int year = 2023; year <= 2026; ++year) {
            for (int month = 1; month <= 12; month += 2) {
                const auto number = static_cast<unsigned>(year * 12 + month);
                planter_.addFile(documents_,
                    {.name = fmt::format("Taxes {}/statement {:02}-{}.csv", year, month, year),
                        .bytes = csvTable(number, 40),
                        .time = planter_.daysAgo((2026 - year) * 120 + 360 - month * 25, month)});
            }
        }
        for (int i = 1; i <= 14; ++i)
            planter_.addFile(documents_,
                {.name = fmt::format("Letters/{}. letter to the landlord.txt", i),
                    .bytes = plainText(static_cast<unsigned>(i), 3),
                    .time = planter_.daysAgo(500 - 30 * i)});
        // A text that somebody keeps editing.
        for (int draft = 1; draft <= 7; ++draft)
            planter_.addFile(documents_,
                {.name = "Novel/chapter 01.md",
                    .bytes = "# Chapter one\n\n" + plainText(100, draft * 2),
                    .time = planter_.daysAgo(90 - draft * 10)});
        for (int chapter = 2; chapter <= 11; ++chapter)
            planter_.addFile(documents_,
                {.name = fmt::format("Novel/chapter {:02}.md", chapter),
                    .bytes =
                        fmt::format("# Chapter {}\n\n", chapter) + plainText(static_cast<unsigned>(100 + chapter), 8),
                    .time = planter_.daysAgo(40 - chapter)});
        planter_.addFile(documents_,
            {.name = "Contracts/Mietvertrag – Königstraße 12.txt",
                .bytes = plainText(200, 12),
                .time = planter_.daysAgo(600),
                .retention = {Retention::Mode::compliance, now_ + 400 * day}});
        planter_.addFile(documents_,
            {.name = "Contracts/Insurance 100% (scan).txt",
                .bytes = plainText(201, 6),
                .time = planter_.daysAgo(12),
                .retention = {Retention::Mode::governance, now_ + 18 * day},
                .hold = LegalHold::on});
        planter_.addFile(
            documents_, {.name = "Passwords (old).txt", .bytes = plainText(202, 1), .time = planter_.daysAgo(300)});
        planter_.hide(documents_, "Passwords (old).txt", planter_.daysAgo(120));
        planter_.addFile(documents_,
            {.name = "to do.txt", .bytes = "- call the bank\n- back up the back-ups\n", .time = planter_.daysAgo(2)});
    }

    void plantWebsite()
    {
        website_ = planter_.addBucket({.name = "website-assets",
            .type = "allPublic",
            .info = R"({"Cache-Control":"max-age=3600"})",
            .corsRules = R"([{"corsRuleName":"downloadFromAnyOrigin","allowedOrigins":["https"],)"
                         R"("allowedOperations":["b2_download_file_by_name"],"maxAgeSeconds":3600}])"});
        for (unsigned i = 0; i < 24; ++i)
            planter_.addFile(website_,
                {.name = fmt::format("icons/badge-{}.svg", i + 1),
                    .bytes = svgBadge(i),
                    .time = planter_.daysAgo(400 - i * 9)});
        static constexpr std::string_view page =
            "<!doctype html>\n<meta charset=\"utf-8\">\n<title>Harbour letters</title>\n"
            "<h1>Harbour letters</h1>\n<p>";
        for (int i = 5; i > 0; --i)
            planter_.addFile(website_,
                {.name = "index.html",
                    .bytes = std::string(page) + plainText(static_cast<unsigned>(300 + i), 2),
                    .time = planter_.daysAgo(i * 60)});
        planter_.addFile(website_,
            {.name = "css/style.css",
                .bytes = "body { font: 16px/1.5 serif; margin: 3em auto; max-width: 40em }\n",
                .time = planter_.daysAgo(320)});
        planter_.addFile(website_,
            {.name = "js/menu.js", .bytes = "document.body.classList.add('ready');\n", .time = planter_.daysAgo(320)});
        for (unsigned i = 1; i <= 12; ++i)
            planter_.addFile(website_,
                {.name = fmt::format("images/header@{}x.png", i),
                    .bytes = pngPicture(i),
                    .time = planter_.daysAgo(310 - i)});
        planter_.addFile(website_,
            {.name = "downloads/press kit + logos.zip", .bytes = noise(5, 2'400'000), .time = planter_.daysAgo(77)});
    }

    void plantBackups()
    {
        // Like an old bucket: without a default encryption.
        backups_ = planter_.addBucket({.name = "backups",
            .type = "allPrivate",
            .lifecycleRules = R"([{"fileNamePrefix":"laptop/","daysFromUploadingToHiding":180,)"
                              R"("daysFromHidingToDeleting":30,"daysFromStartingToCancelingUnfinishedLargeFiles":14}])",
            .isManagedEncryption = false});
        constexpr int days = 2500;
        for (int i = 0; i < days; ++i)
            planter_.addFile(backups_,
                {.name = fmt::format("server/sensor log/{:05}.json", i + 1),
                    .bytes = fmt::format(R"({{"sensor":"attic","reading":{}}})", i % 50),
                    .time = planter_.daysAgo(700 - i * 690 / days, i)});
        for (int week = 1; week <= 20; ++week)
            planter_.addFile(backups_,
                {.name = fmt::format("laptop/week {}.tar.gz", week),
                    .bytes = noise(static_cast<unsigned>(week), 9'000 + static_cast<std::size_t>(week) * 400),
                    .time = planter_.daysAgo(150 - week * 7)});
        planter_.addFile(backups_,
            {.name = "laptop/full 2026-01.tar", .bytes = noise(90, 4'700'000), .time = planter_.daysAgo(110)});
        planter_.addLargeFile(backups_,
            {.name = "laptop/full 2026-02.tar",
                .bytes = noise(91, 5'000'000),
                .time = planter_.daysAgo(80),
                .info = {{"large_file_sha1", "da39a3ee5e6b4b0d3255bfef95601890afd80709"}}},
            {1, 2}, false);
    }

    void plantMedia()
    {
        media_ = planter_.addBucket({.name = "media-archive", .type = "allPrivate"});
        for (unsigned i = 1; i <= 4; ++i)
            planter_.addFile(media_,
                {.name = fmt::format("Music/Field recordings/Take {} – harbour.wav", i),
                    .bytes = wavTone(i, 2),
                    .time = planter_.daysAgo(260 - i * 3)});
        planter_.addFile(media_,
            {.name = "Music/Piano/Für Elise (practice).wav", .bytes = wavTone(9, 24), .time = planter_.daysAgo(33)});
        planter_.addLargeFile(media_,
            {.name = "Films/Holiday in Kraków.mov", .bytes = noise(92, 5'200'000), .time = planter_.daysAgo(190)},
            {1, 2}, true);
        planter_.addLargeFile(media_,
            {.name = "Films/Grandpa's 80th.mov", .bytes = noise(93, 5'000'000), .time = planter_.daysAgo(5)}, {1, 3},
            false);
        for (int i = 1; i <= 8; ++i)
            planter_.addFile(media_,
                {.name = fmt::format("Podcasts/Season 1/Episode {}/notes.txt", i),
                    .bytes = plainText(static_cast<unsigned>(400 + i), 2),
                    .time = planter_.daysAgo(370 - i * 14)});
        planter_.addFile(
            media_, {.name = "Podcasts/Season 1/cover.png", .bytes = pngPicture(50), .time = planter_.daysAgo(372)});
        for (int i = 1; i <= 3; ++i) {
            const auto name = fmt::format("Old/tape {}.txt", i);
            planter_.addFile(media_,
                {.name = name, .bytes = plainText(static_cast<unsigned>(500 + i), 1), .time = planter_.daysAgo(650)});
            planter_.hide(media_, name, planter_.daysAgo(400));
        }
    }

    void plantLongName()
    {
        const auto bucket = planter_.addBucket(
            {.name = "a-bucket-whose-name-is-just-as-long-as-the-service-allows-it-to", .type = "allPrivate"});
        planter_.addFile(bucket,
            {.name = "one/two/three/four/five/six/seven/eight/nine/ten/deep.txt",
                .bytes = "Down here.\n",
                .time = planter_.daysAgo(15)});
        planter_.addFile(bucket,
            {.name = std::string(240, 'n') + ".txt",
                .bytes = "A name nearly too long for a disk.\n",
                .time = planter_.daysAgo(14)});
    }

    void plantKeys()
    {
        const auto key = [&](std::string name, std::string_view capabilities) {
            return Key{.name = std::move(name), .capabilities = Capabilities::parsed(capabilities)};
        };
        auto reader = key("photos-reader", "listBuckets,listFiles,readFiles");
        reader.bucketIDs = {{photos_.id}};
        planter_.addKey(reader);
        planter_.addKey(key("read-everything",
            "listBuckets,listFiles,readFiles,readBuckets,readBucketEncryption,readBucketRetentions,"
            "readFileRetentions,readFileLegalHolds"));
        auto letters = key("letters-inbox", "listBuckets,listFiles,readFiles,writeFiles,deleteFiles");
        letters.bucketIDs = {{documents_.id}};
        letters.prefix = "Letters/";
        planter_.addKey(letters);
        auto deploy = key("website-deploy", "listBuckets,listFiles,readFiles,writeFiles,deleteFiles,shareFiles");
        deploy.bucketIDs = {{website_.id}};
        deploy.expires = now_ + 9 * day;
        planter_.addKey(deploy);
        auto archive = key("backup-and-archive", "listBuckets,listFiles,readFiles,writeFiles,deleteFiles");
        archive.bucketIDs = {{backups_.id, media_.id}};
        planter_.addKey(archive);
        auto former = key("contractor-2025", "listBuckets,listFiles,readFiles");
        former.expires = now_ - 40 * day;
        planter_.addKey(former);
    }

    SeedPlanter planter_;
    Milliseconds now_;
    Bucket photos_;
    Bucket documents_;
    Bucket website_;
    Bucket backups_;
    Bucket media_;
};

} // namespace

void plantDemo(Core& core, const std::string& accountID)
{
    Demo(core, accountID).plant();
    const auto neighbour = core.keys.createAccount("neighbour@example.com");
    SeedPlanter planter(core, neighbour.id);
    const auto bucket = planter.addBucket({.name = "neighbours-bucket", .type = "allPrivate"});
    planter.addFile(bucket, {.name = "readme.txt", .bytes = "Of the second account.\n", .time = planter.daysAgo(3)});
}

} // namespace localb2
