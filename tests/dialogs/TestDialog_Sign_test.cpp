// SPDX-License-Identifier: MIT
// Signing and verifying, over the simulated token library.
#include "dialogs/TestDialog.h"

#include <openssl/evp.h>
#include <openssl/pem.h>

#include <algorithm>

#include "formats/Hash.h"
#include "foundation/Base64.h"
#include "images/Images.h"
#include "tests/dialogs/CardInReader.h"
#include "tests/dialogs/ProbedTestDialog.h"

using orseltest::CardOptions;
using testing::ElementsAre;
using testing::IsEmpty;
using Velmor::ApplEncryption;
using Velmor::ApplIdentityLink;
using Velmor::ApplSignature;

namespace {

constexpr const char* SIGNED = "Signatur erfolgreich!";
constexpr const char* NOT_SIGNED = "Fehler beim Signieren";
constexpr const char* CONFIRMED = "Signaturprüfung erfolgreich!";
constexpr const char* NOT_CONFIRMED = "Fehler beim Verifizieren der Signatur";
constexpr const char* NO_CONNECTION = "Fehler beim Aufbau der Verbindung zur Karte";
constexpr const char* NOT_HASHED = "Fehler beim Hashen des Textes";
constexpr const char* NO_HASH_SELECTED = "Ungültiger Hashwert ausgewählt";

constexpr const char* SIGNATURE_PIN = "123456";
constexpr const char* ENCRYPTION_PIN = "1234";

const char* PinOf(Velmor::ApplType appl) {
    return appl == ApplSignature ? SIGNATURE_PIN : ENCRYPTION_PIN;
}

class TheSignatureTestOnACard : public CardInReader {
protected:
    /// Opens the dialog for one key of the card that is in the reader.
    void Open(Velmor::ApplType appl) {
        m_dialog = std::make_unique<ProbedTestDialog>();
        m_dialog->SetP11(m_p11.get(), 0, appl);
        m_dialog->Show(true);
        m_deck.clearTrace();
    }
    void OpenOn(const std::string& kind, Velmor::ApplType appl) {
        Insert(kind);
        Open(appl);
    }
    void Sign(const std::string& pin) {
        m_deck.answerPins({pin});
        m_dialog->Sign();
    }
    /// A card with a signature of its signature key on display.
    void OpenWithSignature() {
        OpenOn("acos-a04", ApplSignature);
        Sign(SIGNATURE_PIN);
        ASSERT_EQ(m_dialog->Status(), SIGNED);
        m_deck.clearTrace();
    }
    std::vector<unsigned char> Signature() {
        std::vector<unsigned char> bytes;
        Velmor::b64decode(std::string(m_dialog->text_signature->GetValue().utf8_str()), bytes);
        return bytes;
    }
    void ExpectStatus(const char* text, const char* const* icon) {
        EXPECT_EQ(m_dialog->Status(), Utf8(text));
        EXPECT_TRUE(SamePicture(m_dialog->bitmap_status->GetBitmap(), icon));
    }
    void ExpectError(const char* text) { ExpectStatus(text, ButtonCancel); }
    void ExpectSuccess(const char* text) { ExpectStatus(text, ButtonOk); }
    /// One session, read-only, and closed again.
    void ExpectOneSession() {
        ASSERT_EQ(m_deck.trace("C_OpenSession").size(), 1U);
        EXPECT_EQ(m_deck.trace("C_OpenSession").front().value("flags"), "4");
        EXPECT_EQ(SessionsOf("C_OpenSession"), SessionsOf("C_CloseSession"));
        EXPECT_EQ(Calls().back(), "C_CloseSession");
    }

    std::unique_ptr<ProbedTestDialog> m_dialog;
};

} // namespace

// --- The card's keys ---------------------------------------------------------------------------------------

