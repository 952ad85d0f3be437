#pragma once

#include "foundation/runs/ItemRun.h"
#include "tests/support/QtRun.h"

#include <gtest/gtest.h>

/// Carries out a run to its end while the event loop turns.
inline ItemRun::Summary runItems(ItemRun& run)
{
    run.start();
    EXPECT_TRUE(spinUntil([&] { return run.hasEnded(); })) << "the run missed its deadline";
    return *run.summary;
}
