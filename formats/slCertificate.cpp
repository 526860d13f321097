// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

namespace Velmor {

slCertificate::~slCertificate() {
    X509_free(m_X509);
}

} // namespace Velmor
