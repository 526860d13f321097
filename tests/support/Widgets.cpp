// SPDX-License-Identifier: MIT
#include "tests/support/Widgets.h"

#include <gtk/gtk.h>
#include <wx/combobox.h>
#include <wx/imaglist.h>
#include <wx/listctrl.h>
#include <wx/window.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <set>

#include "tests/support/GuiTest.h"

namespace widgets {

namespace {

using Texts = std::vector<std::string>;
using Visit = std::function<void(GtkWidget*)>;

/// What the generic list leaves free beside a text, and beside the picture in front of it.
constexpr int CELL_MARGIN = 8;
constexpr int PICTURE_MARGIN = 5;
constexpr int ROUNDING = 1; ///< pixels that a text in the middle of a room of the same size may stand out

std::string Utf8Of(const wxString& text) {
    return std::string(text.utf8_str());
}

void VisitAll(GtkWidget* widget, const Visit& visit) {
    visit(widget);
    if (GTK_IS_CONTAINER(widget)) { // with the parts that it has made itself
        gtk_container_forall(
            GTK_CONTAINER(widget),
            [](GtkWidget* child, gpointer data) { VisitAll(child, *static_cast<const Visit*>(data)); },
            const_cast<Visit*>(&visit)); // the toolkit knows no constant data
    }
}

std::string Missing(const std::string& text, int needed, int room) {
    return "\"" + text + "\" needs " + std::to_string(needed) + " and has " + std::to_string(room);
}

/// Pixels of a widget's rectangle that lie outside one of the widgets around it.
int PixelsOutside(GtkWidget* widget, GdkRectangle part) {
    int outside = 0;
    for (GtkWidget* around = widget; around != nullptr; around = gtk_widget_get_parent(around)) {
        int x = 0;
        int y = 0;
        if (!gtk_widget_translate_coordinates(widget, around, part.x, part.y, &x, &y)) {
            break;
        }
        const int width = gtk_widget_get_allocated_width(around);
        const int height = gtk_widget_get_allocated_height(around);
        outside = std::max({outside, -x, -y, x + part.width - width, y + part.height - height});
    }
    return outside;
}

void LookAtLabel(GtkLabel* label, Texts& cut) {
    const std::string text = gtk_label_get_text(label);
    PangoLayout* layout = gtk_label_get_layout(label);
    GdkRectangle part = {};
    pango_layout_get_pixel_size(layout, &part.width, &part.height);
    gtk_label_get_layout_offsets(label, &part.x, &part.y);
    GtkAllocation allocation;
    gtk_widget_get_allocation(GTK_WIDGET(label), &allocation);
    part.x -= allocation.x;
    part.y -= allocation.y;
    const int outside = PixelsOutside(GTK_WIDGET(label), part);
    if (!text.empty() && (pango_layout_is_ellipsized(layout) || outside > ROUNDING)) {
        cut.push_back(Missing(text, part.width, part.width - outside));
    }
}

/// A list with rows of the toolkit's own scrolls sideways when a row is too long.
void LookAtRows(GtkTreeView* rows, Texts& cut) {
    GtkAdjustment* across = gtk_scrollable_get_hadjustment(GTK_SCROLLABLE(rows));
    const int needed = static_cast<int>(gtk_adjustment_get_upper(across));
    const int room = static_cast<int>(gtk_adjustment_get_page_size(across));
    if (needed > room) {
        cut.push_back(Missing("rows", needed, room));
    }
}

/// What is chosen in a list that drops down stands in a field.
void LookAtField(GtkEntry* field, Texts& cut) {
    int width = 0;
    int height = 0;
    pango_layout_get_pixel_size(gtk_entry_get_layout(field), &width, &height);
    GdkRectangle room;
    gtk_entry_get_text_area(field, &room);
    if (width > room.width) {
        cut.push_back(Missing(gtk_entry_get_text(field), width, room.width));
    }
    const int outside = PixelsOutside(GTK_WIDGET(field), {0, room.y + (room.height - height) / 2, 1, height});
    if (outside > ROUNDING) {
        cut.push_back(
            Missing(std::string("height of ") + gtk_entry_get_text(field), height, height - outside));
    }
}

void LookAtWidget(GtkWidget* widget, Texts& cut) {
    if (!gtk_widget_get_mapped(widget)) {
        return;
    }
    if (GTK_IS_LABEL(widget)) {
        LookAtLabel(GTK_LABEL(widget), cut);
    } else if (GTK_IS_TREE_VIEW(widget)) {
        LookAtRows(GTK_TREE_VIEW(widget), cut);
    } else if (GTK_IS_ENTRY(widget)) {
        LookAtField(GTK_ENTRY(widget), cut);
    }
}

int NeededByCell(const wxListCtrl& list, long row, int column) {
    wxListItem item;
    item.SetId(row);
    item.SetColumn(column);
    item.SetMask(wxLIST_MASK_IMAGE);
    list.GetItem(item);
    wxImageList* pictures = list.GetImageList(wxIMAGE_LIST_SMALL);
    int picture = 0;
    int height = 0;
    if (pictures != nullptr && item.GetImage() >= 0 && pictures->GetSize(item.GetImage(), picture, height)) {
        picture += PICTURE_MARGIN;
    }
    return list.GetTextExtent(list.GetItemText(row, column).Trim()).x + CELL_MARGIN + picture;
}

/// Where a list draws its columns: GetClientSize() may leave out a scroll bar that lies over them.
int RoomForColumns(const wxListCtrl& list) {
    return gtk_widget_get_allocated_width(gtk_bin_get_child(GTK_BIN(list.GetHandle())));
}

void LookAtList(const wxListCtrl& list, Texts& cut) {
    int all = 0;
    for (int column = 0; column < list.GetColumnCount(); ++column) {
        const int room = list.GetColumnWidth(column);
        all += room;
        wxListItem header;
        header.SetMask(wxLIST_MASK_TEXT);
        list.GetColumn(column, header);
        const int needed = list.GetTextExtent(header.GetText()).x + CELL_MARGIN;
        if (needed > room) {
            cut.push_back(Missing(Utf8Of(header.GetText()), needed, room));
        }
        const long rows =
            list.IsVirtual() && column > 0 ? 0 : list.GetItemCount(); // other values are any length
        for (long row = 0; row < rows; ++row) {
            const int neededHere = NeededByCell(list, row, column);
            if (neededHere > room) {
                cut.push_back(Missing(Utf8Of(list.GetItemText(row, column)), neededHere, room));
            }
        }
    }
    if (all > RoomForColumns(list)) {
        cut.push_back(Missing("columns", all, RoomForColumns(list)));
    }
}

void LookAtLists(const wxWindow& window, Texts& cut) {
    if (const auto* list = dynamic_cast<const wxListCtrl*>(&window)) {
        LookAtList(*list, cut);
    }
    for (const wxWindow* child : window.GetChildren()) {
        if (!child->IsTopLevel()) {
            LookAtLists(*child, cut);
        }
    }
}

} // namespace

std::vector<std::string> CutTexts(const wxWindow& window) {
    Texts cut;
    VisitAll(window.GetHandle(), [&cut](GtkWidget* widget) { LookAtWidget(widget, cut); });
    LookAtLists(window, cut);
    return cut;
}

/// What a list has made for itself, such as the button of a header that nobody sees.
static bool IsPart(GtkWidget* widget) {
    GtkWidget* around = gtk_widget_get_parent(widget);
    return around != nullptr && gtk_widget_get_ancestor(around, GTK_TYPE_TREE_VIEW) != nullptr;
}

bool IsUp(const wxWindow& window) {
    return gtk_widget_get_mapped(window.GetHandle()) != FALSE;
}

std::vector<std::string> NamesOfFocusable(const wxWindow& window) {
    Texts names;
    std::set<GtkWidget*> seen; // the field of a list that drops down is come by twice
    VisitAll(window.GetHandle(), [&names, &seen](GtkWidget* widget) {
        if (seen.insert(widget).second && gtk_widget_get_can_focus(widget) && gtk_widget_get_mapped(widget) &&
            !GTK_IS_WINDOW(widget) && !IsPart(widget)) {
            const char* name = atk_object_get_name(gtk_widget_get_accessible(widget));
            names.emplace_back(name != nullptr ? name : "");
        }
    });
    return names;
}

std::string DescriptionOf(const wxWindow& control) {
    std::string found;
    VisitAll(control.GetHandle(), [&found](GtkWidget* widget) {
        const char* text = atk_object_get_description(gtk_widget_get_accessible(widget));
        found = found.empty() && text != nullptr ? text : found;
    });
    return found;
}

bool HasAnnouncements() {
    return g_signal_lookup("announcement", ATK_TYPE_OBJECT) != 0;
}

std::vector<std::string> HeardDuring(const wxWindow& window, const std::function<void()>& action) {
    Texts heard;
    VisitAll(window.GetHandle(), [&heard](GtkWidget* widget) {
        AtkObject* object = gtk_widget_get_accessible(widget);
        g_signal_connect(object, "state-change::showing",
                         G_CALLBACK(+[](AtkObject*, const char*, gboolean isSet, gpointer data) {
                             if (isSet != FALSE) {
                                 static_cast<Texts*>(data)->emplace_back("showing");
                             }
                         }),
                         &heard);
        if (HasAnnouncements()) {
            g_signal_connect(object, "announcement",
                             G_CALLBACK(+[](AtkObject*, const char* text, gpointer data) {
                                 static_cast<Texts*>(data)->emplace_back(text);
                             }),
                             &heard);
        }
    });
    action();
    VisitAll(window.GetHandle(), [&heard](GtkWidget* widget) {
        g_signal_handlers_disconnect_by_data(gtk_widget_get_accessible(widget), &heard);
    });
    return heard;
}

/// The toolkit of the older release ends the program when pixels are asked for that a window's surface still
/// has to draw. The call that GTK now wants instead leads to another surface.
static void Flush(GdkWindow* window) {
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    const std::unique_ptr<cairo_t, decltype(&cairo_destroy)> drawing(gdk_cairo_create(window),
                                                                     &cairo_destroy);
    G_GNUC_END_IGNORE_DEPRECATIONS
    cairo_surface_flush(cairo_get_target(drawing.get()));
}

wxImage PictureOf(const wxWindow& window) {
    GtkWidget* widget = window.GetHandle();
    GtkWidget* top = gtk_widget_get_toplevel(widget);
    if (gtk_widget_get_window(top) == nullptr) {
        return wxImage();
    }
    Flush(gtk_widget_get_window(top));
    int x = 0;
    int y = 0;
    gtk_widget_translate_coordinates(widget, top, 0, 0, &x, &y);
    const int width = gtk_widget_get_allocated_width(widget);
    const int height = gtk_widget_get_allocated_height(widget);
    const std::unique_ptr<GdkPixbuf, decltype(&g_object_unref)> picture(
        gdk_pixbuf_get_from_window(gtk_widget_get_window(top), x, y, width, height), &g_object_unref);
    if (picture == nullptr) {
        return wxImage();
    }
    const guint8* pixels = gdk_pixbuf_read_pixels(picture.get());
    const int stride = gdk_pixbuf_get_rowstride(picture.get());
    const int channels = gdk_pixbuf_get_n_channels(picture.get());
    wxImage image(width, height, false);
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const guint8* pixel = pixels + row * stride + column * channels;
            image.SetRGB(column, row, pixel[0], pixel[1], pixel[2]);
        }
    }
    return image;
}

