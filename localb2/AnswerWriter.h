#pragma once

#include "localb2/Core.h"
#include "localb2/Wire.h"

namespace localb2 {

/// The outcome of sending an answer.
struct Sent {
    std::int64_t bytes = 0;      ///< Sent of the body.
    bool endsConnection = false; ///< Nothing more may be sent on it.
};

/// Writes the answer and applies the faults of the plan to it.
Sent writeAnswer(Wire& wire, Answer answer, const FaultPlan& plan, Core& core);

} // namespace localb2
