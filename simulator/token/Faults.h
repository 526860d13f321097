// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_FAULTS_H
#define ORSEL_SIMULATOR_TOKEN_FAULTS_H

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "simulator/token/Pkcs11.h"

namespace orselsim {

/// What a fault may look at in a call.
struct CallFacts {
    std::string function;
    std::optional<CK_SLOT_ID> slot;
    std::vector<CK_ATTRIBUTE_TYPE> attributes; ///< types in the call's template
    std::string name;                          ///< property name, empty for calls that have none
};

/// What the faults of a file do to one call.
struct FaultEffect {
    unsigned long delayMs = 0;
    std::optional<CK_RV> result;           ///< returned at once, the function does not run
    std::optional<unsigned long> length;   ///< reported as the length by a function that succeeded
    std::optional<CK_ATTRIBUTE_TYPE> only; ///< the attribute that the length is for, nothing: all
};

/// The planned faults of a file: which call goes wrong, and how.
class Faults {
public:
    /// An empty path plans none. Lines that are no fault are reported on standard error and
    /// passed over.
    explicit Faults(const std::string& path);

    /// Counts the call against every fault that it meets, and adds up what they do.
    FaultEffect meet(const CallFacts& call);

private:
    struct Fault {
        std::string function;
        std::optional<CK_SLOT_ID> slot;
        std::optional<CK_ATTRIBUTE_TYPE> attribute;
        std::optional<std::string> name;
        std::optional<unsigned long> call; ///< first is 1, nothing: every call
        FaultEffect effect;
        unsigned long callsMet = 0;
    };

    static std::optional<Fault> parse(const std::string& line);
    static bool parseField(const std::string& key, const std::string& value, Fault& fault);
    static bool matches(const Fault& fault, const CallFacts& call);

    std::mutex m_mutex;
    std::vector<Fault> m_faults;
};

} // namespace orselsim

#endif
