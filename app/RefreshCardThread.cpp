// SPDX-License-Identifier: MIT
#include "app/RefreshCardThread.h"

#include "app/ControlIds.h"
#include "app/OrselCardsLogger.h"
#include "app/wxHelper.h"
#include "card/CardLimits.h"
#include "card/SessionGuard.h"
#include "formats/slCertificate.h"
#include "foundation/Logging.h"

using Velmor::SlotStruct;
using Velmor::TokenInfoStruct2;

// A fixed word that no catalogue replaces.
static const wchar_t* const HOLDER_UNKNOWN = L"unbekannt";

RefreshCardThread::RefreshCardThread(wxWindow* parent, Velmor::tkPKCS11* p11)
    : wxThread(wxTHREAD_JOINABLE), m_parent(parent), m_p11(p11) {}

wxThreadError RefreshCardThread::Start() {
    const wxThreadError created = Create();
    if (created != wxTHREAD_NO_ERROR) {
        return created;
    }
    SetPriority(50);
    return Run();
}

std::vector<std::shared_ptr<ListEntryData>> RefreshCardThread::GetList() {
    return m_list;
}

void* RefreshCardThread::Entry() {
    std::vector<SlotStruct*> slots;
    if (m_p11->GetSlots(slots, true)) {
        DoWork(slots);
    } else {
        OrselCardsLogger::GetHandle()->LogError("Error pkcs#11 GetSlots");
    }
    Velmor::SendEvent(m_parent, ID_THREAD_FINISHED);
    return nullptr;
}

/// Common name of the subject of the card's encryption certificate, in the open session; the fixed word where
/// there is no certificate that can be read.
static wxString HolderOf(Velmor::tkPKCS11& card) {
    unsigned char buffer[Velmor::MAX_OBJECT_VALUE]; // what a certificate is read through: it always fits
    unsigned long size = sizeof(buffer);
    Velmor::slCertificate certificate;
    const bool hasCertificate = card.LoadSigningCertificate(false) &&
                                card.GetSigningCertificate(buffer, size) &&
                                certificate.LoadFromBuffer(buffer, static_cast<unsigned int>(size));
    return hasCertificate ? wxString::FromUTF8(certificate.GetSubjectCN().c_str()) : wxString(HOLDER_UNKNOWN);
}

static wxString CardTypeText(const TokenInfoStruct2& info, const wxString& label) {
    const int type = info.m_TokenType;
    return type >= 0 && type < Velmor::TOKEN_TYPE_COUNT ? wxString(Velmor::CARD_TYPE_TEXTS[type]) : label;
}

void RefreshCardThread::DoWork(std::vector<SlotStruct*> slots) {
    for (size_t i = 0; i < slots.size(); ++i) {
        const Velmor::SessionGuard session(m_p11, m_p11->OpenSession(static_cast<int>(i), false));
        if (!session.IsOpen()) {
            OrselCardsLogger::GetHandle()->LogError("Error open pkcs#11 session");
            continue;
        }
        const wxString holder = HolderOf(*m_p11);
        auto row = std::make_shared<ListEntryData>();
        const wxString label = wxString::FromUTF8(slots[i]->m_Label.c_str());
        TokenInfoStruct2 info;
        row->cardType = m_p11->GetTokenInfo(i, info) ? CardTypeText(info, label) : label;
        row->cardNumber = wxString::FromUTF8(slots[i]->m_Serial.c_str());
        row->tokenType = info.m_TokenType;
        row->holder = holder;
        m_list.push_back(row);
    }
}
