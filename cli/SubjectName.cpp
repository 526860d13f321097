// SPDX-License-Identifier: MIT
#include "cli/SubjectName.h"

#include <openssl/x509.h>

#include "formats/OpenSslHandle.h"

namespace orselcli {

namespace {

using NameHandle = Velmor::OpenSslHandle<X509_NAME, X509_NAME_free>;

/// Looks at DER elements one behind the other. No read goes beyond the end.
class DerReader {
public:
    DerReader(const unsigned char* begin, size_t size) : m_Position(begin), m_End(begin + size) {}

    bool IsAtEnd() const { return m_Position == m_End; }

    /// Goes into the next element, which has to have this tag.
    bool Enter(int tag) {
        const unsigned char* content = m_Position;
        long length = 0;
        if (!Head(content, length, tag)) {
            return false;
        }
        m_Position = content;
        m_End = content + length;
        return true;
    }
    /// Passes over the next element, which has to have this tag; its whole place comes back.
    bool Pass(int tag, const unsigned char** begin = nullptr, long* size = nullptr) {
        const unsigned char* content = m_Position;
        long length = 0;
        if (!Head(content, length, tag)) {
            return false;
        }
        if (begin != nullptr) {
            *begin = m_Position;
            *size = content + length - m_Position;
        }
        m_Position = content + length;
        return true;
    }

private:
    /// Moves `content` behind the element's head. False at the end and for another tag.
    bool Head(const unsigned char*& content, long& length, int tag) const {
        int found = 0;
        int kind = 0;
        const int flags =
            m_Position < m_End ? ASN1_get_object(&content, &length, &found, &kind, m_End - m_Position) : 0x80;
        const bool isIndefinite = (flags & 1) != 0;
        return (flags & 0x80) == 0 && !isIndefinite &&
               (found | (kind == V_ASN1_CONTEXT_SPECIFIC ? 0x100 : 0)) == tag;
    }

    const unsigned char* m_Position;
    const unsigned char* m_End;
};

constexpr int CONTEXT_0 = 0x100;

} // namespace

std::string SubjectCommonName(const unsigned char* der, size_t size) {
    DerReader whole(der, size);
    DerReader reader(der, size);
    if (!whole.Pass(V_ASN1_SEQUENCE) || !whole.IsAtEnd() || !reader.Enter(V_ASN1_SEQUENCE) ||
        !reader.Enter(V_ASN1_SEQUENCE)) {
        return "";
    }
    reader.Pass(CONTEXT_0); // the version, which the oldest form does not have
    const unsigned char* subject = nullptr;
    long length = 0;
    const bool isFound = reader.Pass(V_ASN1_INTEGER) && reader.Pass(V_ASN1_SEQUENCE) &&  // number, algorithm
                         reader.Pass(V_ASN1_SEQUENCE) && reader.Pass(V_ASN1_SEQUENCE) && // issuer, validity
                         reader.Pass(V_ASN1_SEQUENCE, &subject, &length);
    const NameHandle name(isFound ? d2i_X509_NAME(nullptr, &subject, length) : nullptr);
    char text[1024] = "";
    if (name == nullptr || X509_NAME_get_text_by_NID(name.get(), NID_commonName, text, sizeof(text)) < 0) {
        return "";
    }
    return text;
}

} // namespace orselcli
