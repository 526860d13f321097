// SPDX-License-Identifier: MIT
// The card class as tests see it: its state, and what it logs.
#ifndef ORSEL_TESTS_CARD_PROBEDCARD_H
#define ORSEL_TESTS_CARD_PROBEDCARD_H

#include <string>
#include <vector>

#include "card/tkPKCS11.h"

/// The card class with its state in sight.
class ProbedCard : public Velmor::tkPKCS11 {
public:
    using tkPKCS11::m_Atr;
    using tkPKCS11::m_bInitialized;
    using tkPKCS11::m_CardType;
    using tkPKCS11::m_CertVector;
    using tkPKCS11::m_ClientVersion;
    using tkPKCS11::m_Description;
    using tkPKCS11::m_Fingerprint;
    using tkPKCS11::m_hLibrary;
    using tkPKCS11::m_Issuer;
    using tkPKCS11::m_Manufacturer;
    using tkPKCS11::m_PublicKey;
    using tkPKCS11::m_SerialNumber;
    using tkPKCS11::m_SigningCert;
    using tkPKCS11::m_SlotIndex;
    using tkPKCS11::m_Slots;
    using tkPKCS11::m_Subject;
    using tkPKCS11::m_SubjectCN;
    using tkPKCS11::m_Version;
};

/// Everything the card class reports while this stands, errors with "E " and messages with "M " before them.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    static std::vector<std::string> Lines();
    static std::vector<std::string> Errors();
    static void Clear();
};

#endif
