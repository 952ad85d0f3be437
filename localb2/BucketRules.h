#pragma once

#include "localb2/Fields.h"

#include <string>
#include <string_view>

namespace localb2 {

// Each refuses what a bucket may not hold, with `invalid_bucket_name` or `bad_request`.

void checkBucketName(std::string_view name);
void checkBucketType(std::string_view type);

// And gives back the JSON to keep: just what was sent.

std::string checkedBucketInfo(const Fields& fields);
std::string checkedLifecycleRules(const Fields& fields);
std::string checkedCORSRules(const Fields& fields);

} // namespace localb2
