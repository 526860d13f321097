// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_SLCERTIFICATE_H
#define ORSEL_FORMATS_SLCERTIFICATE_H

#include <openssl/x509.h>

namespace Velmor {

/// One X.509 certificate, held by value. Empty until something is loaded.
class slCertificate {
public:
    slCertificate() = default;
    slCertificate(const slCertificate&) = delete;
    slCertificate& operator=(const slCertificate&) = delete;
    ~slCertificate();

private:
    X509* m_X509 = nullptr;
};

} // namespace Velmor

#endif
