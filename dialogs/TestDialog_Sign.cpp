// SPDX-License-Identifier: MIT
// Signing and verifying with the card.
#include "dialogs/TestDialog.h"

#include <wx/combobox.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "app/ControlIds.h"
#include "app/GrowToFit.h"
#include "app/I18N.h"
#include "app/wxHelper.h"
#include "card/CardLabels.h"
#include "card/SessionGuard.h"
#include "card/tkPKCS11.h"
#include "formats/Hash.h"
#include "foundation/Base64.h"

using Velmor::ApplEncryption;
using Velmor::ApplSignature;

/// The identity link has no key.
static bool HasKey(Velmor::ApplType appl) {
    return appl == ApplSignature || appl == ApplEncryption;
}

void TestDialog::SetP11(Velmor::tkPKCS11* p11, int slot, Velmor::ApplType appl) {
    m_pP11 = p11;
    m_nSlot = slot;
    m_ApplType = appl;
    if (m_pP11 == nullptr) {
        return;
    }
    Velmor::TokenInfoStruct2 info;
    m_pP11->GetTokenInfo(static_cast<unsigned long>(slot), info); // a failure leaves keys of no bits
    if (!HasKey(appl)) {
        return SetStatus(Translate("Ungültige Karte"), true);
    }

    const bool isSignature = appl == ApplSignature;
    const Velmor::SignKey keyType = isSignature ? info.m_SigKeyType : info.m_EncKeyType;
    if (keyType == Velmor::KEY_RSA) {
        label_algorithm->SetLabel("RSA");
    } else if (keyType == Velmor::KEY_ECC) {
        label_algorithm->SetLabel("ECC");
    }
    FillHashList(static_cast<int>(isSignature ? info.m_SigKeyBits : info.m_EncKeyBits));
    m_fadeTimer.SetOwner(this, ID_FADE_TIMER);
    GrowToFit(*this); // for the longest hash
}

/// The hashes that a key of this size may sign; the last one, the strongest, is selected. The limits are the
/// same for both kinds of key, so an RSA key gets all of them.
void TestDialog::FillHashList(int keyBits) {
    wxArrayString hashes;
    if (keyBits > 191) {
        hashes.Add("SHA-1");
        hashes.Add("RIPEMD-160");
    }
    if (keyBits > 255) {
        hashes.Add("SHA-256");
    }
    combo_hash->Clear();
    combo_hash->Append(hashes);
    combo_hash->SetSelection(static_cast<int>(hashes.size()) - 1);
}

bool TestDialog::GetHashAlgorithm(Velmor::HashAlgorithm& out) {
    struct NamedHash {
        const char* m_Name;
        Velmor::HashAlgorithm m_Algorithm;
    };
    static constexpr NamedHash HASHES[] = {
        {"SHA-1", Velmor::HASH_SHA1},
        {"RIPEMD-160", Velmor::HASH_RIPEMD160},
        {"SHA-256", Velmor::HASH_SHA256},
    };
    const std::string name = Velmor::WxStr2MB(combo_hash->GetStringSelection());
    out = static_cast<Velmor::HashAlgorithm>(0);
    if (name.empty()) {
        SetStatus(Translate("Ungültiger Hashwert ausgewählt"), true);
        return false;
    }
    for (const NamedHash& hash : HASHES) {
        if (name == hash.m_Name) {
            out = hash.m_Algorithm;
            return true;
        }
    }
    SetStatus(Translate("Ungültiger Hashwert"), true);
    return false;
}

/// Hashes the text as it stands now with the algorithm as selected now. False, with a message, on failure:
/// an empty text fails too, for its bytes have never held storage.
bool TestDialog::HashDocument(std::vector<unsigned char>& hash) {
    const std::string text = Velmor::WxStr2MB(text_document->GetValue());
    const std::vector<unsigned char> bytes(text.begin(), text.end());
    auto algorithm = Velmor::HASH_SHA1;
    if (!GetHashAlgorithm(algorithm)) {
        return false;
    }
    if (Velmor::Hash(bytes, hash, algorithm, false)) {
        return true;
    }
    SetStatus(Translate("Fehler beim Hashen des Textes"), true);
    return false;
}

/// False, with a message, on failure. There is nothing to close then.
bool TestDialog::OpenSession() {
    if (m_pP11 != nullptr && m_pP11->OpenSession(m_nSlot, false)) {
        return true;
    }
    SetStatus(Translate("Fehler beim Aufbau der Verbindung zur Karte"), true);
    return false;
}

void TestDialog::evt_sign(wxCommandEvent& /*event*/) {
    SetStatus(wxEmptyString, true);
    text_signature->SetValue(wxEmptyString);
    if (m_pP11 == nullptr || !HasKey(m_ApplType)) {
        return;
    }
    const char* const key = Velmor::LabelsOf(m_ApplType == ApplSignature).m_PrivateKey;
    std::vector<unsigned char> hash;
    if (!HashDocument(hash)) {
        return;
    }
    Velmor::SessionGuard session(m_pP11, OpenSession());
    if (!session.IsOpen()) {
        return;
    }
    std::vector<unsigned char> signature;
    const bool isSigned = m_pP11->Sign(key, hash, signature, Velmor::HASH_RAW); // asks for the PIN
    session.Close();
    if (!isSigned) {
        return SetStatus(Translate("Fehler beim Signieren"), true);
    }
    std::string text;
    Velmor::b64encode(signature, text, 0);
    text_signature->SetValue(wxString::FromUTF8(text.c_str()));
    SetStatus(Translate("Signatur erfolgreich!"), false);
}

void TestDialog::evt_verify(wxCommandEvent& /*event*/) {
    SetStatus(wxEmptyString, true);
    if (!HasKey(m_ApplType)) {
        return;
    }
    const char* const key = Velmor::LabelsOf(m_ApplType == ApplSignature).m_PublicKey;
    std::vector<unsigned char> hash;
    if (!HashDocument(hash)) {
        return;
    }
    std::vector<unsigned char> signature; // a mangled field gives none, which no key confirms
    Velmor::b64decode(Velmor::WxStr2MB(text_signature->GetValue()), signature);
    Velmor::SessionGuard session(m_pP11, OpenSession());
    if (!session.IsOpen()) {
        return;
    }
    const bool isConfirmed = m_pP11->Verify(key, signature, hash, Velmor::HASH_RAW);
    session.Close();
    if (isConfirmed) {
        SetStatus(Translate("Signaturprüfung erfolgreich!"), false);
    } else {
        SetStatus(Translate("Fehler beim Verifizieren der Signatur"), true);
    }
}
