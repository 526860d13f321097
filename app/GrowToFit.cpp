// SPDX-License-Identifier: MIT
#include "app/GrowToFit.h"

#include <wx/arrstr.h>
#include <wx/display.h>
#include <wx/imaglist.h>
#include <wx/listctrl.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/toplevel.h>

#include <algorithm>

namespace {

// What the generic list leaves free beside a text, and between the picture in front of it and the text.
constexpr int CELL_MARGIN = 8;
constexpr int PICTURE_MARGIN = 5;

class GrowingItem : public wxSizerItem {
public:
    using wxSizerItem::wxSizerItem;
    wxSize CalcMin() override {
        wxSizerItem::CalcMin();
        constexpr int RIM = 6; // above and below a line of text; controls like more, but do without it
        m_minSize.IncTo(wxSize(GetWindow()->GetBestSize().x, GetWindow()->GetCharHeight() + RIM));
        return GetMinSizeWithBorder();
    }
};

/// Of the display that the window is on; of the first before it is on any.
wxSize ScreenOf(const wxWindow& window) {
    const int number = wxDisplay::GetFromWindow(&window);
    return wxDisplay(number == wxNOT_FOUND ? 0U : static_cast<unsigned int>(number))
        .GetClientArea()
        .GetSize();
}

int WidthOfPicture(const wxListCtrl& list, long row, int column) {
    wxListItem item;
    item.SetId(row);
    item.SetColumn(column);
    item.SetMask(wxLIST_MASK_IMAGE);
    const wxImageList* pictures = list.GetImageList(wxIMAGE_LIST_SMALL);
    int width = 0;
    int height = 0;
    const bool hasPicture = pictures != nullptr && list.GetItem(item) && item.GetImage() >= 0 &&
                            pictures->GetSize(item.GetImage(), width, height);
    return hasPicture ? width + PICTURE_MARGIN : 0;
}

/// Labels on a card are filled up with blanks, which nobody misses.
int NeededByText(const wxListCtrl& list, wxString text) {
    return list.GetTextExtent(text.Trim()).x + CELL_MARGIN;
}

int NeededByColumn(const wxListCtrl& list, int column) {
    wxListItem header;
    header.SetMask(wxLIST_MASK_TEXT);
    list.GetColumn(column, header);
    int needed = NeededByText(list, header.GetText());
    for (long row = 0; row < list.GetItemCount(); ++row) {
        needed = std::max(needed, NeededByText(list, list.GetItemText(row, column)) +
                                      WidthOfPicture(list, row, column));
    }
    return needed;
}

/// As the window measures them: the drawing contexts of wxWidgets 3.0 know nothing of the screen's density.
wxSize RoomOfLines(const wxWindow& window, const wxString& text) {
    wxSize room;
    for (const wxString& line : wxSplit(text, '\n', '\0')) {
        const wxSize extent = window.GetTextExtent(line);
        room = wxSize(std::max(room.x, extent.x), room.y + std::max(extent.y, window.GetCharHeight()));
    }
    return room;
}

} // namespace

void GrowToFit(wxTopLevelWindow& window) {
    const wxSize before = window.GetSize();
    wxSize needed = window.GetSizer()->ComputeFittingWindowSize(&window);
    needed.IncTo(before);
    if (needed != before) {
        window.SetSize(needed);
    }
    window.Layout();
}

void Widen(wxTopLevelWindow& window, int pixels) {
    const int before = window.GetSize().x;
    const int after = std::min(before + pixels, std::max(before, ScreenOf(window).x));
    if (after > before && !window.IsMaximized() && !window.IsFullScreen()) {
        window.SetSize(after, window.GetSize().y);
    }
}

void AskForRoomOfText(wxStaticText& label) {
    wxSize room = RoomOfLines(label, label.GetLabelText());
    room.IncTo(label.GetBestSize());
    label.SetMinSize(room);
}

void GrowColumns(wxListCtrl& list) {
    for (int column = 0; column < list.GetColumnCount(); ++column) {
        const int needed = NeededByColumn(list, column);
        if (needed > list.GetColumnWidth(column)) {
            list.SetColumnWidth(column, needed);
        }
    }
}

int MissingForColumns(const wxListCtrl& list) {
    int width = 0;
    for (int column = 0; column < list.GetColumnCount(); ++column) {
        width += list.GetColumnWidth(column);
    }
    return std::max(0, width - list.GetClientSize().x);
}

wxSizerItem* NewGrowingItem(wxWindow* window, const wxSizerFlags& flags) {
    return new GrowingItem(window, flags);
}
