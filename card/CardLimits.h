// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_CARDLIMITS_H
#define ORSEL_CARD_CARDLIMITS_H

#include <p11-kit/pkcs11.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace Velmor {

/// Objects that a search returns at most.
constexpr unsigned long MAX_OBJECTS = 10;
/// Bytes of an object's value, a certificate's among them, and of its label or id.
constexpr size_t MAX_OBJECT_VALUE = 5012;
constexpr size_t MAX_OBJECT_TEXT = 256;
/// Cards that a walk over all cards looks at.
constexpr int MAX_CARDS = 128;

/// Bytes of a signature; a library that asks for more is broken.
constexpr unsigned long MAX_PLAUSIBLE_SIGNATURE = 0x10000;

/// Room for one attribute's value, zeroed, and the length that the library reported for it.
template <size_t Capacity>
struct AttributeBuffer {
    unsigned char m_Bytes[Capacity] = {};
    CK_ULONG m_Length = 0;

    /// False for a length that no honest library reports.
    bool Fits() const { return m_Length <= Capacity; }
    // These need a length that fits.
    std::string text() const { return std::string(m_Bytes, m_Bytes + m_Length); }
    std::vector<unsigned char> data() const { return {m_Bytes, m_Bytes + m_Length}; }
    /// Whether the text up to its first zero byte has `wanted` in it.
    bool Contains(const std::string& wanted) const {
        return std::strstr(text().c_str(), wanted.c_str()) != nullptr;
    }
    /// Whether the buffer, whatever its length, begins with `wanted`. As with strncmp, a zero byte in both
    /// ends the comparison: what stands behind it does not count.
    bool BeginsWith(const std::string& wanted) const {
        const size_t compared = std::min(wanted.size(), std::strlen(wanted.c_str()) + 1);
        return compared <= Capacity && std::memcmp(m_Bytes, wanted.c_str(), compared) == 0;
    }
};

using ObjectText = AttributeBuffer<MAX_OBJECT_TEXT>;
using ObjectValue = AttributeBuffer<MAX_OBJECT_VALUE>;

} // namespace Velmor

#endif
