// SPDX-License-Identifier: MIT
// From the card to the list.
#include "dialogs/InfoboxBereich.h"

#include <wx/app.h>
#include <wx/button.h>
#include <wx/listbox.h>

#include <algorithm>
#include <cstdio>

#include "card/CardLabels.h"
#include "card/CardObjects.h"
#include "card/SessionGuard.h"

using Velmor::ByteArray;

/// How far a data object is looked at to tell whether it is blank.
static constexpr size_t BLANK_SPAN = 128;

static std::string TwoHexDigits(unsigned char number) {
    char digits[3];
    std::snprintf(digits, sizeof(digits), "%02x", number);
    return digits;
}

/// Label of the data object of a container's entry, such as "0x0a".
std::string InfoboxBereich::LabelOfTag(unsigned char tag) {
    return "0x" + TwoHexDigits(tag);
}

void InfoboxBereich::evt_OnTimer(wxTimerEvent& /*event*/) {
    MyEnable(false);
    const bool isModal = IsModal();
    wxYield(); // draws it disabled
    if (isModal && !IsModal()) {
        return; // closed meanwhile: the card is not read for a dialog that nobody sees
    }
    m_pP11->GetTokenInfo(static_cast<unsigned long>(m_nSlot), m_TokenInfo);
    button_encrypt->Enable(false);
    if (m_TokenInfo.m_HasInfobox) {
        m_bInfoboxKonzept = true;
        LoadInfobox();
    } else {
        list_box->Insert(L"Personenbindung", 0);
        list_box->Insert(LibInfobox::RFU1_LABEL, 1);
        list_box->Insert(LibInfobox::RFU2_LABEL, 2);
    }
    MakeRoomForRows();
    MyEnable(true);
    button_close->SetFocus(); // disabling took it from whatever had it; in the list it would select a row
    if (list_box->GetCount() == 0) {
        ShowNoPersB();
    }
}

bool InfoboxBereich::LoadInfobox() {
    list_box->Clear();
    ByteArray file;
    if (!LoadInfoboxData(Velmor::INFOBOX_LABEL, file)) {
        return false;
    }
    m_InfoboxFS.Clear();
    if (!m_InfoboxFS.ParseInfoboxData(file)) {
        return false;
    }
    unsigned int position = 0;
    for (const unsigned char tag : m_InfoboxFS.GetTagList()) {
        std::string label = m_InfoboxFS.TagToLabel(tag);
        if (label.empty()) {
            label = "Unbekannt";
        }
        list_box->Insert(wxString::FromUTF8((TwoHexDigits(tag) + " " + label).c_str()), position++);
    }
    list_box->DeselectAll();
    button_encrypt->Enable(false);
    return true;
}

static bool IsBlank(const ByteArray& bytes) {
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), BLANK_SPAN));
    return std::all_of(bytes.begin(), end, [](unsigned char byte) { return byte == 0; });
}

bool InfoboxBereich::LoadInfoboxData(std::string label, ByteArray& out) {
    m_CachedContent.clear();
    const bool isRead = ReadDataObject(label, out);
    if (isRead && IsBlank(out)) {
        out.clear();
    }
    if (!out.empty()) {
        m_CachedContent = out;
    }
    return isRead;
}

bool InfoboxBereich::ReadDataObject(const std::string& label, ByteArray& out) {
    const Velmor::SessionGuard session(m_pP11, true); // closed also after a failed open
    CK_OBJECT_HANDLE object = 0;
    if (!FindDataObject(label, false, object)) {
        return false;
    }
    Velmor::ObjectValue value;
    if (Velmor::ReadAttributes(m_pP11->m_hSession, object, {Velmor::Wanted(CKA_VALUE, value)}) != CKR_OK) {
        return false;
    }
    out.clear();
    out.Add(value.m_Bytes, value.m_Length);
    return true;
}

/// Opens a session and finds the first data object with this label. The caller closes the session, whatever
/// the result.
bool InfoboxBereich::FindDataObject(const std::string& label, bool readWrite, CK_OBJECT_HANDLE& object) {
    Velmor::ObjectTemplate wanted(CKO_DATA, CKA_LABEL, label);
    Velmor::FoundObjects found;
    if (!m_pP11->OpenSession(m_nSlot, readWrite) || !m_pP11->Search(wanted, found)) {
        return false;
    }
    object = found.First();
    return !found.empty();
}
