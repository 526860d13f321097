// SPDX-License-Identifier: MIT
#include "cli/Cards.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include <dlfcn.h>

#include "card/CallP11.h"
#include "card/CardLimits.h"
#include "card/LoadFreeLib.h"
#include "card/tkPKCS11Logging.h"
#include "cli/CallWitness.h"
#include "cli/Interruption.h"
#include "cli/StrayOutput.h"
#include "cli/SubjectName.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

constexpr const char* TOKEN_LIBRARY = "libOrselP11.so";
constexpr const char* EMPTY_NUMBER = "0000000000000000";

/// Objects that are asked for at once.
constexpr CK_ULONG OBJECTS_AT_ONCE = 64;

/// Far above what a card's memory holds, whose infobox area counts its entries with one byte. A library that
/// never comes to an end of its objects is stopped here, since each of them costs a call for its label.
constexpr size_t MOST_OBJECTS = 4096;

std::string Trimmed(const std::string& text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// The card class's last complaint; it says what its results by bool leave out.
std::string g_LastComplaint;

void KeepComplaint(const char* text) {
    g_LastComplaint = text;
}

/// The binding failed after the library was loaded: the complaint names the call and ends with its code.
Outcome UnusableLibrary() {
    if (Velmor::tkPKCS11::Proc_C_Initialize == nullptr) {
        return Outcome(Reason::LIBRARY_UNUSABLE, Tr("it has no C_Initialize, so it is no token library"));
    }
    const size_t digits = g_LastComplaint.rfind("0x");
    const CK_RV code =
        digits != std::string::npos ? std::strtoul(g_LastComplaint.c_str() + digits, nullptr, 16) : CKR_OK;
    const bool isInitialising = g_LastComplaint.find("C_Initialize") != std::string::npos;
    const std::string function = isInitialising ? "C_Initialize" : "C_GetInfo";
    std::ostringstream detail;
    detail << function << " 0x" << std::hex << code;
    const Outcome cause(ReasonOf(code), ReasonOf(code) == Reason::UNKNOWN_CODE ? detail.str() : function);
    const std::string text = cause.Text();
    return Outcome(Reason::LIBRARY_UNUSABLE, text.substr(0, text.find_last_not_of('.') + 1));
}

/// Keeps a library loaded while another owner comes or goes.
struct LibraryCloser {
    void operator()(void* library) const { Velmor::tk_dlclose(library); }
};

} // namespace

std::unique_ptr<Cards> Cards::Bind(Outcome& outcome) {
    const StrayOutput stray;
    // Tried before the card class does, which writes the loader's own words to standard error.
    const std::unique_ptr<void, LibraryCloser> library(Velmor::tk_dlopen(TOKEN_LIBRARY));
    if (library == nullptr) {
        const char* reason = Velmor::tk_dlerror();
        outcome = Outcome(Reason::LIBRARY_MISSING, reason != nullptr ? reason : "");
        return nullptr;
    }
    CallWitness::Forget();
    Velmor::tkPKCS11Logging::SetErrorLoggingFunc(KeepComplaint);
    std::unique_ptr<Cards> cards(new Cards);
    Velmor::tkPKCS11Logging::SetErrorLoggingFunc(nullptr);
    if (!m_bInitialized) {
        outcome = UnusableLibrary();
        return nullptr;
    }
    cards->NoteWhatIsLacking();
    CallWitness::Take();
    return cards;
}

Cards::~Cards() {
    const StrayOutput stray;
    Destroy();
}

