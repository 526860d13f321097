// SPDX-License-Identifier: MIT
#include "formats/Hash.h"

#include <array>

#include "formats/LibCrypto.h"
#include "formats/OpenSslCompat.h"
#include "formats/OpenSslHandle.h"

namespace Velmor {

namespace {

constexpr std::size_t FILE_BLOCK_SIZE = 5012;

struct Digest {
    HashAlgorithm m_Algorithm;
    const EVP_MD* (*m_Get)();
    unsigned long m_Length; ///< bytes
};

const EVP_MD* GetMd4() {
    return LoadOldDigests() ? EVP_md4() : nullptr;
}

/// Some releases of libcrypto 3 count RIPEMD-160 among the old digests, others do not.
const EVP_MD* GetRipemd160() {
    LoadOldDigests();
    return EVP_ripemd160();
}

constexpr Digest DIGESTS[] = {
    {HASH_SHA1, EVP_sha1, 20},     {HASH_RIPEMD160, GetRipemd160, 20}, {HASH_SHA224, EVP_sha224, 28},
    {HASH_SHA256, EVP_sha256, 32}, {HASH_SHA512, EVP_sha512, 64},      {HASH_MD5, EVP_md5, 16},
    {HASH_MD4, GetMd4, 16},        {HASH_SHA384, EVP_sha384, 48},
};

struct DigestInfo {
    HashAlgorithm m_Algorithm;
    const unsigned char* m_Data;
    unsigned long m_Length; ///< bytes
};

constexpr DigestInfo DIGEST_INFOS[] = {
    {HASH_SHA1, Sha1Pkcs01DigestInfo, Sha1Pkcs01DigestInfoLen},
    {HASH_RIPEMD160, Ripemd160Pkcs01DigestInfo, Ripemd160Pkcs01DigestInfoLen},
    {HASH_SHA256, Sha256Pkcs01DigestInfo, Sha256Pkcs01DigestInfoLen},
    {HASH_SHA512, Sha512Pkcs01DigestInfo, Sha512Pkcs01DigestInfoLen},
    {HASH_SHA384, Sha384Pkcs01DigestInfo, Sha384Pkcs01DigestInfoLen},
};

/// A digest that has begun, of an algorithm whose result `capacity` bytes can take; else null. `length`
/// becomes the result's size. What libcrypto knows and cannot begin, since a provider is missing or forbids
/// it, is as good as unknown: nothing would write the result.
MdContextHandle BeginDigest(HashAlgorithm algo, unsigned long capacity, unsigned long& length) {
    const EVP_MD* digest = intern::GetHashAlgo(algo, length);
    if (digest == nullptr) {
        return nullptr;
    }
    MdContextHandle context(EVP_MD_CTX_new());
    if (context == nullptr || EVP_DigestInit_ex(context.get(), digest, nullptr) != 1) {
        return nullptr;
    }
    if (capacity < length) {
        LibCrypto::LogError("PKCS11 outputsize ist zu klein");
        return nullptr;
    }
    return context;
}

/// Gives the digest of what `update` puts into it. What is read badly is finished into `out` all the same.
template <typename Update>
bool DigestInto(unsigned char* out, unsigned long& outLen, HashAlgorithm algo, const Update& update) {
    if (out == nullptr) {
        LibCrypto::LogError("PKCS11 output == NULL");
        return false;
    }
    unsigned long length = 0;
    const MdContextHandle context = BeginDigest(algo, outLen, length);
    if (context == nullptr) {
        return false;
    }
    outLen = length;
    const bool complete = update(context.get());
    return EVP_DigestFinal_ex(context.get(), out, nullptr) == 1 && complete;
}

/// Appends the digest that `write`, given a buffer and its capacity, puts into it.
template <typename Write>
bool AppendDigest(std::vector<unsigned char>& out, const Write& write) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned long length = digest.size();
    if (!write(digest.data(), length)) {
        return false;
    }
    out.insert(out.end(), digest.begin(), digest.begin() + length);
    return true;
}

/// Updates the digest with the rest of the file, block by block; the last block may be empty. False on a read
/// error.
bool UpdateFromFile(EVP_MD_CTX* context, FILE* file) {
    std::array<unsigned char, FILE_BLOCK_SIZE> block;
    while (std::feof(file) == 0) {
        const std::size_t count = std::fread(block.data(), 1, block.size(), file);
        if (std::ferror(file) != 0) {
            LibCrypto::LogError("PKCS11 file read error");
            return false;
        }
        EVP_DigestUpdate(context, block.data(), count);
    }
    return true;
}

} // namespace

const EVP_MD* intern::GetHashAlgo(HashAlgorithm algo, unsigned long& length) {
    for (const Digest& digest : DIGESTS) {
        if (digest.m_Algorithm == algo) {
            const EVP_MD* found = digest.m_Get();
            length = found != nullptr ? digest.m_Length : length;
            return found;
        }
    }
    return nullptr;
}

bool Hash(const unsigned char* data, unsigned long len, unsigned char* out, unsigned long& outLen,
          HashAlgorithm algo) {
    if (data == nullptr) {
        LibCrypto::LogError("PKCS11 input == NULL");
        return false;
    }
    return DigestInto(out, outLen, algo,
                      [data, len](EVP_MD_CTX* context) { return EVP_DigestUpdate(context, data, len) == 1; });
}

bool Hash(const std::vector<unsigned char>& data, std::vector<unsigned char>& out, HashAlgorithm algo,
          bool withDigestInfo) {
    const bool hashed = AppendDigest(out, [&data, algo](unsigned char* digest, unsigned long& length) {
        return Hash(data.data(), data.size(), digest, length, algo);
    });
    if (!hashed) {
        return false;
    }
    if (withDigestInfo) {
        for (const DigestInfo& info : DIGEST_INFOS) {
            if (info.m_Algorithm == algo) {
                // Before everything that out holds, not just before the digest.
                out.insert(out.begin(), info.m_Data, info.m_Data + info.m_Length);
            }
        }
    }
    return true;
}

bool HashFile(FILE* file, unsigned char* out, unsigned long& outLen, HashAlgorithm algo) {
    if (file == nullptr) {
        LibCrypto::LogError("PKCS11 infile is NULL");
        return false;
    }
    return DigestInto(out, outLen, algo,
                      [file](EVP_MD_CTX* context) { return UpdateFromFile(context, file); });
}

bool HashFile(FILE* file, std::vector<unsigned char>& out, HashAlgorithm algo) {
    return AppendDigest(out, [file, algo](unsigned char* digest, unsigned long& length) {
        return HashFile(file, digest, length, algo);
    });
}

} // namespace Velmor
