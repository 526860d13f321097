// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <memory>
#include <utility>

#include <openssl/pem.h>

#include "formats/OpenSslHandle.h"
#include "formats/slCertLogging.h"
#include "foundation/Base64.h"
#include "foundation/FileHandle.h"

namespace Velmor {

namespace {

constexpr int LOGGED_PEM_SIZE = 8000;

/// Without an answer of our own libcrypto asks at the terminal for the password of an encrypted text.
int RefusePassword(char*, int, int, void*) {
    return -1;
}

/// Reads from memory that must outlive the stream. Null for no data and for more than an int can count: a
/// negative length would mean a zero-terminated text.
BioHandle StreamOf(const void* data, std::size_t size) {
    return BioHandle(data != nullptr && size <= INT_MAX ? BIO_new_mem_buf(data, static_cast<int>(size))
                                                        : nullptr);
}

X509* ReadPem(const std::string& text) {
    const BioHandle stream = StreamOf(text.data(), text.size());
    return stream ? PEM_read_bio_X509(stream.get(), nullptr, RefusePassword, nullptr) : nullptr;
}

/// A certificate that nobody holds any more, with the bytes that it was read from.
struct LeftCertificate {
    std::vector<unsigned char> m_Der;
    X509Handle m_Certificate;
};
thread_local LeftCertificate g_Left;

/// Null when none was left that was read from these bytes.
X509* TakeLeft(const unsigned char* data, std::size_t size) {
    const bool isSame = g_Left.m_Certificate && data != nullptr &&
                        std::equal(data, data + size, g_Left.m_Der.begin(), g_Left.m_Der.end());
    return isSame ? g_Left.m_Certificate.release() : nullptr;
}

X509* ReadDer(const unsigned char* data, std::size_t size) {
    if (X509* left = TakeLeft(data, size)) {
        return left;
    }
    const BioHandle stream = StreamOf(data, size);
    return stream ? d2i_X509_bio(stream.get(), nullptr) : nullptr;
}

/// A stream with the DER form; null if it cannot be encoded.
BioHandle WriteDer(const X509* source) {
    BioHandle stream(BIO_new(BIO_s_mem()));
    // libcrypto 1.1 does not promise to leave the certificate alone, but does.
    if (stream && i2d_X509_bio(stream.get(), const_cast<X509*>(source)) != 1) {
        stream.reset();
    }
    return stream;
}

} // namespace

X509* myX509_duplicate(const X509* source) {
    const BioHandle stream = source != nullptr ? WriteDer(source) : nullptr;
    return stream ? d2i_X509_bio(stream.get(), nullptr) : nullptr;
}

slCertificate::slCertificate(const X509* source) : m_X509(myX509_duplicate(source)) {}

slCertificate::slCertificate(const slCertificate& source) : slCertificate(source.m_X509) {}

slCertificate& slCertificate::operator=(const slCertificate& source) {
    if (this != &source) {
        m_X509 = myX509_duplicate(source.m_X509); // the old one lives on for who holds its pointer
    }
    return *this;
}

slCertificate::~slCertificate() {
    const X509Handle released(m_X509);
}

bool slCertificate::operator==(const slCertificate& other) const {
    return m_X509 == other.m_X509; // the objects, not their content
}

bool slCertificate::LoadFromBuffer(const unsigned char* data, unsigned int len) {
    m_X509 = ReadDer(data, len); // the old one lives on for who holds its pointer
    return m_X509 != nullptr;
}

bool slCertificate::LoadFromBuffer(const std::vector<unsigned char>& data) {
    m_X509 = ReadDer(data.data(), data.size()); // as above
    return m_X509 != nullptr;
}

bool slCertificate::LoadFromB64(std::string text) {
    if (X509Handle certificate{ReadPem(text)}) {
        const X509Handle replaced(m_X509);
        m_X509 = certificate.release();
        return true;
    }
    std::vector<unsigned char> data;
    b64decode(text, data);
    return LoadFromBuffer(data);
}

bool slCertificate::LoadFromFile(std::string path) {
    FileHandle file = OpenFile(path, "rb");
    if (!file) {
        return false;
    }
    X509Handle certificate(PEM_read_X509(file.get(), nullptr, RefusePassword, nullptr));
    if (!certificate) {
        file = OpenFile(path, "rb");
        certificate.reset(file ? d2i_X509_fp(file.get(), nullptr) : nullptr);
    }
    const X509Handle replaced(m_X509);
    m_X509 = certificate.release();
    return m_X509 != nullptr;
}

bool slCertificate::LoadFromX509(X509* source) {
    X509* duplicate = myX509_duplicate(source); // first: the source may be the present one
    const X509Handle replaced(m_X509);
    m_X509 = duplicate;
    return m_X509 != nullptr;
}

void slCertificate::LeaveToNextLoad(std::vector<unsigned char> der) {
    g_Left.m_Der = std::move(der);
    g_Left.m_Certificate.reset(std::exchange(m_X509, nullptr));
}

bool slCertificate::SaveCert(std::string path) {
    if (m_X509 == nullptr) {
        return false;
    }
    const BioHandle file(BIO_new_file(path.c_str(), "w"));
    return file && PEM_write_bio_X509(file.get(), m_X509) == 1;
}

X509* slCertificate::GetX509() {
    return m_X509;
}

X509* slCertificate::GetX509Copy() const {
    return myX509_duplicate(m_X509);
}

std::vector<unsigned char> slCertificate::ToBin() const {
    const BioHandle stream = m_X509 != nullptr ? WriteDer(m_X509) : nullptr;
    if (!stream) {
        return {};
    }
    std::vector<unsigned char> data(BIO_pending(stream.get()));
    BIO_read(stream.get(), data.data(), static_cast<int>(data.size()));
    return data;
}

std::string slCertificate::ToB64() const {
    std::string text;
    b64encode(ToBin(), text, 0);
    return text;
}

::ASN1_INTEGER* slCertificate::GetSerialNumberAsn1() const {
    return m_X509 != nullptr ? X509_get_serialNumber(m_X509) : nullptr;
}

std::string slCertificate::GetSerialNumber() const {
    const BnHandle number(m_X509 != nullptr ? ASN1_INTEGER_to_BN(GetSerialNumberAsn1(), nullptr) : nullptr);
    const BnTextHandle digits(number ? BN_bn2hex(number.get()) : nullptr);
    return digits ? std::string("0x") + digits.get() : std::string();
}

long slCertificate::GetSerialNumberInt() const {
    return std::strtol(GetSerialNumber().c_str(), nullptr, 16);
}

bool slCertificate::GetSerialNumberDER(unsigned char* out, unsigned int& len) const {
    const ::ASN1_INTEGER* number = GetSerialNumberAsn1();
    if (number == nullptr) {
        return false;
    }
    const auto size = static_cast<unsigned int>(ASN1_STRING_length(number));
    if (out != nullptr) {
        if (len < size) {
            return false;
        }
        std::copy_n(ASN1_STRING_get0_data(number), size, out);
    }
    len = size;
    return true;
}

bool slCertificate::LogCertificate(std::string message) const {
    const BioHandle stream(BIO_new(BIO_s_mem()));
    if (m_X509 == nullptr || !stream || PEM_write_bio_X509(stream.get(), m_X509) != 1) {
        return false;
    }
    std::array<char, LOGGED_PEM_SIZE> pem;
    const int size = BIO_read(stream.get(), pem.data(), LOGGED_PEM_SIZE);
    SLCERT_LogDebug(message + ": " + std::string(pem.data(), size));
    return true;
}

} // namespace Velmor