void Cards::NoteWhatIsLacking() {
    const auto note = [this](const char* name, auto entryPoint) {
        if (entryPoint == nullptr) {
            m_Lacking.emplace_back(name);
        }
    };
    note("C_GetSlotList", Proc_C_GetSlotList);
    note("C_GetSlotInfo", Proc_C_GetSlotInfo);
    note("C_GetTokenInfo", Proc_C_GetTokenInfo);
    note("C_OpenSession", Proc_C_OpenSession);
    note("C_CloseSession", Proc_C_CloseSession);
    note("C_Login", Proc_C_Login);
    note("C_Logout", Proc_C_Logout);
    note("C_FindObjectsInit", Proc_C_FindObjectsInit);
    note("C_FindObjects", Proc_C_FindObjects);
    note("C_FindObjectsFinal", Proc_C_FindObjectsFinal);
    note("C_GetAttributeValue", Proc_C_GetAttributeValue);
    note("C_SetAttributeValue", Proc_C_SetAttributeValue);
    note("C_SignInit", Proc_C_SignInit);
    note("C_Sign", Proc_C_Sign);
    note("C_VerifyInit", Proc_C_VerifyInit);
    note("C_Verify", Proc_C_Verify);
    note("C_Finalize", Proc_C_Finalize);
    note("C_CardTransmit", Proc_C_CardTransmit);
    note("C_CardAttribute", Proc_C_CardAttribute);
}

std::string Cards::Manufacturer() const {
    return Trimmed(m_Manufacturer);
}

std::string Cards::Description() const {
    return Trimmed(m_Description);
}

std::string Cards::File() const {
    Dl_info info = {};
    const bool isFound = dladdr(reinterpret_cast<void*>(Proc_C_Initialize), &info) != 0;
    return isFound && info.dli_fname != nullptr ? info.dli_fname : "";
}

Outcome Cards::List(std::vector<CardRow>& rows) {
    rows.clear();
    CallWitness::Forget();
    std::vector<Velmor::SlotStruct*> slots;
    if (!GetSlots(slots, true)) {
        return FailureOf();
    }
    for (const Velmor::SlotStruct* slot : slots) {
        const std::string number = Trimmed(slot->m_Serial);
        rows.push_back({static_cast<int>(rows.size()), slot->m_SlotId, slot->m_Serial, number,
                        Trimmed(slot->m_Label), number == EMPTY_NUMBER});
    }
    // A card that cannot be asked is passed over by the class. With no other card left, that is the news.
    return rows.empty() && CallWitness::HasSeenFailure() ? FailureOf() : Outcome();
}

// By the slot and not by the position, as the class does it: it counts tokens in its list and in the
// library's in two ways, which agree only while no token is left out of the list. It also asks for the
// library's list each time.
bool Cards::InfoOf(const CardRow& row, Velmor::TokenInfoStruct2& info) {
    CK_TOKEN_INFO token = {};
    if (Velmor::CallP11(Proc_C_GetTokenInfo, row.m_SlotId, &token) != CKR_OK) {
        return false;
    }
    info.m_Label.assign(token.label, std::end(token.label));
    info.m_ManufacturerId.assign(token.manufacturerID, std::end(token.manufacturerID));
    info.m_Model.assign(token.model, std::end(token.model));
    info.m_Serial.assign(token.serialNumber, std::end(token.serialNumber));
    Velmor::ClassifyToken(info);
    return true;
}

std::string Cards::KindOf(const CardRow& row) {
    Velmor::TokenInfoStruct2 info;
    const bool isKnown =
        InfoOf(row, info) && info.m_TokenType >= 0 && info.m_TokenType < Velmor::TOKEN_TYPE_COUNT;
    return isKnown ? Velmor::CARD_TYPE_TEXTS[info.m_TokenType] : row.m_Label;
}

// The class would take the whole certificate apart, its key too, which takes longer than all the rest of a
// list.
std::string Cards::Holder() {
    CK_OBJECT_CLASS objectClass = CKO_CERTIFICATE;
    std::string label = "C.CH.EKEY";
    CK_ATTRIBUTE wanted[] = {{CKA_CLASS, &objectClass, sizeof(objectClass)},
                             {CKA_LABEL, label.data(), label.size()}};
    unsigned long handles[Velmor::MAX_OBJECTS] = {};
    unsigned long found = 0;
    FindObjects(wanted, 2, handles, Velmor::MAX_OBJECTS, &found);
    for (unsigned long i = 0; i < std::min(found, Velmor::MAX_OBJECTS); ++i) {
        Velmor::ObjectValue value;
        CK_ATTRIBUTE asked = {CKA_VALUE, value.m_Bytes, sizeof(value.m_Bytes)};
        const CK_RV code = Velmor::CallP11(Proc_C_GetAttributeValue, m_hSession, handles[i], &asked, 1);
        if (code == CKR_OK && asked.ulValueLen <= sizeof(value.m_Bytes)) {
            return SubjectCommonName(value.m_Bytes, asked.ulValueLen);
        }
    }
    return "";
}

