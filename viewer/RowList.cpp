// SPDX-License-Identifier: MIT
#include "viewer/RowList.h"

#include <algorithm>

#include "app/I18N.h"
#include "viewer/VisibleText.h"

using viewer::Row;

namespace {

constexpr std::size_t LONGEST_VALUE = 200; ///< bytes of a value that a line shows
constexpr int LEAST_VALUE_WIDTH = 200;
constexpr int BORDER = 4; ///< pixels that are left free on the right, or there would be a scrollbar
constexpr int GAP = 24;   ///< pixels that the list needs around a column's text
constexpr int MOST_LABELS = 500;
const char* const INDENTATION = "    ";

} // namespace

// clang-format off
wxBEGIN_EVENT_TABLE(RowList, wxListCtrl)
    EVT_SIZE(RowList::evt_Size)
wxEND_EVENT_TABLE()
// clang-format on

RowList::RowList(wxWindow* parent, int id, const std::vector<Row>& rows)
    : wxListCtrl(parent, id, wxDefaultPosition, wxDefaultSize,
                 wxLC_REPORT | wxLC_VIRTUAL | wxLC_SINGLE_SEL | wxSUNKEN_BORDER),
      m_Rows(rows) {
    m_HeadingLook.SetFont(GetFont().Bold());
    InsertColumn(0, Translate("Feld"), wxLIST_FORMAT_LEFT, WidthOfLabels());
    InsertColumn(1, Translate("Wert"), wxLIST_FORMAT_LEFT, LEAST_VALUE_WIDTH);
    SetItemCount(static_cast<long>(rows.size()));
}

const Row* RowList::Selected() const {
    const long row = GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED);
    return row >= 0 && row < static_cast<long>(m_Rows.size()) ? &m_Rows[static_cast<std::size_t>(row)]
                                                              : nullptr;
}

void RowList::Select(long row) {
    constexpr long STATE = wxLIST_STATE_SELECTED | wxLIST_STATE_FOCUSED;
    SetItemState(row, STATE, STATE);
    EnsureVisible(row);
}

wxString RowList::OnGetItemText(long item, long column) const {
    const Row& row = m_Rows[static_cast<std::size_t>(item)];
    if (column == 0) {
        return row.IsHeading() ? row.Label() : INDENTATION + row.Label();
    }
    return viewer::FromUtf8(row.Value(LONGEST_VALUE));
}

wxListItemAttr* RowList::OnGetItemAttr(long item) const {
    return m_Rows[static_cast<std::size_t>(item)].IsHeading() ? &m_HeadingLook : nullptr;
}

/// The values get all the room that the labels leave.
void RowList::evt_Size(wxSizeEvent& event) {
    event.Skip();
    SetColumnWidth(1, std::max(LEAST_VALUE_WIDTH, GetClientSize().x - GetColumnWidth(0) - BORDER));
}

int RowList::WidthOfLabel(const Row& row) const {
    if (!row.IsHeading()) {
        return GetTextExtent(INDENTATION + row.Label()).x;
    }
    const wxFont font = m_HeadingLook.GetFont();
    int width = 0;
    int height = 0;
    GetTextExtent(row.Label(), &width, &height, nullptr, nullptr, &font);
    return width;
}

/// Measured on no more labels than a window shows in a while: the rest are alike or cut.
int RowList::WidthOfLabels() const {
    constexpr int WIDEST = 320; // and more only for a large font
    constexpr int LETTERS = 40;
    int width = 0;
    int count = 0;
    const wxString* last = nullptr;
    for (const Row& row : m_Rows) {
        if (last != nullptr && *last == row.Label()) {
            continue;
        }
        if (++count > MOST_LABELS) {
            break;
        }
        last = &row.Label();
        width = std::max(width, WidthOfLabel(row));
    }
    return std::min(width, std::max(WIDEST, LETTERS * GetCharWidth())) + GAP;
}
