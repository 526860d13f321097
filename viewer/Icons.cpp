// SPDX-License-Identifier: MIT
#include "viewer/Icons.h"

#include <algorithm>
#include <functional>
#include <memory>

#include <wx/brush.h>
#include <wx/graphics.h>
#include <wx/icon.h>
#include <wx/image.h>
#include <wx/pen.h>

namespace viewer {

namespace {

// Red, green, blue.
constexpr unsigned int SHEET = 0xfdfbf4;
constexpr unsigned int SHEET_RIM = 0x134a8a;
constexpr unsigned int PRINT = 0x8fa9c4;
constexpr unsigned int SEAL = 0xd98f1e;

wxColour Colour(unsigned int rgb) {
    const auto part = [rgb](unsigned int shift) { return static_cast<unsigned char>(rgb >> shift & 0xffU); };
    return {part(16), part(8), part(0)};
}

constexpr double GRID = 32; ///< the pictures are told on a grid of 32 by 32

/// Draws on a transparent picture of this size.
wxImage Draw(int size, const std::function<void(wxGraphicsContext&)>& drawing) {
    wxImage image(size, size);
    image.InitAlpha();
    std::fill_n(image.GetAlpha(), size * size, wxIMAGE_ALPHA_TRANSPARENT);
    {
        const std::unique_ptr<wxGraphicsContext> context(wxGraphicsContext::Create(image));
        context->Scale(size / GRID, size / GRID);
        drawing(*context);
    }
    return image;
}

wxColour ColourOf(Validity validity) {
    switch (validity) {
    case Validity::VALID:
        return Colour(0x2c8a3e);
    case Validity::EXPIRED:
        return Colour(0xc02b2b);
    case Validity::NOT_YET_VALID:
        return Colour(0x1f66b5);
    default:
        return Colour(0x8a6a12);
    }
}

void Line(wxGraphicsContext& context, std::initializer_list<wxPoint2DDouble> points) {
    wxGraphicsPath path = context.CreatePath();
    path.MoveToPoint(*points.begin());
    for (const wxPoint2DDouble& point : points) {
        path.AddLineToPoint(point);
    }
    context.StrokePath(path);
}

void QuestionMark(wxGraphicsContext& context) {
    wxGraphicsPath path = context.CreatePath();
    path.MoveToPoint(11.5, 12.5);
    path.AddCurveToPoint(11.5, 5.5, 20.5, 5.5, 20.5, 12);
    path.AddCurveToPoint(20.5, 15.5, 16, 15.5, 16, 19);
    context.StrokePath(path);
    Line(context, {{16, 24.2}, {16, 24.4}});
}

void Sign(wxGraphicsContext& context, Validity validity) {
    switch (validity) {
    case Validity::VALID:
        Line(context, {{9, 16.5}, {14, 21.5}, {23, 11}});
        break;
    case Validity::EXPIRED:
        Line(context, {{11, 11}, {21, 21}});
        Line(context, {{21, 11}, {11, 21}});
        break;
    case Validity::NOT_YET_VALID:
        Line(context, {{16, 8.5}, {16, 16.5}, {21.5, 19.5}});
        break;
    default:
        QuestionMark(context);
    }
}

void Sheet(wxGraphicsContext& context) {
    context.SetBrush(wxBrush(Colour(SHEET)));
    context.SetPen(wxPen(Colour(SHEET_RIM), 2));
    context.DrawRoundedRectangle(2, 5, 28, 21, 2);
    context.SetPen(wxPen(Colour(PRINT), 2));
    Line(context, {{6, 10.5}, {26, 10.5}});
    Line(context, {{6, 15}, {17, 15}});
    Line(context, {{6, 19.5}, {14, 19.5}});
    context.SetPen(*wxTRANSPARENT_PEN);
    context.SetBrush(wxBrush(Colour(SEAL)));
    wxGraphicsPath ribbons = context.CreatePath();
    ribbons.MoveToPoint(18.5, 21);
    ribbons.AddLineToPoint(18.5, 31);
    ribbons.AddLineToPoint(22, 28.5);
    ribbons.AddLineToPoint(25.5, 31);
    ribbons.AddLineToPoint(25.5, 21);
    context.FillPath(ribbons);
    context.DrawEllipse(17, 14.5, 10, 10);
    context.SetBrush(wxBrush(Colour(SHEET)));
    context.DrawEllipse(20, 17.5, 4, 4);
}

} // namespace

wxBitmap StateIcon(Validity validity, int size) {
    return wxBitmap(Draw(size, [validity](wxGraphicsContext& context) {
        context.SetPen(*wxTRANSPARENT_PEN);
        context.SetBrush(wxBrush(ColourOf(validity)));
        context.DrawEllipse(1, 1, 30, 30);
        wxPen pen(*wxWHITE, 4);
        pen.SetCap(wxCAP_ROUND);
        pen.SetJoin(wxJOIN_ROUND);
        context.SetPen(pen);
        context.SetBrush(*wxTRANSPARENT_BRUSH);
        Sign(context, validity);
    }));
}

wxIconBundle WindowIcons() {
    wxIconBundle icons;
    for (const int size : {16, 32, 48}) {
        wxIcon icon;
        icon.CopyFromBitmap(wxBitmap(Draw(size, Sheet)));
        icons.AddIcon(icon);
    }
    return icons;
}

} // namespace viewer
