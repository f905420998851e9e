// What backends of a test were asked for.
#pragma once

#include "tests/support/Objects.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string>
#include <utility>

namespace openhost::testing {

/// Calls in their order, such as "open /file rb": first a word for the operation. Any backend can keep them.
class CallLog {
public:
    /// Notes `call`, which then fails for want of memory when it is the scarce one.
    void Note(std::string call)
    {
        if (onCall)
            onCall(call);
        const bool isScarce = call == scarceCall;
        calls_.push_back(std::move(call));
        if (isScarce)
            throw std::bad_alloc();
    }

    /// The calls since the last time.
    Texts Take() { return std::exchange(calls_, {}); }
    /// Those of them whose first word is one of `words`.
    Texts Take(const Texts& words)
    {
        Texts calls = Take();
        std::erase_if(
            calls, [&](const std::string& call) { return !std::ranges::count(words, call.substr(0, call.find(' '))); });
        return calls;
    }

    std::function<void(const std::string& call)> onCall; ///< sees each call as it is made
    std::string scarceCall;                              ///< the call for which there is no memory

private:
    Texts calls_;
};

} // namespace openhost::testing
