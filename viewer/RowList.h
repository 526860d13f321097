// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_ROWLIST_H
#define ORSEL_VIEWER_ROWLIST_H

#include <vector>

#include <wx/listctrl.h>

#include "viewer/Row.h"

/// Shows rows in two columns, labels and values. Asks for a row's text only when the row comes into sight,
/// and for no more of it than a line can show.
class RowList : public wxListCtrl {
public:
    /// The rows stay the caller's and must outlive the list.
    RowList(wxWindow* parent, int id, const std::vector<viewer::Row>& rows);

    /// The selected row, or null.
    const viewer::Row* Selected() const;
    void Select(long row);

protected:
    wxString OnGetItemText(long item, long column) const override;
    wxListItemAttr* OnGetItemAttr(long item) const override;

private:
    void evt_Size(wxSizeEvent& event);
    int WidthOfLabels() const;
    int WidthOfLabel(const viewer::Row& row) const;

    const std::vector<viewer::Row>& m_Rows;
    mutable wxListItemAttr m_HeadingLook; ///< the list asks for it as something that it might change

    wxDECLARE_EVENT_TABLE();
};

#endif
