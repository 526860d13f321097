// SPDX-License-Identifier: MIT
// The switch between stored plain and stored encrypted. What encryption means is the token's affair: here an
// entry's data object is rewritten with its CKA_PRIVATE attribute flipped.
#include "dialogs/InfoboxBereich.h"

#include <wx/button.h>
#include <wx/listbox.h>

#include "card/CallP11.h"
#include "card/CardLimits.h"
#include "card/tkPKCS11.h"

using LibInfobox::INFOBOX_ATTR_ENCRYPTED;
using Velmor::ByteArray;
using Velmor::CallP11;
using Velmor::tkPKCS11;

/// The label says what the button will do. Attributes that are set, but not that of encryption, leave it.
void InfoboxBereich::LabelEncryptButton(unsigned char attributes) {
    if (attributes == 0)
        button_encrypt->SetLabel(L"verschlüsselt speichern");
    else if ((attributes & INFOBOX_ATTR_ENCRYPTED) != 0)
        button_encrypt->SetLabel(L"unverschlüsselt speichern");
}

void InfoboxBereich::evt_encrypt(wxCommandEvent& /*event*/) {
    const bool isToggled = ToggleProtection(TagOfRow(list_box->GetStringSelection()));
    m_pP11->CloseSession(); // also when none was opened
    if (!isToggled)
        return;
    SetContent(ByteArray(), CONTENT_NONE);
    m_LastSelection.clear();
    LoadInfobox(); // the container tells what has become of the entry; it is never written here
}

/// The session that it opens is left for the caller to close, whatever the result.
bool InfoboxBereich::ToggleProtection(unsigned char tag) {
    unsigned char attributes = 0;
    ByteArray unused;
    CK_OBJECT_HANDLE object = 0;
    if (!m_InfoboxFS.GetEntry(tag, attributes, unused) || !FindDataObject(LabelOfTag(tag), true, object))
        return false;
    ByteArray value = m_CachedContent;
    if (value.empty() && !ReadFirstBytes(object, value))
        return false;
    // By the container, not by what the card says of the object.
    CK_BBOOL isPrivate = (attributes & INFOBOX_ATTR_ENCRYPTED) == 0 ? CK_TRUE : CK_FALSE;
    CK_ATTRIBUTE changes[] = {
        {CKA_VALUE, value.data(), value.size()},
        {CKA_PRIVATE, &isPrivate, sizeof(isPrivate)},
    };
    return CallP11(tkPKCS11::Proc_C_SetAttributeValue, m_pP11->m_hSession, object, changes, 2) == CKR_OK;
}

/// Reads an object that was blank, in the open session. Four bytes are kept whatever its length: the object
/// shrinks to four zero bytes when it is written back, on purpose.
bool InfoboxBereich::ReadFirstBytes(CK_OBJECT_HANDLE object, ByteArray& value) {
    static constexpr unsigned long KEPT = 4;
    Velmor::ObjectValue read;
    CK_BBOOL isPrivate = CK_FALSE;
    CK_ATTRIBUTE asked[] = {
        {CKA_VALUE, read.bytes, sizeof(read.bytes)},
        {CKA_PRIVATE, &isPrivate, sizeof(isPrivate)},
    };
    if (CallP11(tkPKCS11::Proc_C_GetAttributeValue, m_pP11->m_hSession, object, asked, 2) != CKR_OK ||
        asked[0].ulValueLen > sizeof(read.bytes) || asked[1].ulValueLen > sizeof(isPrivate))
        return false;
    value.clear();
    value.Add(read.bytes, KEPT);
    return true;
}
