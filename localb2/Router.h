#pragma once

#include "localb2/Core.h"

#include <string>
#include <string_view>

namespace localb2 {

/// The meaning of a path.
struct Route {
    enum class Kind { unknown, call, uploadFile, uploadPart, copy, authorize, downloadByName, downloadByID, control };

    Kind kind = Kind::unknown;
    std::string operation; ///< Name of the call, as used by faults and history.
    int apiVersion = 4;
    std::string first;  ///< The bucket or file of an upload, the bucket name of a download.
    std::string second; ///< The file name of a download, the rest of a control path.

    bool isUpload() const { return kind == Kind::uploadFile || kind == Kind::uploadPart; }
};

Route routeOf(std::string_view path);

/// Answers a request. Refusals are thrown as Failure.
Answer serve(Core& core, const Request& request, const Route& route);

} // namespace localb2
