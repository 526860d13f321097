// SPDX-License-Identifier: MIT
// Searches, certificates, signatures and data objects.
#include "formats/Personenbindung.h"
#include "formats/slCertificate.h"
#include "tests/card/FaultMatrix.h"

using namespace Velmor;

namespace {

using Context = MatrixContext;

constexpr const char* SIGNATURE_PIN = "123456";
constexpr SignKey NO_KEY = static_cast<SignKey>(17);

void AddSearches(MatrixTable& table) {
    table.Add("FindObjects").Gives("true", "false").Runs([](Context& context) {
        unsigned long handles[10] = {};
        unsigned long found = 0;
        return Text(context.m_Card->FindObjects(nullptr, 0, handles, 10, &found));
    });
    table.Add("FindObject").Gives("true", "false").Runs([](Context& context) {
        unsigned long handle = 0;
        return Text(context.m_Card->FindObject("SK.CH.SIG", CKO_PRIVATE_KEY, &handle));
    });
}

// --- Certificates ------------------------------------------------------------------------------------------

void AddCertificates(MatrixTable& table) {
    table.Add("LoadSigningCertificate").Gives("true", "false").Runs([](Context& context) {
        return Text(context.m_Card->LoadSigningCertificate(true));
    });
    table.Add("getSigningCertificateHandle").Gives("true", "false").Runs([](Context& context) {
        return Text(context.m_Card->getSigningCertificateHandle(true) != 0);
    });
    table.Add("GetCertificate").Gives("true", "false").Runs([](Context& context) {
        slCertificate certificate;
        return Text(context.m_Card->GetCertificate(true, certificate));
    });
    table.Add("GetCertificateOfSlot")
        .From(Stage::BOUND)
        .Gives("true", "false")
        .But({{"C_CloseSession", "true"}, {"C_GetSlotList length", "true"}})
        .Runs([](Context& context) {
            slCertificate certificate;
            return Text(context.m_Card->GetCertificate(0UL, true, certificate));
        });
}

/// A certificate that cannot be read is passed over, one of an absurd length ends the collection.
void AddCollections(MatrixTable& table) {
    const std::map<std::string, std::string> passedOver = {{"C_GetAttributeValue", "true 1"},
                                                           {"C_GetAttributeValue#1 length", "false 0"},
                                                           {"C_GetAttributeValue#2 length", "false 1"}};
    table.Add("loadAllCertsInSession").Gives("true 2", "false 0").But(passedOver).Runs([](Context& context) {
        const bool result = context.m_Card->loadAllCertsInSession();
        return Text(result, context.m_Card->m_CertVector.size());
    });
    table.Add("LoadAllCerts")
        .From(Stage::BOUND)
        .Gives("true 2", "false 0")
        .But(passedOver)
        .But({{"C_OpenSession", "true 0"}, {"C_CloseSession", "true 2"}, {"C_GetSlotList length", "true 2"}})
        .Runs([](Context& context) {
            const bool result = context.m_Card->LoadAllCerts();
            return Text(result, context.m_Card->m_CertVector.size());
        });
}

// --- Signatures --------------------------------------------------------------------------------------------

using SignIntoBuffer = bool (*)(ProbedCard& card, Bytes& in, unsigned char* out, unsigned long& length);

void AddBufferSignature(MatrixTable& table, const std::string& name, SignIntoBuffer sign) {
    table.Add(name).Asking({SIGNATURE_PIN}).Gives("true", "false").Runs([sign](Context& context) {
        Bytes in = context.m_Data;
        unsigned char out[64];
        unsigned long length = sizeof(out);
        return Text(sign(*context.m_Card, in, out, length));
    });
}

void AddBufferSignatures(MatrixTable& table) {
    AddBufferSignature(table, "signString",
                       [](ProbedCard& card, Bytes& in, unsigned char* out, unsigned long& length) {
                           return card.signString(in.data(), in.size(), out, length, true);
                       });
    AddBufferSignature(table, "signStringOfCharacters",
                       [](ProbedCard& card, Bytes& in, unsigned char* out, unsigned long& length) {
                           char* const text = reinterpret_cast<char*>(in.data());
                           return card.signString(text, in.size(), out, length, true);
                       });
    AddBufferSignature(table, "signStringWithHash",
                       [](ProbedCard& card, Bytes& in, unsigned char* out, unsigned long& length) {
                           return card.signString(in.data(), in.size(), out, length, true, HASH_SHA256);
                       });
    AddBufferSignature(table, "signStringWithHashAndKey",
                       [](ProbedCard& card, Bytes& in, unsigned char* out, unsigned long& length) {
                           SignKey key = NO_KEY;
                           return card.signString(in.data(), in.size(), out, length, key, true, HASH_SHA1);
                       });
}

std::wstring ThumbprintOf(const Bytes& der) {
    slCertificate certificate;
    certificate.LoadFromBuffer(der);
    return certificate.GetThumbprint();
}

/// The signature key of this kind of card makes 48 bytes.
void AddSignatures(MatrixTable& table) {
    table.Add("Sign").Asking({SIGNATURE_PIN}).Gives("true 48", "false 0").Runs([](Context& context) {
        Bytes signature;
        const bool result = context.m_Card->Sign("SK.CH.SIG", context.m_Data, signature);
        return Text(result, signature.size());
    });
    table.Add("SignWithHash").Asking({SIGNATURE_PIN}).Gives("true 48", "false 0").Runs([](Context& context) {
        Bytes signature;
        const bool result = context.m_Card->Sign("SK.CH.SIG", context.m_Data, signature, HASH_RAW);
        return Text(result, signature.size());
    });
    table.Add("SignByCertificate")
        .From(Stage::BOUND)
        .Asking({SIGNATURE_PIN})
        .Gives("true 48", "false 0")
        .But({{"C_CloseSession", "true 48"}, {"C_GetSlotList length", "true 48"}})
        .Runs([](Context& context) {
            const std::wstring thumbprint = ThumbprintOf(context.OnCard("C.CH.SIG"));
            Bytes signature;
            slCertificate certificate;
            const bool result = context.m_Card->Sign(thumbprint, context.m_Data, certificate, signature);
            return Text(result, signature.size());
        });
}

void MakeSignature(Context& context) {
    context.m_Deck.AnswerPins({SIGNATURE_PIN});
    context.m_Card = std::make_unique<ProbedCard>();
    std::vector<SlotStruct*> slots;
    context.m_Card->GetSlots(slots);
    context.m_Card->OpenSession(0, false);
    context.m_Card->Sign("SK.CH.SIG", context.m_Data, context.m_Signature);
}

void AddVerifying(MatrixTable& table) {
    table.Add("Verify").After(MakeSignature).Gives("true", "false").Runs([](Context& context) {
        Bytes data = context.m_Data;
        return Text(context.m_Card->Verify("PK.CH.SIG", context.m_Signature, data));
    });
    table.Add("VerifyWithHash").After(MakeSignature).Gives("true", "false").Runs([](Context& context) {
        Bytes data = context.m_Data;
        return Text(context.m_Card->Verify("PK.CH.SIG", context.m_Signature, data, HASH_SHA1));
    });
}

void AddKeys(MatrixTable& table) {
    table.Add("findCertAndKey").Gives("true SK.CH.SIG", "false ").Runs([](Context& context) {
        slCertificate certificate;
        std::string label;
        const bool result =
            context.m_Card->findCertAndKey(ThumbprintOf(context.OnCard("C.CH.SIG")), certificate, label);
        return Text(result, label);
    });
    table.Add("findPrivateKeyFromID").Gives("true SK.CH.EKEY", "false ").Runs([](Context& context) {
        std::string label;
        const bool result = context.m_Card->findPrivateKeyFromID("\x02", label);
        return Text(result, label);
    });
    // A key that cannot be read is passed over; not to find one is no failure.
    table.Add("GetSignKeyType")
        .Gives("true 1", "false 17")
        .But({{"C_GetAttributeValue", "true 17"}})
        .Runs([](Context& context) {
            SignKey key = NO_KEY;
            const bool result = context.m_Card->GetSignKeyType(key, true);
            return Text(result, key);
        });
}

// --- Card data and updates ---------------------------------------------------------------------------------

void AddReading(MatrixTable& table) {
    table.Add("ReadEHIC").On("ecard-g2").Gives("true", "false").Runs([](Context& context) {
        unsigned char out[1024];
        unsigned long length = sizeof(out);
        return Text(context.m_Card->ReadEHIC(out, length));
    });
    table.Add("ReadGrunddaten").On("ecard-g2").Gives("true", "false").Runs([](Context& context) {
        unsigned char out[1024];
        unsigned long length = sizeof(out);
        return Text(context.m_Card->ReadGrunddaten(out, length));
    });
    table.Add("ReadPers").Gives("true", "false").Runs([](Context& context) {
        Personenbindung record;
        return Text(context.m_Card->ReadPers(&record));
    });
}

const std::string NO_CARD = "false Keine Smartcard gefunden für CIN=8004000011112222";

void AddUpdateOfIdentityLink(MatrixTable& table) {
    table.Add("UpdatePersonenbindung")
        .From(Stage::BOUND)
        .Asking({"1234"})
        .Gives("true ", NO_CARD)
        .But({
            {"C_GetSlotList length", "true "},
            {"C_OpenSession", "false Fehler beim öffnen der Kartensession"},
            {"C_FindObjectsInit", "false PKCS11 FindObjects"},
            {"C_FindObjects", "false PKCS11 FindObjects"},
            {"C_FindObjectsFinal", "false PKCS11 FindObjects"},
            {"C_Login", "false Fehler beim Initialisieren des Kartenobjektes. (CLogin)"},
            {"C_SetAttributeValue",
             "false Fehler beim modifizieren des Kartenobjektes. (C_SetAttributeValue)"},
            {"C_Logout", "true "},
            {"C_CloseSession", "true "},
        })
        .Runs([](Context& context) {
            const Bytes data(128, 0x30);
            std::string error;
            const bool result = context.m_Card->UpdatePersonenbindung(context.m_Serial, data, error);
            return Text(result, error);
        });
}

/// The first search is for the certificate. The second is for its handle: when that fails, the write goes to
/// no object.
void AddUpdatesOfCertificate(MatrixTable& table) {
    const std::string notFound = "false Zertifikat auf der Karte nicht gefunden";
    const std::string notWritten = "false Fehler beim Modifizieren des Kartenobjektes. Code = 0x";
    std::map<std::string, std::string> rows = {{"C_SetAttributeValue", notWritten + "{rv}"}};
    for (const std::string function :
         {"C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal", "C_GetAttributeValue"}) {
        rows[function + "#1"] = notFound;
        rows[function + "#2"] = notWritten + "82";
    }
    table.Add("updateCertInSession").Gives("true ", NO_CARD).But(rows).Runs([](Context& context) {
        std::string error;
        const bool result = context.m_Card->updateCertInSession(context.OnCard("C.CH.SIG"), true, error);
        return Text(result, error);
    });
    table.Add("UpdateCertificate")
        .From(Stage::BOUND)
        .Gives("true ", NO_CARD)
        .But(rows)
        .But({{"C_GetSlotList length", "true "},
              {"C_OpenSession", "true "}, // a card that does not open counts as a success
              {"C_Logout", "true "},
              {"C_CloseSession", "true "}})
        .Runs([](Context& context) {
            const Bytes der = context.OnCard("C.CH.SIG");
            std::string error;
            const bool result = context.m_Card->UpdateCertificate(context.m_Serial, der, true, error);
            return Text(result, error);
        });
}

} // namespace

void AddObjectOperations(MatrixTable& table) {
    AddSearches(table);
    AddCertificates(table);
    AddCollections(table);
    AddBufferSignatures(table);
    AddSignatures(table);
    AddVerifying(table);
    AddKeys(table);
    AddReading(table);
    AddUpdateOfIdentityLink(table);
    AddUpdatesOfCertificate(table);
}
