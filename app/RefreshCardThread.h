// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_REFRESHCARDTHREAD_H
#define ORSEL_APP_REFRESHCARDTHREAD_H

#include "card/tkPKCS11.h"

#include <wx/thread.h>
#include <wx/window.h>

#include <memory>
#include <vector>

/// One row of the card list.
struct ListEntryData {
    wxString cardNumber; ///< the token's serial; the key by which a row finds its slot again
    wxString holder;     ///< common name of the certificate's subject, or "unbekannt"
    wxString cardType;
    Velmor::TokenType tokenType = static_cast<Velmor::TokenType>(Velmor::TOKEN_TYPE_COUNT);
};

/// Reads all cards once, off the main thread, and posts ID_THREAD_FINISHED to the parent when done. There is
/// no lock: from its start until the parent has joined it, it alone uses the card access object.
class RefreshCardThread : public wxThread {
public:
    /// Neither parent, which receives the event, nor p11 is owned.
    RefreshCardThread(wxWindow* parent, Velmor::tkPKCS11* p11);

    /// The rows in slot order; to be called after the join.
    std::vector<std::shared_ptr<ListEntryData>> GetList();

    /// Creates and runs the thread.
    wxThreadError Start();

protected:
    void* Entry() override;
    /// Builds the rows. A slot whose session does not open gets none.
    void DoWork(std::vector<Velmor::SlotStruct*> slots);

private:
    wxWindow* m_parent;
    Velmor::tkPKCS11* m_p11;
    std::vector<std::shared_ptr<ListEntryData>> m_list;
};

#endif
