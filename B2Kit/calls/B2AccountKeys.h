#pragma once

#include "B2Kit/B2Key.h"
#include "async/Stream.h"

#include <memory>
#include <string>

class B2Client;

// Calls on keys depend on the version of the API. As documented, version 4 knows only the keys for several buckets, and
// earlier versions know all others; but the service has also been seen to serve every key through version 4. These
// functions are right in both cases.

/// Lists every application key of the account, once (`b2_list_keys`).
///
/// Asks page by page as the consumer does; the stream holds the client. When the consumer's task is asked to stop, the
/// stream ends as if there were no more: a consumer that needs every key calls `checkCancelled` after the end.
Stream<B2ApplicationKey> allKeys(std::shared_ptr<B2Client> client, int pageSize = 1000);

/// Deletes an application key through the version of the API that knows it (`b2_delete_key`).
///
/// If the answer was lost and the key is gone, only the key's id is set.
/// @throws as the calls of `B2Client` do.
Task<B2ApplicationKey> deleteAccountKey(std::shared_ptr<B2Client> client, std::string applicationKeyID);
