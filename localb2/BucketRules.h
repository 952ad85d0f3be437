#pragma once

#include "localb2/Fields.h"

#include <string>
#include <string_view>

namespace localb2 {

// Each refuses values that a bucket may not have, with `invalid_bucket_name` or `bad_request`.

void checkBucketName(std::string_view name);
void checkBucketType(std::string_view type);

// These also return the JSON to store, exactly as sent.

std::string checkedBucketInfo(const Fields& fields);
std::string checkedLifecycleRules(const Fields& fields);
std::string checkedCORSRules(const Fields& fields);

} // namespace localb2