namespace {

struct KeyRow {
    const char* kind;
    Velmor::ApplType appl;
    const char* algorithm;
    size_t hashes; ///< offered, of SHA-1, RIPEMD-160, SHA-256
};

constexpr KeyRow KEYS[] = {
    {"acos-a03", ApplSignature, "ECC", 2},  {"acos-a03", ApplEncryption, "RSA", 3},
    {"acos-a04", ApplSignature, "ECC", 3},  {"acos-a04", ApplEncryption, "RSA", 3},
    {"acos-a05", ApplSignature, "ECC", 3},  {"acos-a05", ApplEncryption, "RSA", 3},
    {"ecard-g2", ApplSignature, "ECC", 2},  {"ecard-g2", ApplEncryption, "ECC", 2},
    {"ecard-g3a", ApplSignature, "ECC", 3}, {"ecard-g3a", ApplEncryption, "RSA", 3},
    {"ecard-g3b", ApplSignature, "ECC", 3}, {"ecard-g3b", ApplEncryption, "RSA", 3},
    {"ecard-g4", ApplSignature, "ECC", 3},  {"ecard-g4", ApplEncryption, "RSA", 3},
    {"cardos-53", ApplSignature, "ECC", 3}, {"cardos-53", ApplEncryption, "RSA", 3},
    {"unknown", ApplSignature, "RSA", 0}, // nothing is known of its keys
    {"unknown", ApplEncryption, "RSA", 0},
};

void PrintTo(const KeyRow& row, std::ostream* out) {
    *out << row.kind << (row.appl == ApplSignature ? ", signature key" : ", encryption key");
}

class TheSignatureTestOfAKey : public TheSignatureTestOnACard, public testing::WithParamInterface<KeyRow> {};

INSTANTIATE_TEST_SUITE_P(Keys, TheSignatureTestOfAKey, testing::ValuesIn(KEYS), [](const auto& row) {
    std::string name = std::string(row.param.kind) + (row.param.appl == ApplSignature ? "_sig" : "_enc");
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

} // namespace

TEST_P(TheSignatureTestOfAKey, OffersItsHashesAndSelectsTheStrongest) {
    OpenOn(GetParam().kind, GetParam().appl);
    EXPECT_EQ(m_dialog->label_algorithm->GetLabel(), GetParam().algorithm);
    std::vector<std::string> expected = {"SHA-1", "RIPEMD-160", "SHA-256"};
    expected.resize(GetParam().hashes);
    EXPECT_EQ(m_dialog->Hashes(), expected);
    EXPECT_EQ(m_dialog->combo_hash->GetSelection(), static_cast<int>(expected.size()) - 1);
    EXPECT_EQ(m_dialog->m_fadeTimer.GetOwner(), m_dialog.get());
    EXPECT_EQ(m_dialog->m_fadeTimer.GetId(), 5445);
    EXPECT_EQ(m_dialog->Status(), "");
}

TEST_P(TheSignatureTestOfAKey, SignsWithEveryHashThatItOffersAndConfirmsIt) {
    OpenOn(GetParam().kind, GetParam().appl);
    for (unsigned row = 0; row < m_dialog->combo_hash->GetCount(); ++row) {
        m_dialog->combo_hash->SetSelection(static_cast<int>(row));
        Sign(PinOf(GetParam().appl));
        ExpectSuccess(SIGNED);
        EXPECT_FALSE(m_dialog->text_signature->IsEmpty());
        m_dialog->Verify();
        ExpectSuccess(CONFIRMED);
    }
}

TEST_F(TheSignatureTestOnACard, AsksNothingButTheTokenWhenItIsSetUp) {
    Insert("acos-a04");
    ProbedTestDialog dialog;
    dialog.SetP11(m_p11.get(), 0, ApplSignature);
    EXPECT_THAT(Calls(), ElementsAre("C_GetSlotList", "C_GetSlotList", "C_GetTokenInfo"));
}

TEST_F(TheSignatureTestOnACard, WorksOnTheSlotThatItIsGiven) {
    m_deck.add("ecard-g2", CardOptions().slot(1));
    m_deck.add("cardos-53", CardOptions().slot(2));
    Bind();
    ProbedTestDialog dialog;
    dialog.SetP11(m_p11.get(), 1, ApplEncryption);
    EXPECT_EQ(dialog.label_algorithm->GetLabel(), "RSA");
    m_deck.answerPins({ENCRYPTION_PIN});
    m_deck.clearTrace();
    dialog.Sign();
    EXPECT_EQ(dialog.Status(), SIGNED);
    EXPECT_EQ(m_deck.trace("C_OpenSession").front().value("slot"), "2");
}

TEST_F(TheSignatureTestOnACard, OffersNoHashWhenTheTokenCannotBeQueried) {
    m_deck.add("acos-a04");
    m_deck.planFaults({"C_GetTokenInfo call=2 rv=CKR_DEVICE_ERROR"}); // the first call lists the slots
    Bind();
    Open(ApplSignature);
    EXPECT_THAT(m_dialog->Hashes(), IsEmpty());
    EXPECT_EQ(m_dialog->combo_hash->GetSelection(), -1);
    m_dialog->Sign();
    ExpectError(NO_HASH_SELECTED);
    m_dialog->Verify();
    ExpectError(NO_HASH_SELECTED);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TheSignatureTestOnACard, LeavesTheLabelAndTheHashesForAnIdentityLink) {
    Insert("acos-a03");
    Open(ApplIdentityLink);
    ExpectError("Ungültige Karte");
    EXPECT_THAT(m_dialog->Hashes(), ElementsAre("SHA-1", "RIPEMD-160"));
    EXPECT_EQ(m_dialog->label_algorithm->GetLabel(), "ECC");
    EXPECT_NE(m_dialog->m_fadeTimer.GetId(), 5445);
}

TEST_F(TheSignatureTestOnACard, KeepsTheMessageAboutAnIdentityLinkOnTheScreen) {
    Insert("acos-a03");
    Open(ApplIdentityLink);
    RunFor(1900);
    EXPECT_EQ(m_dialog->Status(), Utf8("Ungültige Karte"));
    EXPECT_FLOAT_EQ(m_dialog->m_fade.GetModifier(), 1.0F / 50); // the step at once, and none since
}

TEST_F(TheSignatureTestOnACard, DoesNothingForAnIdentityLinkButClearTheStatus) {
    Insert("acos-a03");
    Open(ApplIdentityLink);
    m_dialog->text_signature->SetValue("alt");
    m_dialog->Verify();
    EXPECT_EQ(m_dialog->Status(), "");
    EXPECT_EQ(m_dialog->text_signature->GetValue(), "alt");
    m_dialog->SetStatus("alt", false);
    m_dialog->Sign();
    EXPECT_EQ(m_dialog->Status(), "");
    EXPECT_EQ(m_dialog->text_signature->GetValue(), "");
    EXPECT_THAT(Calls(), IsEmpty());
}

// --- Signing -----------------------------------------------------------------------------------------------

TEST_F(TheSignatureTestOnACard, SignsInOneSessionWithThePrivateKey) {
    OpenOn("acos-a04", ApplSignature);
    Sign(SIGNATURE_PIN);
    EXPECT_THAT(Calls(),
                ElementsAre("C_OpenSession", "C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal",
                            "C_GetAttributeValue", "C_SignInit", "C_Sign", "C_Sign", "C_CloseSession"));
    ExpectOneSession();
    EXPECT_EQ(m_deck.trace("C_SignInit").front().value("mechanism"), "CKM_ECDSA");
    EXPECT_EQ(m_deck.trace("C_Sign").back().value("size"), "32"); // the hash, not the text
}

TEST_F(TheSignatureTestOnACard, SignsABareHashWithAnRsaKeyToo) {
    OpenOn("acos-a04", ApplEncryption);
    Sign(ENCRYPTION_PIN);
    ExpectSuccess(SIGNED);
    EXPECT_EQ(m_deck.trace("C_SignInit").front().value("mechanism"), "CKM_RSA_PKCS");
    EXPECT_EQ(m_deck.trace("C_Sign").back().value("size"), "32"); // no DigestInfo in front
    EXPECT_EQ(Signature().size(), 192U);
    EXPECT_EQ(m_dialog->text_signature->GetValue().find('\n'), wxString::npos); // one line
}

TEST_F(TheSignatureTestOnACard, MakesASignatureThatTheCardsKeyConfirmsOutsideOfIt) {
    OpenOn("acos-a04", ApplEncryption);
    Sign(ENCRYPTION_PIN);
    const std::string text(m_dialog->text_document->GetValue().utf8_str());
    std::vector<unsigned char> hash;
    Velmor::Hash(std::vector<unsigned char>(text.begin(), text.end()), hash, Velmor::HASH_SHA256, false);

    const auto pem = m_deck.objectContent(m_card, "PK.CH.EKEY");
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(
        BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), BIO_free);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
        EVP_PKEY_CTX_new(key.get(), nullptr), EVP_PKEY_CTX_free);
    ASSERT_EQ(EVP_PKEY_verify_init(context.get()), 1);
    const auto signature = Signature();
    EXPECT_EQ(EVP_PKEY_verify(context.get(), signature.data(), signature.size(), hash.data(), hash.size()),
              1);
}

