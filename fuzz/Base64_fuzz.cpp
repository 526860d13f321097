// SPDX-License-Identifier: MIT
#include "foundation/Base64.h"

#include "fuzz/FuzzInput.h"

using namespace Velmor;

namespace {

/// What is encoded comes back.
void CheckRoundTrip(Base64& codec, const Bytes& data) {
    Require(codec.Decode(codec.Encode(data)) == data);
}

void CheckOlderForms(const Bytes& data) {
    for (const unsigned int lineMode : {0u, 1u, 2u, 3u}) {
        const auto* text = reinterpret_cast<const char*>(data.data());
        const auto size = static_cast<unsigned int>(data.size());
        std::vector<char> encoded(b64encode(text, size, nullptr, 0, lineMode));
        Require(b64encode(text, size, encoded.data(), static_cast<unsigned int>(encoded.size()), lineMode) <=
                static_cast<int>(encoded.size()));
        std::vector<char> decoded(b64decode(text, size, nullptr, 0));
        Require(b64decode(text, size, decoded.data(), static_cast<unsigned int>(decoded.size())) <=
                static_cast<int>(decoded.size()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes(data, data + size);
    for (int type = BASE64_PEM; type <= BASE64_URL_NO_LINE_END; ++type) {
        Base64 codec;
        codec.Init(static_cast<eBase64Type>(type));
        codec.Decode(TextOf(data, size));
        CheckRoundTrip(codec, bytes);
    }
    Bytes out;
    b64decode(TextOf(data, size), out);
    b64decode(bytes, out);
    for (const unsigned int lineMode : {0u, 1u, 2u}) {
        std::string text;
        b64encode(bytes, text, lineMode);
        Require(b64decode(text, out) == bytes.size() && out == bytes);
    }
    CheckOlderForms(bytes);
    return 0;
}
