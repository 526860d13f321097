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
        m_Dialog = std::make_unique<ProbedTestDialog>();
        m_Dialog->SetP11(m_P11.get(), 0, appl);
        m_Dialog->Show(true);
        m_Deck.ClearTrace();
    }
    void OpenOn(const std::string& kind, Velmor::ApplType appl) {
        Insert(kind);
        Open(appl);
    }
    void Sign(const std::string& pin) {
        m_Deck.AnswerPins({pin});
        m_Dialog->Sign();
    }
    /// A card with a signature of its signature key on display.
    void OpenWithSignature() {
        OpenOn("acos-a04", ApplSignature);
        Sign(SIGNATURE_PIN);
        ASSERT_EQ(m_Dialog->Status(), SIGNED);
        m_Deck.ClearTrace();
    }
    std::vector<unsigned char> Signature() {
        std::vector<unsigned char> bytes;
        Velmor::b64decode(std::string(m_Dialog->text_signature->GetValue().utf8_str()), bytes);
        return bytes;
    }
    void ExpectStatus(const char* text, const char* const* icon) {
        EXPECT_EQ(m_Dialog->Status(), Utf8(text));
        EXPECT_TRUE(SamePicture(m_Dialog->bitmap_status->GetBitmap(), icon));
    }
    void ExpectError(const char* text) { ExpectStatus(text, ButtonCancel); }
    void ExpectSuccess(const char* text) { ExpectStatus(text, ButtonOk); }
    /// One session, read-only, and closed again.
    void ExpectOneSession() {
        ASSERT_EQ(m_Deck.GetTrace("C_OpenSession").size(), 1U);
        EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").front().Value("flags"), "4");
        EXPECT_EQ(SessionsOf("C_OpenSession"), SessionsOf("C_CloseSession"));
        EXPECT_EQ(Calls().back(), "C_CloseSession");
    }

    std::unique_ptr<ProbedTestDialog> m_Dialog;
};

} // namespace

// --- The card's keys ---------------------------------------------------------------------------------------