TEST_F(TheSignatureTestOnACard, SignsTheTextAsItStands) {
    OpenOn("acos-a04", ApplSignature);
    m_dialog->text_document->SetValue(Utf8("Ärger mit Umlauten\nund Zeilen"));
    Sign(SIGNATURE_PIN);
    ExpectSuccess(SIGNED);
    m_dialog->Verify();
    ExpectSuccess(CONFIRMED);
}

TEST_F(TheSignatureTestOnACard, FailsToSignWithoutTheRightPin) {
    OpenOn("acos-a04", ApplSignature);
    for (const char* pin : {"cancel", "000000"}) {
        m_deck.clearTrace();
        Sign(pin);
        ExpectError(NOT_SIGNED);
        EXPECT_EQ(m_dialog->text_signature->GetValue(), "");
        ExpectOneSession();
    }
    Sign(SIGNATURE_PIN);
    ExpectSuccess(SIGNED);
}

TEST_F(TheSignatureTestOnACard, LosesTheOldSignatureWhenANewOneFails) {
    OpenWithSignature();
    Sign("cancel");
    ExpectError(NOT_SIGNED);
    EXPECT_EQ(m_dialog->text_signature->GetValue(), "");
}

TEST_F(TheSignatureTestOnACard, FailsToSignWithoutAKey) {
    OpenOn("empty", ApplSignature);
    m_dialog->Sign();
    ExpectError(NOT_SIGNED);
    ExpectOneSession();
    EXPECT_THAT(m_deck.trace("C_SignInit"), IsEmpty());
}

