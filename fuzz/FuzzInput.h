// SPDX-License-Identifier: MIT
#ifndef ORSEL_FUZZ_FUZZINPUT_H
#define ORSEL_FUZZ_FUZZINPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <cstdlib>

using Bytes = std::vector<unsigned char>;

/// What libFuzzer calls: each target defines it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string TextOf(const std::uint8_t* data, std::size_t size) {
    return std::string(data, data + size);
}

/// Ends the run with a finding.
inline void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

#endif
