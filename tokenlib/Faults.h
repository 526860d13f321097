// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_FAULTS_H
#define ORSEL_TOKENLIB_FAULTS_H

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tokenlib/Pkcs11.h"

namespace tokenlib {

/// What a fault may look at in a call.
struct CallFacts {
    std::string m_Function;
    std::optional<CK_SLOT_ID> m_Slot;
    std::vector<CK_ATTRIBUTE_TYPE> m_Attributes; ///< types in the call's template
    std::string m_Name;                          ///< property name, empty for calls that have none
};

/// What the faults of a file do to one call.
struct FaultEffect {
    unsigned long m_DelayMs = 0;
    std::optional<CK_RV> m_Result;           ///< returned at once, the function does not run
    std::optional<unsigned long> m_Length;   ///< reported as the length by a function that succeeded
    std::optional<CK_ATTRIBUTE_TYPE> m_Only; ///< the attribute that the length is for, nothing: all
};

/// The planned faults of a file: which call goes wrong, and how.
class Faults {
public:
    /// An empty path plans none. Lines that are no fault are reported on standard error and
    /// passed over.
    explicit Faults(const std::string& path);

    /// Counts the call against every fault that it meets, and adds up what they do.
    FaultEffect Meet(const CallFacts& call);

private:
    struct Fault {
        std::string m_Function;
        std::optional<CK_SLOT_ID> m_Slot;
        std::optional<CK_ATTRIBUTE_TYPE> m_Attribute;
        std::optional<std::string> m_Name;
        std::optional<unsigned long> m_Call; ///< first is 1, nothing: every call
        FaultEffect m_Effect;
        unsigned long m_CallsMet = 0;
    };

    static std::optional<Fault> Parse(const std::string& line);
    static bool ParseField(const std::string& key, const std::string& value, Fault& fault);
    static bool Matches(const Fault& fault, const CallFacts& call);

    std::mutex m_Mutex;
    std::vector<Fault> m_Faults;
};

} // namespace tokenlib

#endif