// --- What both commands need -------------------------------------------------------------------------------

namespace {

/// Sign or verify: what fails before the card is worked on fails alike.
class EitherCommandOfTheSignatureTest : public TheSignatureTestOnACard,
                                        public testing::WithParamInterface<bool> {
protected:
    void Run() {
        if (GetParam())
            m_dialog->Sign();
        else
            m_dialog->Verify();
    }
};

INSTANTIATE_TEST_SUITE_P(Commands, EitherCommandOfTheSignatureTest, testing::Bool(),
                         [](const auto& row) { return row.param ? "Sign" : "Verify"; });

} // namespace

TEST_P(EitherCommandOfTheSignatureTest, FailsOnAnEmptyTextBeforeItOpensASession) {
    OpenOn("acos-a04", ApplSignature);
    m_dialog->text_document->SetValue("");
    Run();
    ExpectError(NOT_HASHED);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(EitherCommandOfTheSignatureTest, AsksForTheHashBeforeItHashesTheText) {
    OpenOn("acos-a04", ApplSignature);
    m_dialog->text_document->SetValue("");
    m_dialog->combo_hash->SetSelection(wxNOT_FOUND);
    Run();
    ExpectError(NO_HASH_SELECTED);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(EitherCommandOfTheSignatureTest, RefusesAHashThatNobodyKnows) {
    OpenOn("acos-a04", ApplSignature);
    m_dialog->combo_hash->SetSelection(m_dialog->combo_hash->Append("MD5"));
    Run();
    ExpectError("Ungültiger Hashwert");
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(EitherCommandOfTheSignatureTest, ClosesNoSessionThatItCouldNotOpen) {
    Insert("acos-a04");
    BindWithFault("C_OpenSession rv=CKR_DEVICE_REMOVED");
    Open(ApplSignature);
    Run();
    ExpectError(NO_CONNECTION);
    EXPECT_THAT(Calls(), ElementsAre("C_OpenSession"));
}

TEST_P(EitherCommandOfTheSignatureTest, HasNoConnectionToACardThatWasTakenOut) {
    OpenOn("acos-a04", ApplSignature);
    m_deck.takeOut(m_card);
    Run();
    ExpectError(NO_CONNECTION);
    m_deck.putBack(m_card);
    m_deck.clearTrace();
    Run();
    ExpectOneSession();
}

TEST_P(EitherCommandOfTheSignatureTest, LeavesTheDialogOpenAndEnabled) {
    OpenOn("empty", ApplSignature);
    Run();
    EXPECT_TRUE(m_dialog->IsShown());
    for (const wxWindow* button : {m_dialog->button_sign, m_dialog->button_verify, m_dialog->button_close})
        EXPECT_TRUE(button->IsEnabled());
}

// --- Verifying ---------------------------------------------------------------------------------------------

TEST_F(TheSignatureTestOnACard, VerifiesInOneSessionWithThePublicKey) {
    OpenWithSignature();
    m_dialog->Verify();
    ExpectSuccess(CONFIRMED);
    EXPECT_THAT(Calls(),
                ElementsAre("C_OpenSession", "C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal",
                            "C_GetAttributeValue", "C_VerifyInit", "C_Verify", "C_CloseSession"));
    ExpectOneSession();
    EXPECT_EQ(m_deck.trace("C_FindObjectsInit").front().value("attributes"),
              "CKA_CLASS:CKO_PUBLIC_KEY,CKA_LABEL:PK.CH.SIG");
    EXPECT_EQ(m_deck.trace("C_Verify").front().value("size"), "32");
    EXPECT_EQ(m_deck.trace("C_Verify").front().value("length"), std::to_string(Signature().size()));
}

TEST_F(TheSignatureTestOnACard, VerifiesWithTheEncryptionKeyWhenOpenedForIt) {
    OpenOn("acos-a04", ApplEncryption);
    m_dialog->Verify();
    EXPECT_EQ(m_deck.trace("C_FindObjectsInit").front().value("attributes"),
              "CKA_CLASS:CKO_PUBLIC_KEY,CKA_LABEL:PK.CH.EKEY");
}

TEST_F(TheSignatureTestOnACard, ConfirmsOnlyTheTextThatWasSigned) {
    OpenWithSignature();
    m_dialog->text_document->AppendText(".");
    m_dialog->Verify();
    ExpectError(NOT_CONFIRMED);
    ExpectOneSession();
    EXPECT_FALSE(m_dialog->text_signature->IsEmpty()); // stays for another try
}

TEST_F(TheSignatureTestOnACard, ConfirmsOnlyWithTheHashThatWasSigned) {
    OpenWithSignature();
    m_dialog->combo_hash->SetSelection(0);
    m_dialog->Verify();
    ExpectError(NOT_CONFIRMED);
    m_dialog->combo_hash->SetSelection(2);
    m_dialog->Verify();
    ExpectSuccess(CONFIRMED);
}

TEST_F(TheSignatureTestOnACard, AsksTheCardEvenAboutAnEmptyOrMangledSignature) {
    OpenWithSignature();
    const wxString whole = m_dialog->text_signature->GetValue();
    for (const wxString& text : {wxString(), wxString("@@@"), whole.Left(7), "A" + whole.Mid(1) + whole}) {
        m_deck.clearTrace();
        m_dialog->text_signature->SetValue(text);
        m_dialog->Verify();
        ExpectError(NOT_CONFIRMED);
        EXPECT_EQ(m_deck.trace("C_Verify").size(), 1U) << text;
        ExpectOneSession();
    }
}

TEST_F(TheSignatureTestOnACard, FailsToVerifyWithoutAKey) {
    OpenOn("empty", ApplSignature);
    m_dialog->text_signature->SetValue("AAAA");
    m_dialog->Verify();
    ExpectError(NOT_CONFIRMED);
    ExpectOneSession();
}

TEST_F(TheSignatureTestOnACard, LetsAResultFadeAway) {
    OpenWithSignature();
    m_dialog->Verify();
    EXPECT_TRUE(m_dialog->m_fadeTimer.IsRunning());
    EXPECT_TRUE(RunUntil([this] { return m_dialog->Status().empty(); }, 30000));
}
