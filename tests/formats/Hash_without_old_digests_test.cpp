// SPDX-License-Identifier: MIT
// Hashing on a system whose libcrypto lacks the provider of the old digests.
#include "formats/Hash.h"

#include <vector>

#include <gtest/gtest.h>

using namespace Velmor;
using Bytes = std::vector<unsigned char>;

namespace {

class WithoutOldDigests : public testing::Test {
protected:
    const Bytes m_Data = {'a', 'b', 'c'};
    unsigned long m_Length = 77;
};

} // namespace

TEST_F(WithoutOldDigests, Md4CountsAsUnknown) {
    EXPECT_EQ(nullptr, intern::GetHashAlgo(HASH_MD4, m_Length));
    EXPECT_EQ(77U, m_Length);
    Bytes buffer(16, 0xEE);
    EXPECT_FALSE(Hash(m_Data.data(), m_Data.size(), buffer.data(), m_Length, HASH_MD4));
    EXPECT_EQ(77U, m_Length);
    EXPECT_EQ(Bytes(16, 0xEE), buffer);
    Bytes out;
    EXPECT_FALSE(Hash(m_Data, out, HASH_MD4, false));
    EXPECT_TRUE(out.empty());
}

TEST_F(WithoutOldDigests, TheOthersAreThereAlsoAfterMd4WasAskedFor) {
    intern::GetHashAlgo(HASH_MD4, m_Length);
    for (const HashAlgorithm algorithm :
         {HASH_SHA1, HASH_SHA224, HASH_SHA256, HASH_SHA384, HASH_SHA512, HASH_MD5}) {
        unsigned long size = 0;
        EXPECT_NE(nullptr, intern::GetHashAlgo(algorithm, size)) << algorithm;
        Bytes out;
        EXPECT_TRUE(Hash(m_Data, out, algorithm, false)) << algorithm;
        EXPECT_EQ(size, out.size());
    }
}
