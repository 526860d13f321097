// SPDX-License-Identifier: MIT
// The certificates of a card, planned object by object.
#ifndef ORSEL_TESTS_CARD_CARDCERTIFICATES_H
#define ORSEL_TESTS_CARD_CARDCERTIFICATES_H

#include <string>

#include "tests/card/MockedObjects.h"
#include "tests/support/CertificateBuilder.h"

/// What the log says of each call of a search that fails.
inline constexpr const char* FAILED_CALLS[] = {"PKCS11 Proc_C_FindObjectsInit0x30",
                                               "PKCS11 Proc_C_FindObjects0x30",
                                               "PKCS11 Proc_C_FindObjectsFinal0x30"};

inline CertificateBuilder OfHolder(const std::string& name) {
    CertificateBuilder builder;
    builder.Subject({{"C", "AT"}, {"CN", name}});
    return builder;
}

/// An open session on a card whose certificates a test plans.
class CardCertificates : public MockedObjectsTest {
protected:
    /// Plans a load that finds this certificate at once.
    void PlanLoad(const Bytes& der) {
        PlanSearch(SIG_CERT, {31});
        PlanRead(31, {Label("C.CH.SIG"), Value(der)});
    }
    Bytes Loaded() {
        Bytes der;
        EXPECT_TRUE(m_Card.GetSigningCertificate(der));
        return der;
    }
};

#endif
