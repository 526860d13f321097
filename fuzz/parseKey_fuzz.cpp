// SPDX-License-Identifier: MIT
// The first byte is the offset, the rest is the key.
#include "formats/parseKey.h"

#include <algorithm>

#include "fuzz/FuzzInput.h"

namespace {

void Check(const Velmor::PublicKeyData& key) {
    Require(key.m_ModulusLength >= 0 && key.m_ModulusLength <= 512);
    Require(key.m_ExponentLength >= 0 && key.m_ExponentLength <= 256);
    Require(key.m_ModulusLength == 0 || key.m_Modulus[0] != 0);
    Require(std::count(std::begin(key.m_X), std::end(key.m_X), 0) > 0);
    Require(std::count(std::begin(key.m_Y), std::end(key.m_Y), 0) > 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const int offset = static_cast<signed char>(data[0]);
    Bytes key(data + 1, data + size);
    const int length = static_cast<int>(key.size());
    for (const int from : {0, offset}) {
        Check(Velmor::ParseKey(key, from));
        Check(Velmor::ParseRsaKey(key, from));
        Check(Velmor::ParseEccKey(key, from));
        Check(Velmor::ParseKey(key.data(), from, length));
    }
    return 0;
}
