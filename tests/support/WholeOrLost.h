// Results of calls whose memory runs out.
#pragma once

#include "tests/support/FailingMemory.h"

#include <gtest/gtest.h>

namespace openhost::testing {

/// `call` gives `whole`, and `lost` whichever of its allocations fails. Returns the number of those.
template <class Value, class Call>
int ExpectWholeOrLost(const Value& whole, const Value& lost, Call call)
{
    return WithEachAllocationFailing([&](FailingMemory& memory) {
        Value value{};
        memory.During([&] { value = call(); });
        EXPECT_EQ(memory.HasRunOut() ? lost : whole, value);
    });
}

} // namespace openhost::testing
