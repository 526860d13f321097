// SPDX-License-Identifier: MIT
// The switch between stored plain and stored encrypted. What encryption means is the token's affair: here an
// entry's data object is rewritten with its CKA_PRIVATE attribute flipped.
#include "dialogs/InfoboxBereich.h"

#include <wx/button.h>
#include <wx/listbox.h>

#include "card/CardObjects.h"
#include "card/SessionGuard.h"

using LibInfobox::INFOBOX_ATTR_ENCRYPTED;
using Velmor::ByteArray;

/// The label says what the button will do. Attributes that are set, but not that of encryption, leave it.
void InfoboxBereich::LabelEncryptButton(unsigned char attributes) {
    if (attributes == 0) {
        button_encrypt->SetLabel(L"verschlüsselt speichern");
    } else if ((attributes & INFOBOX_ATTR_ENCRYPTED) != 0) {
        button_encrypt->SetLabel(L"unverschlüsselt speichern");
    }
}

void InfoboxBereich::evt_encrypt(wxCommandEvent& /*event*/) {
    const bool isToggled = ToggleProtection(TagOfRow(list_box->GetStringSelection()));
    if (!isToggled) {
        return;
    }
    SetContent(ByteArray(), CONTENT_NONE);
    m_LastSelection.clear();
    LoadInfobox(); // the container tells what has become of the entry; it is never written here
}

bool InfoboxBereich::ToggleProtection(unsigned char tag) {
    const Velmor::SessionGuard session(m_pP11, true); // closed also when none was opened
    unsigned char attributes = 0;
    ByteArray unused;
    CK_OBJECT_HANDLE object = 0;
    if (!m_InfoboxFS.GetEntry(tag, attributes, unused) || !FindDataObject(LabelOfTag(tag), true, object)) {
        return false;
    }
    ByteArray value = m_CachedContent;
    if (value.empty() && !ReadFirstBytes(object, value)) {
        return false;
    }
    // By the container, not by what the card says of the object.
    CK_BBOOL isPrivate = (attributes & INFOBOX_ATTR_ENCRYPTED) == 0 ? CK_TRUE : CK_FALSE;
    CK_ATTRIBUTE changes[] = {
        {CKA_VALUE, value.data(), value.size()},
        {CKA_PRIVATE, &isPrivate, sizeof(isPrivate)},
    };
    return Velmor::WriteAttributes(m_pP11->m_hSession, object, changes, 2) == CKR_OK;
}

/// Reads an object that was blank, in the open session. Four bytes are kept whatever its length: a blank
/// object is written back as four zero bytes.
bool InfoboxBereich::ReadFirstBytes(CK_OBJECT_HANDLE object, ByteArray& value) {
    static constexpr unsigned long KEPT = 4;
    Velmor::ObjectValue read;
    CK_BBOOL isPrivate = CK_FALSE;
    if (Velmor::ReadAttributes(
            m_pP11->m_hSession, object,
            {Velmor::Wanted(CKA_VALUE, read), Velmor::WantedNumber(CKA_PRIVATE, isPrivate)}) != CKR_OK) {
        return false;
    }
    value.clear();
    value.Add(read.m_Bytes, KEPT);
    return true;
}