// The class keeps the bytes of what it could not parse, too.
Outcome Cards::ReadCertificate(bool isSignature, std::vector<unsigned char>& der) {
    CallWitness::Forget();
    m_SigningCert.clear();
    if (!LoadSigningCertificate(isSignature)) {
        return FailureOf(m_SigningCert.empty() ? Reason::NO_CERTIFICATE : Reason::BROKEN_CERTIFICATE);
    }
    der = m_SigningCert;
    return {};
}

// The class's own search ends after the first few objects.
Outcome Cards::FindAll(CK_OBJECT_CLASS objectClass, std::vector<CK_OBJECT_HANDLE>& handles) {
    CK_ATTRIBUTE wanted = {CKA_CLASS, &objectClass, sizeof(objectClass)};
    if (Velmor::CallP11(Proc_C_FindObjectsInit, m_hSession, &wanted, 1) != CKR_OK) {
        return FailureOf();
    }
    CK_OBJECT_HANDLE some[OBJECTS_AT_ONCE] = {};
    CK_ULONG found = 0;
    Outcome outcome;
    do {
        const CK_RV code = Velmor::CallP11(Proc_C_FindObjects, m_hSession, some, OBJECTS_AT_ONCE, &found);
        const bool isBeyondReason = found > OBJECTS_AT_ONCE || handles.size() + found > MOST_OBJECTS;
        if (code != CKR_OK || isBeyondReason) {
            outcome = FailureOf(Reason::ANSWER_BEYOND_REASON, "C_FindObjects");
        } else {
            handles.insert(handles.end(), some, some + found);
        }
    } while (outcome.IsDone() && found != 0);
    const CK_RV ended = Velmor::CallP11(Proc_C_FindObjectsFinal, m_hSession);
    return outcome.IsDone() && ended != CKR_OK ? FailureOf() : outcome;
}

int Cards::TriesLeft(Velmor::ApplType pin) {
    ReadATR(true);
    LoadCardType();
    Velmor::PINState state = Velmor::PIN_STATE_UNKNOWN;
    int tries = -1;
    return GetPINStatus(pin, state, tries) == 0 ? tries : -1;
}

Outcome FailureOf(Reason otherwise, const std::string& detail) {
    if (Interruption::HasCome()) {
        return Outcome(Reason::INTERRUPTED).WithSignal(Interruption::Signal());
    }
    if (!CallWitness::HasSeenFailure()) {
        return Outcome(otherwise, detail);
    }
    const std::string function = CallWitness::LastFunction();
    if (CallWitness::WasBeyondReason()) {
        return Outcome(Reason::ANSWER_BEYOND_REASON, function);
    }
    const Reason reason = ReasonOf(CallWitness::LastCode());
    if (reason != Reason::UNKNOWN_CODE) {
        return Outcome(reason, function);
    }
    std::ostringstream code;
    code << function << " 0x" << std::hex << CallWitness::LastCode();
    return Outcome(reason, code.str());
}

Outcome FailureOfPin(Cards& cards, Velmor::ApplType pin, Reason otherwise) {
    Outcome outcome = FailureOf(otherwise);
    return outcome.Why() == Reason::WRONG_PIN ? outcome.WithTries(cards.TriesLeft(pin)) : outcome;
}

CardSession::CardSession(Cards& cards, const CardRow& row) : m_Cards(cards) {
    CallWitness::Forget();
    m_IsOpen = m_Cards.OpenSession(row.m_Index, false);
}

CardSession::~CardSession() {
    Close();
}

void CardSession::Close() {
    if (m_IsOpen) {
        m_Cards.CloseSession();
    }
    m_IsOpen = false;
}

} // namespace orselcli
