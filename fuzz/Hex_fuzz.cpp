// SPDX-License-Identifier: MIT
#include <stdexcept>

#include "foundation/ByteArray.h"
#include "foundation/Conversion.h"
#include "fuzz/FuzzInput.h"

using namespace Velmor;

namespace {

/// An unpaired digit is the one reason to throw.
void Decode(const std::string& text) {
    Bytes out;
    try {
        HexStr2BinData(text, out);
        Require(text.size() % 2 == 0);
    } catch (const std::out_of_range&) {
        Require(text.size() % 2 == 1);
    }
    Require(out.size() == text.size() / 2);
}

void DecodeToBuffer(std::string text) {
    text.resize(text.size() / 2 * 2);
    unsigned long size = 0;
    Bytes out(HexStr2BinData(text.data(), text.size(), nullptr, size));
    size = out.size();
    Require(HexStr2BinData(text.data(), text.size(), out.data(), size) == out.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = TextOf(data, size);
    Decode(text);
    DecodeToBuffer(text);
    ByteArray fromText;
    fromText.FromHexString(text);

    const ByteArray bytes(data, size);
    std::string hex;
    BinData2HexStr(bytes, hex);
    Bytes back;
    HexStr2BinData(hex, back);
    Require(bytes == back);
    for (const int flags : {0, 1, 2, 3}) {
        if (size > 0) {
            ByteArray again;
            again.FromHexString(bytes.ToHexString(static_cast<unsigned short>(flags)));
            Require(again == bytes);
        }
    }
    return 0;
}