namespace {

struct KeyRow {
    const char* m_Kind;
    Velmor::ApplType m_Appl;
    const char* m_Algorithm;
    size_t m_Hashes; ///< offered, of SHA-1, RIPEMD-160, SHA-256
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
    *out << row.m_Kind << (row.m_Appl == ApplSignature ? ", signature key" : ", encryption key");
}

class TheSignatureTestOfAKey : public TheSignatureTestOnACard, public testing::WithParamInterface<KeyRow> {};

INSTANTIATE_TEST_SUITE_P(Keys, TheSignatureTestOfAKey, testing::ValuesIn(KEYS), [](const auto& row) {
    std::string name = std::string(row.param.m_Kind) + (row.param.m_Appl == ApplSignature ? "_sig" : "_enc");
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

} // namespace

TEST_P(TheSignatureTestOfAKey, OffersItsHashesAndSelectsTheStrongest) {
    OpenOn(GetParam().m_Kind, GetParam().m_Appl);
    EXPECT_EQ(m_Dialog->label_algorithm->GetLabel(), GetParam().m_Algorithm);
    std::vector<std::string> expected = {"SHA-1", "RIPEMD-160", "SHA-256"};
    expected.resize(GetParam().m_Hashes);
    EXPECT_EQ(m_Dialog->Hashes(), expected);
    EXPECT_EQ(m_Dialog->combo_hash->GetSelection(), static_cast<int>(expected.size()) - 1);
    EXPECT_EQ(m_Dialog->m_fadeTimer.GetOwner(), m_Dialog.get());
    EXPECT_EQ(m_Dialog->m_fadeTimer.GetId(), 5445);
    EXPECT_EQ(m_Dialog->Status(), "");
}

TEST_P(TheSignatureTestOfAKey, SignsWithEveryHashThatItOffersAndConfirmsIt) {
    OpenOn(GetParam().m_Kind, GetParam().m_Appl);
    for (unsigned row = 0; row < m_Dialog->combo_hash->GetCount(); ++row) {
        m_Dialog->combo_hash->SetSelection(static_cast<int>(row));
        Sign(PinOf(GetParam().m_Appl));
        ExpectSuccess(SIGNED);
        EXPECT_FALSE(m_Dialog->text_signature->IsEmpty());
        m_Dialog->Verify();
        ExpectSuccess(CONFIRMED);
    }
}

TEST_F(TheSignatureTestOnACard, AsksNothingButTheTokenWhenItIsSetUp) {
    Insert("acos-a04");
    ProbedTestDialog dialog;
    dialog.SetP11(m_P11.get(), 0, ApplSignature);
    EXPECT_THAT(Calls(), ElementsAre("C_GetSlotList", "C_GetSlotList", "C_GetTokenInfo"));
}

TEST_F(TheSignatureTestOnACard, WorksOnTheSlotThatItIsGiven) {
    m_Deck.Add("ecard-g2", CardOptions().Slot(1));
    m_Deck.Add("cardos-53", CardOptions().Slot(2));
    Bind();
    ProbedTestDialog dialog;
    dialog.SetP11(m_P11.get(), 1, ApplEncryption);
    EXPECT_EQ(dialog.label_algorithm->GetLabel(), "RSA");
    m_Deck.AnswerPins({ENCRYPTION_PIN});
    m_Deck.ClearTrace();
    dialog.Sign();
    EXPECT_EQ(dialog.Status(), SIGNED);
    EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").front().Value("slot"), "2");
}

TEST_F(TheSignatureTestOnACard, OffersNoHashWhenTheTokenCannotBeQueried) {
    m_Deck.Add("acos-a04");
    m_Deck.PlanFaults({"C_GetTokenInfo call=2 rv=CKR_DEVICE_ERROR"}); // the first call lists the slots
    Bind();
    Open(ApplSignature);
    EXPECT_THAT(m_Dialog->Hashes(), IsEmpty());
    EXPECT_EQ(m_Dialog->combo_hash->GetSelection(), -1);
    m_Dialog->Sign();
    ExpectError(NO_HASH_SELECTED);
    m_Dialog->Verify();
    ExpectError(NO_HASH_SELECTED);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TheSignatureTestOnACard, LeavesTheLabelAndTheHashesForAnIdentityLink) {
    Insert("acos-a03");
    Open(ApplIdentityLink);
    ExpectError("Ungültige Karte");
    EXPECT_THAT(m_Dialog->Hashes(), ElementsAre("SHA-1", "RIPEMD-160"));
    EXPECT_EQ(m_Dialog->label_algorithm->GetLabel(), "ECC");
    EXPECT_NE(m_Dialog->m_fadeTimer.GetId(), 5445);
}

TEST_F(TheSignatureTestOnACard, KeepsTheMessageAboutAnIdentityLinkOnTheScreen) {
    Insert("acos-a03");
    Open(ApplIdentityLink);
    RunFor(1900);
    EXPECT_EQ(m_Dialog->Status(), Utf8("Ungültige Karte"));
    EXPECT_FLOAT_EQ(m_Dialog->m_fade.GetModifier(), 1.0F / 50); // the step at once, and none since
}

TEST_F(TheSignatureTestOnACard, DoesNothingForAnIdentityLinkButClearTheStatus) {
    Insert("acos-a03");
    Open(ApplIdentityLink);
    m_Dialog->text_signature->SetValue("alt");
    m_Dialog->Verify();
    EXPECT_EQ(m_Dialog->Status(), "");
    EXPECT_EQ(m_Dialog->text_signature->GetValue(), "alt");
    m_Dialog->SetStatus("alt", false);
    m_Dialog->Sign();
    EXPECT_EQ(m_Dialog->Status(), "");
    EXPECT_EQ(m_Dialog->text_signature->GetValue(), "");
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
    EXPECT_EQ(m_Deck.GetTrace("C_SignInit").front().Value("mechanism"), "CKM_ECDSA");
    EXPECT_EQ(m_Deck.GetTrace("C_Sign").back().Value("size"), "32"); // the hash, not the text
}

TEST_F(TheSignatureTestOnACard, SignsABareHashWithAnRsaKeyToo) {
    OpenOn("acos-a04", ApplEncryption);
    Sign(ENCRYPTION_PIN);
    ExpectSuccess(SIGNED);
    EXPECT_EQ(m_Deck.GetTrace("C_SignInit").front().Value("mechanism"), "CKM_RSA_PKCS");
    EXPECT_EQ(m_Deck.GetTrace("C_Sign").back().Value("size"), "32"); // no DigestInfo in front
    EXPECT_EQ(Signature().size(), 192U);
    EXPECT_EQ(m_Dialog->text_signature->GetValue().find('\n'), wxString::npos); // one line
}

TEST_F(TheSignatureTestOnACard, MakesASignatureThatTheCardsKeyConfirmsOutsideOfIt) {
    OpenOn("acos-a04", ApplEncryption);
    Sign(ENCRYPTION_PIN);
    const std::string text(m_Dialog->text_document->GetValue().utf8_str());
    std::vector<unsigned char> hash;
    Velmor::Hash(std::vector<unsigned char>(text.begin(), text.end()), hash, Velmor::HASH_SHA256, false);

    const auto pem = m_Deck.ObjectContent(m_Card, "PK.CH.EKEY");
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
    m_Dialog->text_document->SetValue(Utf8("Ärger mit Umlauten\nund Zeilen"));
    Sign(SIGNATURE_PIN);
    ExpectSuccess(SIGNED);
    m_Dialog->Verify();
    ExpectSuccess(CONFIRMED);
}

TEST_F(TheSignatureTestOnACard, FailsToSignWithoutTheRightPin) {
    OpenOn("acos-a04", ApplSignature);
    for (const char* pin : {"cancel", "000000"}) {
        m_Deck.ClearTrace();
        Sign(pin);
        ExpectError(NOT_SIGNED);
        EXPECT_EQ(m_Dialog->text_signature->GetValue(), "");
        ExpectOneSession();
    }
    Sign(SIGNATURE_PIN);
    ExpectSuccess(SIGNED);
}

TEST_F(TheSignatureTestOnACard, LosesTheOldSignatureWhenANewOneFails) {
    OpenWithSignature();
    Sign("cancel");
    ExpectError(NOT_SIGNED);
    EXPECT_EQ(m_Dialog->text_signature->GetValue(), "");
}

TEST_F(TheSignatureTestOnACard, FailsToSignWithoutAKey) {
    OpenOn("empty", ApplSignature);
    m_Dialog->Sign();
    ExpectError(NOT_SIGNED);
    ExpectOneSession();
    EXPECT_THAT(m_Deck.GetTrace("C_SignInit"), IsEmpty());
}

// --- What both commands need -------------------------------------------------------------------------------

namespace {

/// Sign or verify: what fails before the card is worked on fails alike.
class EitherCommandOfTheSignatureTest : public TheSignatureTestOnACard,
                                        public testing::WithParamInterface<bool> {
protected:
    void Run() {
        if (GetParam()) {
            m_Dialog->Sign();
        } else {
            m_Dialog->Verify();
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Commands, EitherCommandOfTheSignatureTest, testing::Bool(),
                         [](const auto& row) { return row.param ? "Sign" : "Verify"; });

} // namespace

TEST_P(EitherCommandOfTheSignatureTest, FailsOnAnEmptyTextBeforeItOpensASession) {
    OpenOn("acos-a04", ApplSignature);
    m_Dialog->text_document->SetValue("");
    Run();
    ExpectError(NOT_HASHED);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(EitherCommandOfTheSignatureTest, AsksForTheHashBeforeItHashesTheText) {
    OpenOn("acos-a04", ApplSignature);
    m_Dialog->text_document->SetValue("");
    m_Dialog->combo_hash->SetSelection(wxNOT_FOUND);
    Run();
    ExpectError(NO_HASH_SELECTED);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(EitherCommandOfTheSignatureTest, RefusesAHashThatNobodyKnows) {
    OpenOn("acos-a04", ApplSignature);
    m_Dialog->combo_hash->SetSelection(m_Dialog->combo_hash->Append("MD5"));
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
    m_Deck.TakeOut(m_Card);
    Run();
    ExpectError(NO_CONNECTION);
    m_Deck.PutBack(m_Card);
    m_Deck.ClearTrace();
    Run();
    ExpectOneSession();
}

TEST_P(EitherCommandOfTheSignatureTest, LeavesTheDialogOpenAndEnabled) {
    OpenOn("empty", ApplSignature);
    Run();
    EXPECT_TRUE(m_Dialog->IsShown());
    for (const wxWindow* button : {m_Dialog->button_sign, m_Dialog->button_verify, m_Dialog->button_close}) {
        EXPECT_TRUE(button->IsEnabled());
    }
}

// --- Verifying ---------------------------------------------------------------------------------------------

TEST_F(TheSignatureTestOnACard, VerifiesInOneSessionWithThePublicKey) {
    OpenWithSignature();
    m_Dialog->Verify();
    ExpectSuccess(CONFIRMED);
    EXPECT_THAT(Calls(),
                ElementsAre("C_OpenSession", "C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal",
                            "C_GetAttributeValue", "C_VerifyInit", "C_Verify", "C_CloseSession"));
    ExpectOneSession();
    EXPECT_EQ(m_Deck.GetTrace("C_FindObjectsInit").front().Value("attributes"),
              "CKA_CLASS:CKO_PUBLIC_KEY,CKA_LABEL:PK.CH.SIG");
    EXPECT_EQ(m_Deck.GetTrace("C_Verify").front().Value("size"), "32");
    EXPECT_EQ(m_Deck.GetTrace("C_Verify").front().Value("length"), std::to_string(Signature().size()));
}

TEST_F(TheSignatureTestOnACard, VerifiesWithTheEncryptionKeyWhenOpenedForIt) {
    OpenOn("acos-a04", ApplEncryption);
    m_Dialog->Verify();
    EXPECT_EQ(m_Deck.GetTrace("C_FindObjectsInit").front().Value("attributes"),
              "CKA_CLASS:CKO_PUBLIC_KEY,CKA_LABEL:PK.CH.EKEY");
}

TEST_F(TheSignatureTestOnACard, ConfirmsOnlyTheTextThatWasSigned) {
    OpenWithSignature();
    m_Dialog->text_document->AppendText(".");
    m_Dialog->Verify();
    ExpectError(NOT_CONFIRMED);
    ExpectOneSession();
    EXPECT_FALSE(m_Dialog->text_signature->IsEmpty()); // stays for another try
}

TEST_F(TheSignatureTestOnACard, ConfirmsOnlyWithTheHashThatWasSigned) {
    OpenWithSignature();
    m_Dialog->combo_hash->SetSelection(0);
    m_Dialog->Verify();
    ExpectError(NOT_CONFIRMED);
    m_Dialog->combo_hash->SetSelection(2);
    m_Dialog->Verify();
    ExpectSuccess(CONFIRMED);
}

TEST_F(TheSignatureTestOnACard, AsksTheCardEvenAboutAnEmptyOrMangledSignature) {
    OpenWithSignature();
    const wxString whole = m_Dialog->text_signature->GetValue();
    for (const wxString& text : {wxString(), wxString("@@@"), whole.Left(7), "A" + whole.Mid(1) + whole}) {
        m_Deck.ClearTrace();
        m_Dialog->text_signature->SetValue(text);
        m_Dialog->Verify();
        ExpectError(NOT_CONFIRMED);
        EXPECT_EQ(m_Deck.GetTrace("C_Verify").size(), 1U) << text;
        ExpectOneSession();
    }
}

TEST_F(TheSignatureTestOnACard, FailsToVerifyWithoutAKey) {
    OpenOn("empty", ApplSignature);
    m_Dialog->text_signature->SetValue("AAAA");
    m_Dialog->Verify();
    ExpectError(NOT_CONFIRMED);
    ExpectOneSession();
}

TEST_F(TheSignatureTestOnACard, LetsAResultFadeAway) {
    OpenWithSignature();
    m_Dialog->Verify();
    EXPECT_TRUE(m_Dialog->m_fadeTimer.IsRunning());
    EXPECT_TRUE(RunUntil([this] { return m_Dialog->Status().empty(); }, 30000));
}
