#include "localb2/BucketRules.h"
#include "localb2/Fields.h"
#include "localb2/Seed.h"
#include "localb2/SeedContent.h"
#include "localb2/SeedPlanter.h"

#include <boost/json.hpp>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace localb2 {

namespace {

Fields objectOf(const boost::json::value& value)
{
    if (!value.is_object())
        throw badRequest("every bucket, file and key is an object");
    return Fields(value.get_object());
}

SeedPlanter::File fileOf(const Fields& fields, Milliseconds now)
{
    SeedPlanter::File file{.name = fields.text("name"),
        .time = fields.optionalNumber("time").value_or(now),
        .type = fields.optionalText("type").value_or("b2/x-auto"),
        .info = infoOf(fields)};
    checkFileName(file.name);
    if (const auto size = fields.optionalNumber("size"))
        file.bytes = noise(1, static_cast<std::size_t>(*size));
    else
        file.bytes = fields.optionalText("text").value_or("");
    return file;
}

void plantBucket(SeedPlanter& planter, const Fields& fields, Milliseconds now)
{
    const auto name = fields.text("name");
    checkBucketName(name);
    Bucket bucket{.name = name, .type = fields.optionalText("type").value_or("allPrivate")};
    bucket.isLockEnabled = fields.flag("fileLockEnabled", false);
    if (fields.find("bucketInfo"))
        bucket.info = checkedBucketInfo(fields);
    if (fields.find("lifecycleRules"))
        bucket.lifecycleRules = checkedLifecycleRules(fields);
    bucket = planter.addBucket(bucket);
    const auto* const files = fields.optionalArray("files");
    if (!files)
        return;
    for (const auto& value : *files) {
        const auto file = objectOf(value);
        if (file.flag("hidden", false))
            planter.hide(bucket, file.text("name"), file.optionalNumber("time").value_or(now));
        else
            planter.addFile(bucket, fileOf(file, now));
    }
}

} // namespace

void plantFile(Core& core, const std::string& accountID, const std::filesystem::path& path)
{
    std::ifstream stream(path);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream)
        throw std::runtime_error("Couldn't read the seed \"" + path.string() + "\".");
    try {
        Request request;
        request.body = text.str();
        const Fields seed(request);
        SeedPlanter planter(core, accountID);
        if (const auto* const buckets = seed.optionalArray("buckets")) {
            for (const auto& bucket : *buckets)
                plantBucket(planter, objectOf(bucket), core.nowInSeconds());
        }
    } catch (const Failure& failure) {
        throw std::runtime_error("The seed \"" + path.string() + "\" is no good: " + failure.message + ".");
    }
}

} // namespace localb2
