// SPDX-License-Identifier: MIT
// The card class over a token library whose answers are the fuzzer's. The first byte chooses the command.
#include "card/CardObjects.h"
#include "card/SessionGuard.h"
#include "card/tkPKCS11.h"
#include "formats/InfoboxFS.h"
#include "formats/Personenbindung.h"
#include "formats/slCertificate.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/LibraryAnswers.h"

using namespace Velmor;
using answers::NextByte;
using answers::NextCode;

namespace {

constexpr const char* NUMBER = "8004000011112222"; ///< of the card that is looked for

/// The card class with the library's entry points bound, and without a library file.
class Card : public tkPKCS11 {
public:
    Card() {
        m_bInitialized = true;
        BindSlots();
        BindObjects();
        BindCommands();
    }

private:
    static void BindSlots() {
        Proc_C_GetSlotList = answers::GetSlotList;
        Proc_C_GetSlotInfo = [](CK_SLOT_ID, CK_SLOT_INFO* info) { return answers::Give(info); };
        Proc_C_GetTokenInfo = [](CK_SLOT_ID, CK_TOKEN_INFO* info) { return answers::Give(info); };
        Proc_C_OpenSession = answers::OpenSession;
        Proc_C_CloseSession = [](CK_SESSION_HANDLE) { return NextCode(); };
        Proc_C_Login = [](CK_SESSION_HANDLE, CK_USER_TYPE, CK_BYTE*, CK_ULONG) { return NextCode(); };
        Proc_C_Logout = [](CK_SESSION_HANDLE) { return NextCode(); };
    }
    static void BindObjects() {
        Proc_C_FindObjectsInit = [](CK_SESSION_HANDLE, CK_ATTRIBUTE*, CK_ULONG) { return NextCode(); };
        Proc_C_FindObjects = answers::FindObjects;
        Proc_C_FindObjectsFinal = [](CK_SESSION_HANDLE) { return NextCode(); };
        Proc_C_GetAttributeValue = answers::GetAttributeValue;
        Proc_C_SetAttributeValue = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG) {
            return NextCode();
        };
    }
    static void BindCommands() {
        Proc_C_SignInit = [](CK_SESSION_HANDLE, CK_MECHANISM*, CK_OBJECT_HANDLE) { return NextCode(); };
        Proc_C_Sign = answers::Sign;
        Proc_C_VerifyInit = [](CK_SESSION_HANDLE, CK_MECHANISM*, CK_OBJECT_HANDLE) { return NextCode(); };
        Proc_C_Verify = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG) { return NextCode(); };
        Proc_C_CardAttribute = [](CK_SESSION_HANDLE, const char*, unsigned char* out, unsigned long* length) {
            return answers::Any(out, length);
        };
        Proc_C_CardTransmit = [](CK_SESSION_HANDLE, const unsigned char*, unsigned long, unsigned char* out,
                                 unsigned long* length) { return answers::Any(out, length); };
    }
};

/// What reading the list of cards does.
void Refresh(tkPKCS11& card) {
    std::vector<SlotStruct*> slots;
    card.GetSlots(slots, true);
    Require(slots.size() <= MAX_CARDS);
    for (std::size_t index = 0; index < slots.size(); ++index) {
        const SessionGuard session(&card, card.OpenSession(static_cast<int>(index), false));
        Bytes der(MAX_OBJECT_VALUE);
        unsigned long size = der.size();
        if (session.IsOpen() && card.LoadSigningCertificate(false) &&
            card.GetSigningCertificate(der.data(), size)) {
            Require(size <= der.size());
            slCertificate certificate;
            Require(certificate.LoadFromBuffer(der.data(), static_cast<unsigned int>(size)));
            Require(certificate.GetSubjectCN() == card.GetSubjectCN());
        }
        TokenInfoStruct2 info;
        card.GetTokenInfo(index, info);
    }
}

/// A session on the first card, whose type is told.
bool Open(tkPKCS11& card) {
    std::vector<SlotStruct*> slots;
    const bool isOpen = card.GetSlots(slots, true) && card.OpenSession(0, false);
    card.LoadCardType();
    return isOpen;
}

void Certificates(tkPKCS11& card) {
    slCertificate certificate;
    std::string label;
    if (card.LoadAllCerts()) {
        std::for_each(card.CertVectorBegin(), card.CertVectorEnd(),
                      [](const slCertificate* found) { found->GetSubjectCN(); });
    }
    card.GetCertificate(0UL, true, certificate);
    const SessionGuard session(&card, Open(card));
    card.getSigningCertificateHandle(true);
    slCertificate again; // a certificate that is replaced lives on
    card.findCertAndKey(certificate.GetThumbprint(), again, label);
}

