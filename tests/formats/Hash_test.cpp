// SPDX-License-Identifier: MIT
#include "formats/Hash.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "formats/LibCrypto.h"
#include "foundation/Conversion.h"
#include "foundation/StringUtils.h"
#include "tests/support/TempDir.h"

using Velmor::Hash;
using Velmor::HashAlgorithm;
using Velmor::HashFile;
using Bytes = std::vector<unsigned char>;
using Texts = std::vector<std::string>;
using FileHandle = std::unique_ptr<FILE, int (*)(FILE*)>;

namespace {

Texts g_Errors;

/// Listens to the shim in every test.
class HashTest : public testing::Test {
protected:
    HashTest() {
        g_Errors.clear();
        Velmor::LibCrypto::tkPKCS11_SetErrorLoggingFunc([](std::string text) { g_Errors.push_back(text); });
    }
    ~HashTest() override { Velmor::LibCrypto::tkPKCS11_SetErrorLoggingFunc(nullptr); }

    const TempDir m_Dir;

    FileHandle FileOf(const std::string& content) const {
        return FileHandle(std::fopen(m_Dir.File("data", content).c_str(), "rb"), std::fclose);
    }
};

Bytes BytesOf(const std::string& text) {
    Bytes bytes(text.begin(), text.end());
    bytes.reserve(1); // storage even for the empty text
    return bytes;
}

std::string Hex(const Bytes& bytes) {
    std::string hex;
    Velmor::BinData2HexStr(bytes, hex);
    return Velmor::Str2Lower(hex);
}

Bytes FromHex(const std::string& hex) {
    Bytes bytes;
    Velmor::HexStr2BinData(hex, bytes);
    return bytes;
}

const std::string FIPS448 = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
const std::string FIPS896 = "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
                            "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu";
const std::string ALPHABET = "abcdefghijklmnopqrstuvwxyz";
const std::string ALL_LETTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

struct TestVector {
    HashAlgorithm m_Algorithm;
    std::string m_Message;
    std::string m_Digest;
};

/// FIPS 180, RFC 1320, RFC 1321 and the authors' page of RIPEMD-160.
const TestVector TEST_VECTORS[] = {
    {Velmor::HASH_SHA1, "", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
    {Velmor::HASH_SHA1, "abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {Velmor::HASH_SHA1, FIPS448, "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
    {Velmor::HASH_SHA1, std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
    {Velmor::HASH_RIPEMD160, "", "9c1185a5c5e9fc54612808977ee8f548b2258d31"},
    {Velmor::HASH_RIPEMD160, "a", "0bdc9d2d256b3ee9daae347be6f4dc835a467ffe"},
    {Velmor::HASH_RIPEMD160, "abc", "8eb208f7e05d987a9b044a8e98c6b087f15a0bfc"},
    {Velmor::HASH_RIPEMD160, "message digest", "5d0689ef49d2fae572b881b123a85ffa21595f36"},
    {Velmor::HASH_RIPEMD160, ALPHABET, "f71c27109c692c1b56bbdceb5b9d2865b3708dbc"},
    {Velmor::HASH_RIPEMD160, FIPS448, "12a053384a9c0c88e405a06c27dcf49ada62eb2b"},
    {Velmor::HASH_RIPEMD160, ALL_LETTERS, "b0e20b6e3116640286ed3a87a5713079b21f5189"},
    {Velmor::HASH_RIPEMD160, std::string(1000000, 'a'), "52783243c1697bdbe16d37f97f68f08325dc1528"},
    {Velmor::HASH_SHA224, "", "d14a028c2a3a2bc9476102bb288234c415a2b01f828ea62ac5b3e42f"},
    {Velmor::HASH_SHA224, "abc", "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7"},
    {Velmor::HASH_SHA224, FIPS448, "75388b16512776cc5dba5da1fd890150b0c6455cb4f58b1952522525"},
    {Velmor::HASH_SHA256, "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {Velmor::HASH_SHA256, "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {Velmor::HASH_SHA256, FIPS448, "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    {Velmor::HASH_SHA384, "",
     "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da274edebfe76f65fbd51ad2f14898b95b"},
    {Velmor::HASH_SHA384, "abc",
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7"},
    {Velmor::HASH_SHA384, FIPS896,
     "09330c33f71147e83d192fc782cd1b4753111b173b3b05d22fa08086e3b0f712fcc7c71a557e2db966c3e9fa91746039"},
    {Velmor::HASH_SHA512, "",
     "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
     "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e"},
    {Velmor::HASH_SHA512, "abc",
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
     "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
    {Velmor::HASH_SHA512, FIPS896,
     "8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018"
     "501d289e4900f7e4331b99dec4b5433ac7d329eeb6dd26545e96e55b874be909"},
    {Velmor::HASH_MD5, "", "d41d8cd98f00b204e9800998ecf8427e"},
    {Velmor::HASH_MD5, "a", "0cc175b9c0f1b6a831c399e269772661"},
    {Velmor::HASH_MD5, "abc", "900150983cd24fb0d6963f7d28e17f72"},
    {Velmor::HASH_MD5, "message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
    {Velmor::HASH_MD5, ALPHABET, "c3fcd3d76192e4007dfb496cca67e13b"},
    {Velmor::HASH_MD5, ALL_LETTERS, "d174ab98d277d9f5a5611c2c9f419d9f"},
    {Velmor::HASH_MD4, "", "31d6cfe0d16ae931b73c59d7e0c089c0"},
    {Velmor::HASH_MD4, "a", "bde52cb31de33e46245e05fbdbd6fb24"},
    {Velmor::HASH_MD4, "abc", "a448017aaf21d8525fc10ae87aa6729d"},
    {Velmor::HASH_MD4, "message digest", "d9130a8164549fe818874806e1c7014b"},
    {Velmor::HASH_MD4, ALPHABET, "d79e1c308aa5bbcdeea8ed63df412da9"},
    {Velmor::HASH_MD4, ALL_LETTERS, "043f8582f241db351ce627e153e7f0e4"},
};

struct Prefix {
    HashAlgorithm m_Algorithm;
    const unsigned char* m_Table;
    unsigned long m_Length;
    std::string m_Hex;
};

/// RFC 8017, section 9.2, note 1; for RIPEMD-160 the object identifier of TeleTrusT.
const Prefix PREFIXES[] = {
    {Velmor::HASH_SHA1, Velmor::Sha1Pkcs01DigestInfo, Velmor::Sha1Pkcs01DigestInfoLen,
     "3021300906052b0e03021a05000414"},
    {Velmor::HASH_RIPEMD160, Velmor::Ripemd160Pkcs01DigestInfo, Velmor::Ripemd160Pkcs01DigestInfoLen,
     "3021300906052b2403020105000414"},
    {Velmor::HASH_SHA256, Velmor::Sha256Pkcs01DigestInfo, Velmor::Sha256Pkcs01DigestInfoLen,
     "3031300d060960864801650304020105000420"},
    {Velmor::HASH_SHA512, Velmor::Sha512Pkcs01DigestInfo, Velmor::Sha512Pkcs01DigestInfoLen,
     "3051300d060960864801650304020305000440"},
    {Velmor::HASH_SHA384, Velmor::Sha384Pkcs01DigestInfo, Velmor::Sha384Pkcs01DigestInfoLen,
     "3041300d060960864801650304020205000430"},
};

constexpr int UNKNOWN_ALGORITHMS[] = {-1, 7, 9, 10, 11, 1000};

HashAlgorithm Algorithm(int number) {
    return static_cast<HashAlgorithm>(number);
}

} // namespace

TEST_F(HashTest, EveryAlgorithmHasItsDigestAndSize) {
    const struct {
        int m_Algorithm;
        int m_Nid;
        unsigned long m_Length;
    } table[] = {
        {0, NID_sha1, 20},   {1, NID_ripemd160, 20}, {2, NID_sha224, 28}, {3, NID_sha256, 32},
        {4, NID_sha512, 64}, {5, NID_md5, 16},       {6, NID_md4, 16},    {8, NID_sha384, 48},
    };
    for (const auto& row : table) {
        unsigned long length = 0;
        const EVP_MD* digest = Velmor::intern::GetHashAlgo(Algorithm(row.m_Algorithm), length);
        ASSERT_NE(nullptr, digest) << row.m_Algorithm;
        EXPECT_EQ(row.m_Nid, EVP_MD_type(digest)) << row.m_Algorithm;
        EXPECT_EQ(row.m_Length, length) << row.m_Algorithm;
        EXPECT_EQ(static_cast<int>(row.m_Length), EVP_MD_size(digest)) << row.m_Algorithm;
    }
}

TEST_F(HashTest, AnUnknownAlgorithmHasNoDigestAndLeavesTheLengthAlone) {
    for (const int algorithm : UNKNOWN_ALGORITHMS) {
        unsigned long length = 42;
        EXPECT_EQ(nullptr, Velmor::intern::GetHashAlgo(Algorithm(algorithm), length));
        EXPECT_EQ(42u, length);
    }
}

TEST_F(HashTest, PublishedVectorsComeOutOfEveryForm) {
    for (const TestVector& row : TEST_VECTORS) {
        const Bytes expected = FromHex(row.m_Digest);
        const std::string name = std::to_string(row.m_Algorithm) + " " + row.m_Message.substr(0, 70);

        unsigned char buffer[64];
        unsigned long length = sizeof(buffer);
        const Bytes message = BytesOf(row.m_Message);
        EXPECT_TRUE(Hash(message.data(), message.size(), buffer, length, row.m_Algorithm)) << name;
        EXPECT_EQ(row.m_Digest, Hex(Bytes(buffer, buffer + length))) << name;

        Bytes out;
        EXPECT_TRUE(Hash(message, out, row.m_Algorithm, false)) << name;
        EXPECT_EQ(expected, out) << name;

        const FileHandle first = FileOf(row.m_Message);
        length = sizeof(buffer);
        EXPECT_TRUE(HashFile(first.get(), buffer, length, row.m_Algorithm)) << name;
        EXPECT_EQ(expected, Bytes(buffer, buffer + length)) << name;

        const FileHandle second = FileOf(row.m_Message);
        out.clear();
        EXPECT_TRUE(HashFile(second.get(), out, row.m_Algorithm)) << name;
        EXPECT_EQ(expected, out) << name;
    }
    EXPECT_EQ((Texts{}), g_Errors);
}

TEST_F(HashTest, Md4MayBeTheFirstDigestOfAProcess) {
    Bytes out;
    EXPECT_TRUE(Hash(BytesOf("abc"), out, Velmor::HASH_MD4, false));
    EXPECT_EQ("a448017aaf21d8525fc10ae87aa6729d", Hex(out));
}

TEST_F(HashTest, NullInputIsRefusedFirst) {
    unsigned long length = 0;
    EXPECT_FALSE(Hash(nullptr, 3, nullptr, length, Velmor::HASH_RAW));
    EXPECT_EQ((Texts{"PKCS11 input == NULL"}), g_Errors);
}

TEST_F(HashTest, NullOutputIsRefusedSecond) {
    const Bytes data = BytesOf("abc");
    unsigned long length = 0;
    EXPECT_FALSE(Hash(data.data(), 3, nullptr, length, Velmor::HASH_RAW));
    EXPECT_EQ((Texts{"PKCS11 output == NULL"}), g_Errors);
}

TEST_F(HashTest, AnUnknownAlgorithmFailsInEveryFormAndLogsNothing) {
    for (const int algorithm : UNKNOWN_ALGORITHMS) {
        const Bytes data = BytesOf("abc");
        unsigned char buffer = 0xee;
        unsigned long length = 0; // too small as well, but that is looked at later
        EXPECT_FALSE(Hash(data.data(), data.size(), &buffer, length, Algorithm(algorithm)));
        EXPECT_EQ(0u, length);
        Bytes out = {1, 2};
        EXPECT_FALSE(Hash(data, out, Algorithm(algorithm), true));
        const FileHandle file = FileOf("abc");
        EXPECT_FALSE(HashFile(file.get(), &buffer, length, Algorithm(algorithm)));
        EXPECT_FALSE(HashFile(file.get(), out, Algorithm(algorithm)));
        EXPECT_EQ((Bytes{1, 2}), out);
        EXPECT_EQ(0xee, buffer);
    }
    EXPECT_EQ((Texts{}), g_Errors);
}

#if OPENSSL_VERSION_NUMBER >= 0x30000000L
/// No provider offers a digest of these properties, so that libcrypto starts none.
class WithoutAnyDigest : public HashTest {
protected:
    void SetUp() override { ASSERT_EQ(1, EVP_set_default_properties(nullptr, "provider=none")); }
    void TearDown() override { EVP_set_default_properties(nullptr, ""); }
};

TEST_F(WithoutAnyDigest, AnAlgorithmIsAsGoodAsUnknownInEveryForm) {
    for (const HashAlgorithm algorithm : {Velmor::HASH_SHA1, Velmor::HASH_SHA256, Velmor::HASH_RIPEMD160}) {
        const Bytes data = BytesOf("abc");
        Bytes buffer(64, 0xee);
        for (const unsigned long capacity : {64UL, 0UL}) { // too small as well, but that is looked at later
            unsigned long length = capacity;
            EXPECT_FALSE(Hash(data.data(), data.size(), buffer.data(), length, algorithm));
            EXPECT_EQ(capacity, length);
            const FileHandle file = FileOf("abc");
            EXPECT_FALSE(HashFile(file.get(), buffer.data(), length, algorithm));
            EXPECT_EQ(capacity, length);
        }
        EXPECT_EQ(Bytes(64, 0xee), buffer);
        Bytes out = {1, 2};
        EXPECT_FALSE(Hash(data, out, algorithm, true));
        const FileHandle file = FileOf("abc");
        EXPECT_FALSE(HashFile(file.get(), out, algorithm));
        EXPECT_EQ((Bytes{1, 2}), out);
    }
    EXPECT_EQ((Texts{}), g_Errors);
}
#endif

TEST_F(HashTest, ABufferThatIsTooSmallIsLeftAlone) {
    const Bytes data = BytesOf("abc");
    Bytes buffer(20, 0xee);
    unsigned long length = 19;
    EXPECT_FALSE(Hash(data.data(), data.size(), buffer.data(), length, Velmor::HASH_SHA1));
    EXPECT_EQ(19u, length);
    const FileHandle file = FileOf("abc");
    EXPECT_FALSE(HashFile(file.get(), buffer.data(), length, Velmor::HASH_SHA1));
    EXPECT_EQ(19u, length);
    EXPECT_EQ(Bytes(20, 0xee), buffer);
    EXPECT_EQ((Texts{"PKCS11 outputsize ist zu klein", "PKCS11 outputsize ist zu klein"}), g_Errors);
    length = 20;
    EXPECT_TRUE(Hash(data.data(), data.size(), buffer.data(), length, Velmor::HASH_SHA1));
}

TEST_F(HashTest, ALargerBufferGetsTheSizeOfTheDigest) {
    const Bytes data = BytesOf("abc");
    Bytes buffer(100, 0xee);
    unsigned long length = 100;
    EXPECT_TRUE(Hash(data.data(), data.size(), buffer.data(), length, Velmor::HASH_SHA1));
    EXPECT_EQ(20u, length);
    EXPECT_EQ(Bytes(80, 0xee), Bytes(buffer.begin() + 20, buffer.end()));
}

TEST_F(HashTest, AVectorWithoutStorageIsRefused) {
    Bytes out = {1};
    EXPECT_FALSE(Hash(Bytes(), out, Velmor::HASH_SHA1, false));
    EXPECT_EQ((Texts{"PKCS11 input == NULL"}), g_Errors);
    EXPECT_EQ((Bytes{1}), out);
}

TEST_F(HashTest, AnEmptyVectorWithStorageIsTheEmptyText) {
    Bytes data = {1};
    data.clear();
    Bytes out;
    EXPECT_TRUE(Hash(data, out, Velmor::HASH_SHA1, false));
    EXPECT_EQ("da39a3ee5e6b4b0d3255bfef95601890afd80709", Hex(out));
}

TEST_F(HashTest, TheDigestIsAppended) {
    Bytes out = {1, 2};
    EXPECT_TRUE(Hash(BytesOf("abc"), out, Velmor::HASH_MD5, false));
    EXPECT_EQ("0102900150983cd24fb0d6963f7d28e17f72", Hex(out));
    const FileHandle file = FileOf("abc");
    EXPECT_TRUE(HashFile(file.get(), out, Velmor::HASH_MD5));
    EXPECT_EQ("0102900150983cd24fb0d6963f7d28e17f72900150983cd24fb0d6963f7d28e17f72", Hex(out));
}

TEST_F(HashTest, PrefixesAreThoseOfTheStandard) {
    for (const Prefix& row : PREFIXES) {
        EXPECT_EQ(row.m_Hex, Hex(Bytes(row.m_Table, row.m_Table + row.m_Length)));
        EXPECT_EQ(row.m_Hex.size() / 2, row.m_Length);
    }
}

TEST_F(HashTest, ThePrefixStandsBeforeTheDigest) {
    for (const Prefix& row : PREFIXES) {
        Bytes digest;
        EXPECT_TRUE(Hash(BytesOf("abc"), digest, row.m_Algorithm, false));
        Bytes out;
        EXPECT_TRUE(Hash(BytesOf("abc"), out, row.m_Algorithm, true));
        EXPECT_EQ(row.m_Hex + Hex(digest), Hex(out));
    }
    Bytes sha256;
    EXPECT_TRUE(Hash(BytesOf("abc"), sha256, Velmor::HASH_SHA256, true));
    EXPECT_EQ(51u, sha256.size());
}

TEST_F(HashTest, ThePrefixStandsBeforeWhatTheOutputHeldToo) {
    Bytes out = {0xaa, 0xbb};
    EXPECT_TRUE(Hash(BytesOf("abc"), out, Velmor::HASH_SHA1, true));
    EXPECT_EQ("3021300906052b0e03021a05000414"
              "aabb"
              "a9993e364706816aba3e25717850c26c9cd0d89d",
              Hex(out));
}

TEST_F(HashTest, AnAlgorithmWithoutAPrefixGivesTheDigestAlone) {
    const struct {
        HashAlgorithm m_Algorithm;
        std::size_t m_Size;
    } table[] = {{Velmor::HASH_SHA224, 28}, {Velmor::HASH_MD5, 16}, {Velmor::HASH_MD4, 16}};
    for (const auto& row : table) {
        Bytes plain;
        Bytes out;
        EXPECT_TRUE(Hash(BytesOf("abc"), plain, row.m_Algorithm, false));
        EXPECT_TRUE(Hash(BytesOf("abc"), out, row.m_Algorithm, true));
        EXPECT_EQ(row.m_Size, out.size());
        EXPECT_EQ(plain, out);
    }
}

TEST_F(HashTest, AFileIsHashedFromItsPresentPosition) {
    const FileHandle file = FileOf("xyzabc");
    std::fseek(file.get(), 3, SEEK_SET);
    Bytes out;
    EXPECT_TRUE(HashFile(file.get(), out, Velmor::HASH_SHA1));
    EXPECT_EQ("a9993e364706816aba3e25717850c26c9cd0d89d", Hex(out));
}

TEST_F(HashTest, FilesAroundTheSizeOfABlockAreHashedWhole) {
    for (const std::size_t size : {0u, 1u, 5011u, 5012u, 5013u, 10024u, 20000u}) {
        const std::string content(size, 'k');
        Bytes expected;
        EXPECT_TRUE(Hash(BytesOf(content), expected, Velmor::HASH_SHA256, false));
        const FileHandle file = FileOf(content);
        Bytes out;
        EXPECT_TRUE(HashFile(file.get(), out, Velmor::HASH_SHA256));
        EXPECT_EQ(expected, out) << size;
    }
}

TEST_F(HashTest, AFileAtItsEndIsTheEmptyText) {
    const FileHandle file = FileOf("abc");
    char all[10];
    ASSERT_EQ(3u, std::fread(all, 1, sizeof(all), file.get()));
    Bytes out;
    EXPECT_TRUE(HashFile(file.get(), out, Velmor::HASH_SHA1));
    EXPECT_EQ("da39a3ee5e6b4b0d3255bfef95601890afd80709", Hex(out));
}

TEST_F(HashTest, NoFileAndNoOutputAreRefusedInThisOrder) {
    unsigned long length = 0;
    EXPECT_FALSE(HashFile(nullptr, nullptr, length, Velmor::HASH_RAW));
    const FileHandle file = FileOf("abc");
    EXPECT_FALSE(HashFile(file.get(), nullptr, length, Velmor::HASH_RAW));
    Bytes out = {1};
    EXPECT_FALSE(HashFile(nullptr, out, Velmor::HASH_SHA1));
    EXPECT_EQ((Bytes{1}), out);
    EXPECT_EQ((Texts{"PKCS11 infile is NULL", "PKCS11 output == NULL", "PKCS11 infile is NULL"}), g_Errors);
}

TEST_F(HashTest, AReadErrorFailsButFinishesTheDigest) {
    // A directory can be opened but not read.
    const FileHandle directory(std::fopen(m_Dir.Path().c_str(), "rb"), std::fclose);
    ASSERT_TRUE(directory);
    Bytes buffer(20, 0xee);
    unsigned long length = 30;
    EXPECT_FALSE(HashFile(directory.get(), buffer.data(), length, Velmor::HASH_SHA1));
    EXPECT_EQ((Texts{"PKCS11 file read error"}), g_Errors);
    EXPECT_EQ(20u, length);
    EXPECT_EQ("da39a3ee5e6b4b0d3255bfef95601890afd80709", Hex(buffer));
    const FileHandle again(std::fopen(m_Dir.Path().c_str(), "rb"), std::fclose);
    Bytes out = {1};
    EXPECT_FALSE(HashFile(again.get(), out, Velmor::HASH_SHA1));
    EXPECT_EQ((Bytes{1}), out);
}
