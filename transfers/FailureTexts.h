#pragma once

#include <exception>
#include <string>

/// A failed transfer's text for the user. The caller has sorted out cancellations, which have none.
///
/// A spent cap is named, with where to raise it; everything else speaks for itself.
std::string failureText(const std::exception_ptr& failure);

/// The same for an upload: of a source that could not be read it also says that nothing was stored.
std::string uploadFailureText(const std::exception_ptr& failure);

/// The same for a download: of a file that is gone from the service it says so by name.
std::string downloadFailureText(const std::exception_ptr& failure, const std::string& displayName);

/// The same of an upload that left a started large file behind.
std::string resumableFailureText(const std::exception_ptr& failure);

/// Can another attempt go on with the large file? Not when its source is another one by now, or when it is gone.
bool isResumable(const std::exception_ptr& failure);