void Signatures(tkPKCS11& card) {
    const SessionGuard session(&card, Open(card));
    Bytes data(20);
    Bytes signature;
    SignKey kind = KEY_RSA;
    card.GetSignKeyType(kind, true);
    const HashAlgorithm hash = card.GetHashAlgorithm(kind);
    Require(card.Sign("SK.CH.SIG", data, signature, HASH_RAW) || signature.empty());
    Require(signature.size() <= MAX_PLAUSIBLE_SIGNATURE);
    card.Verify("PK.CH.SIG", signature, data, HASH_RAW);
    Bytes room(64);
    unsigned long length = room.size();
    Require(!card.signString(data.data(), data.size(), room.data(), length, true) || length <= room.size());
    length = room.size();
    Require(!card.signString(data.data(), data.size(), room.data(), length, kind, false, hash) ||
            length <= room.size());
    slCertificate certificate;
    card.Sign(L"00", data, certificate, signature);
}

void Pins(tkPKCS11& card) {
    const SessionGuard session(&card, Open(card));
    for (const ApplType appl : {ApplSignature, ApplEncryption, ApplIdentityLink}) {
        PINState state = PIN_STATE_OK;
        int tries = 0;
        for (const int result : {int{card.ChangePIN(appl)}, int{card.UnblockPIN(appl)},
                                 int{card.InitPIN(appl)}, card.GetPINStatus(appl, state, tries)}) {
            Require(result >= P11_NOT_SUPPORTED && result <= P11_PIN_LOCKED);
        }
        Require(tries >= -1 && tries <= 255);
    }
}

void Commands(tkPKCS11& card) {
    const SessionGuard session(&card, Open(card));
    Bytes command = {0x00, 0xB0, 0x00, 0x00, 0x00};
    Bytes answer;
    card.SendAPDU(command, answer);
    Require(answer.size() <= 4096);
    Bytes room(NextByte());
    unsigned long length = room.size();
    card.SendAPDU(command.data(), command.size(), room.data(), length);
    Require(length <= room.size());
    std::string text;
    card.SendAPDU_HEX("00B0000000", text);
    Require(!card.GetCinCsn(text) || text.size() == 16);
    card.GetChipId(answer);
    card.OpenSessionWithChipId(NUMBER, true);
    card.findSlotForCin(NUMBER);
    card.OpenGlobalSession(NUMBER);
    card.Reset();
    card.ReadATR(true);
}

/// What the infobox dialog does.
void Infobox(tkPKCS11& card) {
    const SessionGuard session(&card, Open(card));
    const std::string label = "INFOBOX";
    ObjectTemplate wanted(CKO_DATA, CKA_LABEL, label);
    FoundObjects found;
    ObjectValue value;
    if (card.Search(wanted, found) && !found.empty() &&
        ReadAttributes(card.m_hSession, found.First(), {Wanted(CKA_VALUE, value)}) == CKR_OK) {
        Require(value.Fits());
        ByteArray file(value.m_Bytes, value.m_Length);
        LibInfobox::InfoboxFS infobox;
        infobox.ParseInfoboxData(file);
    }
    Personenbindung record;
    card.ReadPers(&record);
    Bytes room(NextByte());
    unsigned long length = room.size();
    card.ReadEHIC(room.data(), length);
    length = room.size();
    card.ReadGrunddaten(room.data(), length);
}

void Updates(tkPKCS11& card) {
    std::string error;
    const Bytes record(128, 0x30);
    Require(card.UpdatePersonenbindung(NUMBER, record, error) == error.empty());
    error.clear();
    Bytes der(NextByte());
    answers::Fill(der.data(), der.size());
    Require(card.UpdateCertificate(NUMBER, der, true, error) == error.empty());
    card.GetSigningCertificate(der); // the very one that is there
    error.clear();
    Require(card.UpdateCertificate(NUMBER, der, true, error) == error.empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static constexpr void (*COMMANDS[])(tkPKCS11&) = {Refresh,  Certificates, Signatures, Pins,
                                                      Commands, Infobox,      Updates};
    answers::Set(data, size);
    Card card;
    const auto command = COMMANDS[NextByte() % std::size(COMMANDS)];
    command(card);
    card.DeleteSlots();
    return 0;
}
