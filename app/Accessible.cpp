// SPDX-License-Identifier: MIT
#include "app/Accessible.h"

#include <gtk/gtk.h>
#include <wx/listctrl.h>

#include <memory>

namespace {

/// The widget inside that takes the focus, such as a text view between its scrollbars; null without one.
GtkWidget* FocusableIn(GtkWidget* widget) {
    const bool canFocus = gtk_widget_get_can_focus(widget) && !GTK_IS_SCROLLED_WINDOW(widget);
    if (canFocus || !GTK_IS_CONTAINER(widget)) {
        return canFocus ? widget : nullptr;
    }
    GtkWidget* found = nullptr;
    gtk_container_forall(
        GTK_CONTAINER(widget),
        [](GtkWidget* child, gpointer data) {
            auto& first = *static_cast<GtkWidget**>(data);
            first = first != nullptr ? first : FocusableIn(child);
        },
        &found);
    return found;
}

/// A list that drops down is one stop: its arrow, which the keys do without, would be another.
void LeaveOutArrow(GtkWidget* widget, gpointer /*data*/) {
    if (GTK_IS_TOGGLE_BUTTON(widget)) {
        gtk_widget_set_can_focus(widget, FALSE);
    } else if (GTK_IS_CONTAINER(widget)) {
        gtk_container_forall(GTK_CONTAINER(widget), &LeaveOutArrow, nullptr);
    }
}

/// Styles a widget and all that is inside it with this GtkCssProvider.
void Style(GtkWidget* widget, gpointer provider) {
    gtk_style_context_add_provider(gtk_widget_get_style_context(widget), GTK_STYLE_PROVIDER(provider),
                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    if (GTK_IS_CONTAINER(widget)) {
        gtk_container_forall(GTK_CONTAINER(widget), &Style, provider);
    }
}

/// Belongs to the widget.
AtkObject* ObjectOf(const wxWindow& window) {
    GtkWidget* const widget = window.GetHandle();
    GtkWidget* const focusable = FocusableIn(widget);
    return gtk_widget_get_accessible(focusable != nullptr ? focusable : widget);
}

} // namespace

/// Scrollbars around a control are no stop of their own.
void SetAccessibleName(wxWindow& window, const wxString& name) {
    if (GTK_IS_SCROLLED_WINDOW(window.GetHandle())) {
        gtk_widget_set_can_focus(window.GetHandle(), FALSE);
    } else if (GTK_IS_COMBO_BOX(window.GetHandle())) {
        LeaveOutArrow(window.GetHandle(), nullptr);
    }
    atk_object_set_name(ObjectOf(window), name.utf8_str());
}

void SetAccessibleDescription(wxWindow& window, const wxString& text) {
    atk_object_set_description(ObjectOf(window), text.utf8_str());
}

void MarkAsDecoration(wxWindow& window) {
    if (GtkWidget* const focusable = FocusableIn(window.GetHandle())) {
        gtk_widget_set_can_focus(focusable, FALSE);
    }
    atk_object_set_role(gtk_widget_get_accessible(window.GetHandle()), ATK_ROLE_FILLER);
}

void MarkAsNotice(wxWindow& window) {
    atk_object_set_role(gtk_widget_get_accessible(window.GetHandle()),
                        window.IsTopLevel() ? ATK_ROLE_ALERT : ATK_ROLE_NOTIFICATION);
}

/// Readers of before ATK 2.46, which has a signal for it, take a notice that comes into sight.
void Announce(wxWindow& window, const wxString& text) {
    AtkObject* const object = ObjectOf(window);
    if (g_signal_lookup("announcement", ATK_TYPE_OBJECT) != 0) {
        g_signal_emit_by_name(object, "announcement", static_cast<const char*>(text.utf8_str()));
    }
    if (atk_object_get_role(object) == ATK_ROLE_NOTIFICATION) {
        atk_object_notify_state_change(object, ATK_STATE_SHOWING, TRUE);
    }
}

/// It has taken the window off its list by now, so that the end is no news to it.
void ForgetShowings(wxWindow& dialog) {
    g_signal_handlers_disconnect_matched(
        dialog.GetHandle(), static_cast<GSignalMatchType>(G_SIGNAL_MATCH_ID | G_SIGNAL_MATCH_DATA),
        g_signal_lookup("destroy", GTK_TYPE_WIDGET), 0, nullptr, nullptr, atk_get_root());
}

/// The arrow takes its colour from the button around it, so that each part has to do without.
void LeaveOutFades(wxWindow& control) {
    const std::unique_ptr<GtkCssProvider, decltype(&g_object_unref)> provider(gtk_css_provider_new(),
                                                                              &g_object_unref);
    gtk_css_provider_load_from_data(provider.get(), "* { transition: none }", -1, nullptr);
    Style(control.GetHandle(), provider.get());
}

/// The generic list makes it before the part with the headers.
wxWindow& FocusedPartOf(wxListCtrl& list) {
    return list.GetChildren().empty() ? list : *list.GetChildren().front();
}
