// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_TOKENLIB_SMALLRUNTIME_H
#define ORSEL_TESTS_TOKENLIB_SMALLRUNTIME_H

#include <memory>

#include "tokenlib/Runtime.h"

namespace orseltest {

/// A token library with one session and nothing else, started for as long as the object lives.
class SmallRuntime : public tokenlib::Runtime {
public:
    static constexpr CK_SESSION_HANDLE SESSION = 7;
    static constexpr CK_SLOT_ID SLOT = 3;

    using Runtime::Runtime;

    std::optional<CK_SLOT_ID> SlotIdOf(CK_SESSION_HANDLE session) override {
        return session == SESSION ? std::make_optional(SLOT) : std::nullopt;
    }
};

class StartedRuntime {
public:
    explicit StartedRuntime(const tokenlib::Environment& environment = {}) {
        tokenlib::StartRuntime([&] { return std::make_shared<SmallRuntime>(environment); });
    }
    ~StartedRuntime() {
        if (tokenlib::CurrentRuntime()) {
            tokenlib::StopRuntime();
        }
    }
    StartedRuntime(const StartedRuntime&) = delete; // stops it once
    StartedRuntime& operator=(const StartedRuntime&) = delete;
};

} // namespace orseltest

#endif
