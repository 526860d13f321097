// SPDX-License-Identifier: MIT
// Base64 in the default setting beside libcrypto's own codec. A ratio above 1 means that ours is faster.
#include "foundation/Base64.h"

#include <random>

#include <openssl/evp.h>

#include "bench/Comparison.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes RandomBytes(std::size_t size) {
    std::mt19937 random(4711);
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<unsigned char>(random()); });
    return bytes;
}

/// One timing covers enough repetitions to be long against the clock's own cost.
template <typename Work>
auto Repeated(std::size_t times, const Work& work) {
    return [times, work] {
        for (std::size_t time = 0; time < times; ++time) {
            work();
        }
    };
}

void CompareAt(std::size_t size, const std::string& label) {
    const Bytes data = RandomBytes(size);
    std::string text;
    Velmor::b64encode(data, text, 0);
    const std::size_t times = std::max<std::size_t>(1, (256 * 1024) / size);
    constexpr int runs = 301;

    std::string ourText;
    Bytes theirText(text.size() + 1);
    Compare("encode " + label, runs,
            Repeated(times,
                     [&] {
                         Velmor::b64encode(data, ourText, 0);
                         KeepResult(ourText);
                     }),
            Repeated(times, [&] {
                EVP_EncodeBlock(theirText.data(), data.data(), static_cast<int>(data.size()));
                KeepResult(theirText);
            }));

    Bytes ourData;
    Bytes theirData(text.size());
    Compare("decode " + label, runs,
            Repeated(times,
                     [&] {
                         Velmor::b64decode(text, ourData);
                         KeepResult(ourData);
                     }),
            Repeated(times, [&] {
                EVP_DecodeBlock(theirData.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                static_cast<int>(text.size()));
                KeepResult(theirData);
            }));
}

} // namespace

int main() {
    PrintComparisonHead();
    CompareAt(1024, "1 KiB");
    CompareAt(64 * 1024, "64 KiB");
    CompareAt(1024 * 1024, "1 MiB");
    return 0;
}
