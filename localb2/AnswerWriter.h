#pragma once

#include "localb2/Core.h"
#include "localb2/Wire.h"

namespace localb2 {

/// How an answer went out.
struct Sent {
    std::int64_t bytes = 0;      ///< Of the body.
    bool endsConnection = false; ///< Nothing more may be sent on it.
};

/// Writes the answer, with what the plan does to it.
Sent writeAnswer(Wire& wire, Answer answer, const FaultPlan& plan, Core& core);

} // namespace localb2