std::string RoleOf(const wxWindow& window) {
    return atk_role_get_name(atk_object_get_role(gtk_widget_get_accessible(window.GetHandle())));
}

std::optional<wxPoint> PlaceOfOpenMenu() {
    GtkWidget* menu = gtk_grab_get_current();
    if (menu == nullptr || !GTK_IS_MENU(menu) || !gtk_widget_get_mapped(menu)) {
        return std::nullopt;
    }
    int x = 0;
    int y = 0;
    gdk_window_get_origin(gtk_widget_get_window(gtk_widget_get_toplevel(menu)), &x, &y);
    return wxPoint(x, y);
}

bool TakesColourAtOnce(const wxWindow& control) {
    const std::unique_ptr<GtkCssProvider, decltype(&g_object_unref)> theme(gtk_css_provider_new(),
                                                                           &g_object_unref);
    gtk_css_provider_load_from_data(
        theme.get(), "* { color: black; transition: color 60s linear } :hover { color: white }", -1, nullptr);
    GdkScreen* const screen = gtk_widget_get_screen(control.GetHandle());
    gtk_style_context_add_provider_for_screen(screen, GTK_STYLE_PROVIDER(theme.get()),
                                              GTK_STYLE_PROVIDER_PRIORITY_SETTINGS);
    RunFor(100); // all are black now, or on their way to it
    VisitAll(control.GetHandle(),
             [](GtkWidget* part) { gtk_widget_set_state_flags(part, GTK_STATE_FLAG_PRELIGHT, FALSE); });
    RunFor(100);
    bool isWhite = true;
    VisitAll(control.GetHandle(), [&isWhite](GtkWidget* part) {
        GtkStyleContext* const style = gtk_widget_get_style_context(part);
        GdkRGBA colour = {};
        gtk_style_context_get_color(style, gtk_style_context_get_state(style), &colour);
        isWhite = isWhite && colour.red > 0.99;
    });
    VisitAll(control.GetHandle(),
             [](GtkWidget* part) { gtk_widget_unset_state_flags(part, GTK_STATE_FLAG_PRELIGHT); });
    gtk_style_context_remove_provider_for_screen(screen, GTK_STYLE_PROVIDER(theme.get()));
    return isWhite;
}

void UseTheme(const std::string& name, bool isDark) {
    g_object_set(gtk_settings_get_default(), "gtk-theme-name", name.c_str(),
                 "gtk-application-prefer-dark-theme", static_cast<gboolean>(isDark), nullptr);
}

void UseFont(const std::string& name, int dotsPerInch) {
    constexpr int UNITS = 1024; // of the setting
    g_object_set(gtk_settings_get_default(), "gtk-font-name", name.c_str(), "gtk-xft-dpi",
                 dotsPerInch * UNITS, nullptr);
}

} // namespace widgets
