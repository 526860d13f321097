// SPDX-License-Identifier: MIT
// The main window with its controls in sight.
#ifndef ORSEL_TESTS_APP_PROBEDFRAME_H
#define ORSEL_TESTS_APP_PROBEDFRAME_H

#include "app/MainFrame.h"
#include "app/RefreshCardThread.h"
#include "card/tkPKCS11.h"

#include <wx/bmpbuttn.h>
#include <wx/button.h>
#include <wx/imaglist.h>
#include <wx/listctrl.h>
#include <wx/panel.h>
#include <wx/statbmp.h>
#include <wx/statbox.h>
#include <wx/stattext.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

class ProbedFrame : public MainFrame {
public:
    ProbedFrame() : MainFrame(nullptr) {}

    using MainFrame::bitmap_banner;
    using MainFrame::bitmap_status;
    using MainFrame::button_enc_change_pin;
    using MainFrame::button_enc_puk;
    using MainFrame::button_enc_show;
    using MainFrame::button_enc_test;
    using MainFrame::button_pers_change;
    using MainFrame::button_pers_puk;
    using MainFrame::button_pers_show;
    using MainFrame::button_reload;
    using MainFrame::button_sig_change_pin;
    using MainFrame::button_sig_puk;
    using MainFrame::button_sig_show_cert;
    using MainFrame::button_sig_test;
    using MainFrame::label_status;
    using MainFrame::list_cards;
    using MainFrame::m_chipImage;
    using MainFrame::m_fade;
    using MainFrame::m_fadeTimer;
    using MainFrame::m_imageList;
    using MainFrame::m_p11;
    using MainFrame::m_pleaseWait;
    using MainFrame::m_refreshThread;
    using MainFrame::m_startTimer;
    using MainFrame::panel_main;
    using MainFrame::panel_status_height;
    using MainFrame::panel_status_left;
    using MainFrame::panel_status_right;
    using MainFrame::sizer_enc_box;
    using MainFrame::sizer_pers_box;
    using MainFrame::sizer_sig_box;

    /// All controls that MyEnable switches, in its order, without the frame.
    std::vector<wxWindow*> Commands() {
        return {button_sig_change_pin,
                button_sig_puk,
                button_sig_show_cert,
                button_sig_test,
                button_enc_change_pin,
                button_enc_puk,
                button_enc_show,
                button_enc_test,
                button_pers_change,
                button_pers_puk,
                button_pers_show,
                button_reload,
                list_cards};
    }

    /// The texts of one row.
    std::vector<wxString> Row(long row) {
        return {list_cards->GetItemText(row, 0), list_cards->GetItemText(row, 1),
                list_cards->GetItemText(row, 2)};
    }
};

/// Owns a window and ends it at once, outside any of its handlers: the toolkit's own way waits for the next
/// idle time, and the next window of a test would find the token library still bound by this one.
struct DestroyWindow {
    void operator()(wxWindow* window) const { delete window; }
};
using FramePtr = std::unique_ptr<ProbedFrame, DestroyWindow>;

#endif
