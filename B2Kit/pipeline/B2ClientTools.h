#pragma once

#include "B2Kit/B2Log.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "B2Kit/transport/B2Transport.h"

#include <functional>
#include <memory>

// Inside B2Kit: what the calls share with the uploads that are built over them.

/// The parts a client works with besides its key. Never changes; used from any thread.
struct B2ClientTools {
    std::shared_ptr<B2Transport> transport;
    B2RetryPolicy retryPolicy;
    std::shared_ptr<B2Sleeper> sleeper;
    std::function<double()> jitter; ///< Uniform in 0 to 1.
    std::shared_ptr<B2LogSink> log;
};
