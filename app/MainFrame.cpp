// SPDX-License-Identifier: MIT
// Construction and layout of the main window.
#include "app/MainFrame.h"

#include <wx/bmpbuttn.h>
#include <wx/button.h>
#include <wx/icon.h>
#include <wx/image.h>
#include <wx/imaglist.h>
#include <wx/listctrl.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/statbox.h>
#include <wx/stattext.h>

#include <initializer_list>
#include <utility>

#include "app/ControlIds.h"
#include "app/I18N.h"
#include "app/RefreshCardThread.h"
#include "app/wxHelper.h"
#include "card/tkPKCS11.h"
#include "foundation/Config.h"
#include "foundation/ProgramConfig.h"
#include "images/Banner.h"
#include "images/Images.h"

const std::string EMPTY_CARD = Velmor::EMPTY_SERIAL;

// clang-format off
wxBEGIN_EVENT_TABLE(MainFrame, wxFrame)
    EVT_BUTTON(ID_SIG_CHANGE_PIN, MainFrame::evt_sig_change_pin)
    EVT_BUTTON(ID_SIG_PUK, MainFrame::evt_sig_puk)
    EVT_BUTTON(ID_SIG_SHOW_CERT, MainFrame::evt_sig_show_cert)
    EVT_BUTTON(ID_SIG_TEST, MainFrame::evt_sig_test)
    EVT_BUTTON(ID_ENC_CHANGE_PIN, MainFrame::evt_enc_change_pin)
    EVT_BUTTON(ID_ENC_PUK, MainFrame::evt_enc_puk)
    EVT_BUTTON(ID_ENC_SHOW, MainFrame::evt_enc_show)
    EVT_BUTTON(ID_ENC_TEST, MainFrame::evt_enc_test)
    EVT_BUTTON(ID_PERS_CHANGE, MainFrame::evt_pers_change)
    EVT_BUTTON(ID_PERS_PUK, MainFrame::evt_pers_puk)
    EVT_BUTTON(ID_PERS_SHOW, MainFrame::evt_pers_show)
    EVT_BUTTON(ID_RELOAD, MainFrame::evt_reload)
    EVT_TIMER(ID_START_TIMER, MainFrame::evt_OnTimer)
    EVT_TIMER(ID_FADE_TIMER, MainFrame::evt_OnFadeOut)
    EVT_LIST_ITEM_SELECTED(ID_CARD_LIST, MainFrame::evt_ItemSelected)
    EVT_LIST_ITEM_RIGHT_CLICK(ID_CARD_LIST, MainFrame::evt_ItemRightClick)
    EVT_LIST_ITEM_ACTIVATED(ID_CARD_LIST, MainFrame::evt_ItemDoubleClick)
    EVT_LIST_KEY_DOWN(ID_CARD_LIST, MainFrame::evt_ListKeyDown)
    EVT_MENU(ID_THREAD_FINISHED, MainFrame::evt_ThreadFinished)
wxEND_EVENT_TABLE()
// clang-format on

/// The rows' images. The list control does not own them, and they live as long as the process.
static wxImageList* NewChipImages(int& chipImage) {
    auto* images = new wxImageList(31, 22, true, 1);
    chipImage = images->Add(wxIcon(chip_small_xpm));
    return images;
}

MainFrame::MainFrame(wxWindow* parent)
    : wxFrame(parent, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxDEFAULT_FRAME_STYLE),
      m_pleaseWait(this, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE) {
    m_pleaseWait.Show(false);
    m_pleaseWait.Centre(wxBOTH);
    std::string version;
    Velmor::Config::GetHandle()->GetString(Velmor::KEY_VERSION, version);

    CreateControls();
    set_properties();
    do_layout();
    m_imageList = NewChipImages(m_chipImage);
    list_cards->SetImageList(m_imageList, wxIMAGE_LIST_NORMAL);
    list_cards->SetImageList(m_imageList, wxIMAGE_LIST_SMALL);
    bitmap_status->Show(false);
    label_status->Show(false);
    SetIcon(Velmor::IconOf(IconXpm));
    SetTitle(FullTitle(version));
    CreateColumns();
    BindKeys();
    NameControls();

    m_p11 = new Velmor::tkPKCS11;
    SetStatus("", false);
    m_fadeTimer.SetOwner(this, ID_FADE_TIMER);
    m_startTimer.SetOwner(this, ID_START_TIMER);
    m_startTimer.Start(2, wxTIMER_ONE_SHOT); // the first refresh runs with the window already shown
}

MainFrame::~MainFrame() {
    m_fadeTimer.Stop();
    JoinedWorker(); // a window that goes during a refresh takes its worker along
    const std::unique_ptr<Velmor::tkPKCS11> card(std::exchange(m_p11, nullptr));
    if (card != nullptr) {
        card->destroy();
    }
}

bool MainFrame::ProcessEvent(wxEvent& event) {
    if (m_IsToGo && m_EventsInWork == 0) {
        return false; // a handler that lets the toolkit work would find its window gone
    }
    ++m_EventsInWork;
    const bool isProcessed = wxFrame::ProcessEvent(event);
    --m_EventsInWork;
    if (m_IsToGo && m_EventsInWork == 0) {
        wxFrame::Destroy();
    }
    return isProcessed;
}

bool MainFrame::Destroy() {
    m_IsToGo = true;
    return m_EventsInWork > 0 || wxFrame::Destroy();
}

static wxPanel* NewPanel(wxWindow* parent) {
    return new wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_NONE);
}

static wxButton* NewButton(wxWindow* parent, int id, const char* label) {
    return new wxButton(parent, id, Translate(label), wxDefaultPosition, wxDefaultSize, 0);
}

/// VelmorBanner. An image asks for memory that it may write to; this one lends its pixels to the bitmap
/// alone, which copies them.
static wxBitmap BannerBitmap() {
    const wxImage image(BANNER_WIDTH, BANNER_HEIGHT, const_cast<unsigned char*>(BANNER_PIXELS), true);
    return wxBitmap(image);
}

void MainFrame::CreateControls() {
    panel_main = NewPanel(this);
    sizer_enc_box = new wxStaticBox(panel_main, wxID_ANY, Translate("Geheimhaltungszertifikat"));
    sizer_pers_box = new wxStaticBox(panel_main, wxID_ANY, Translate("Infoboxbereich"));
    sizer_sig_box = new wxStaticBox(panel_main, wxID_ANY, Translate("Signaturzertifikat"));
    bitmap_banner = new wxStaticBitmap(panel_main, wxID_ANY, BannerBitmap());
    list_cards = new wxListCtrl(panel_main, ID_CARD_LIST, wxDefaultPosition, wxDefaultSize,
                                wxLC_REPORT | wxLC_SINGLE_SEL | wxSUNKEN_BORDER);
    button_reload = new wxBitmapButton(panel_main, ID_RELOAD, wxBitmap(ButtonReload), wxDefaultPosition,
                                       wxDefaultSize, 0);

    button_sig_change_pin = NewButton(panel_main, ID_SIG_CHANGE_PIN, "6 stellige PIN ändern");
    button_sig_puk = NewButton(panel_main, ID_SIG_PUK, "6 stellige PIN entsperren");
    button_sig_show_cert = NewButton(panel_main, ID_SIG_SHOW_CERT, "Zertifikat anzeigen");
    button_sig_test = NewButton(panel_main, ID_SIG_TEST, "Signatur testen");
    button_enc_change_pin = NewButton(panel_main, ID_ENC_CHANGE_PIN, "4 stellige PIN ändern");
    button_enc_puk = NewButton(panel_main, ID_ENC_PUK, "4 stellige PIN entsperren");
    button_enc_show = NewButton(panel_main, ID_ENC_SHOW, "Zertifikat anzeigen");
    button_enc_test = NewButton(panel_main, ID_ENC_TEST, "Signatur testen");
    button_pers_change = NewButton(panel_main, ID_PERS_CHANGE, "4 stellige PIN ändern");
    button_pers_puk = NewButton(panel_main, ID_PERS_PUK, "4 stellige PIN entsperren");
    button_pers_show = NewButton(panel_main, ID_PERS_SHOW, "Infobox anzeigen");

    bitmap_status = new wxStaticBitmap(panel_main, wxID_ANY, wxNullBitmap);
    label_status = new wxStaticText(panel_main, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize,
                                    wxALIGN_CENTRE);
    panel_status_left = NewPanel(panel_main);
    panel_status_right = NewPanel(panel_main);
    panel_status_height = NewPanel(panel_main);
}

void MainFrame::set_properties() {
    SetTitle(Translate("Kartenverwaltung"));
    SetMinSize(wxSize(800, 600));
    button_reload->SetSize(button_reload->GetBestSize());
    bitmap_status->SetMinSize(wxSize(32, 32));
    panel_status_height->SetSize(wxSize(1, 32));
    panel_status_height->SetMinSize(wxSize(1, 32)); // the size alone is lost at the first layout
}

/// One column of buttons. Gaps of 6 pixels between them come from the flags of each position.
static wxStaticBoxSizer* ButtonColumn(wxStaticBox* box, std::initializer_list<wxButton*> buttons) {
    constexpr int FLAGS[] = {wxALL, wxLEFT | wxRIGHT | wxBOTTOM, wxLEFT | wxRIGHT | wxTOP, wxALL};
    auto* column = new wxStaticBoxSizer(box, wxVERTICAL);
    const int* flags = FLAGS;
    for (wxButton* button : buttons) {
        column->Add(button, 0, wxEXPAND | *flags++, 6);
    }
    return column;
}

void MainFrame::do_layout() {
    auto* list = new wxBoxSizer(wxHORIZONTAL);
    list->Add(list_cards, 1, wxEXPAND | wxTOP | wxLEFT, 6);
    list->Add(button_reload, 0, wxALIGN_BOTTOM | wxLEFT | wxRIGHT, 6);

    auto* commands = new wxBoxSizer(wxHORIZONTAL);
    commands->Add(ButtonColumn(sizer_sig_box, {button_sig_change_pin, button_sig_puk, button_sig_show_cert,
                                               button_sig_test}),
                  1, wxEXPAND | wxALL, 12);
    commands->Add(ButtonColumn(sizer_enc_box,
                               {button_enc_change_pin, button_enc_puk, button_enc_show, button_enc_test}),
                  1, wxEXPAND | wxALL, 12);
    commands->Add(ButtonColumn(sizer_pers_box, {button_pers_change, button_pers_puk, button_pers_show}), 1,
                  wxEXPAND | wxALL, 12);

    auto* status = new wxBoxSizer(wxHORIZONTAL);
    status->Add(panel_status_left, 1, wxEXPAND, 0);
    status->Add(bitmap_status, 0, wxALL, 0);
    status->Add(label_status, 0, wxALIGN_CENTER_VERTICAL | wxRESERVE_SPACE_EVEN_IF_HIDDEN, 6);
    status->Add(panel_status_right, 1, wxEXPAND, 0);
    status->Add(panel_status_height, 0, 0, 0);

    auto* panel = new wxBoxSizer(wxVERTICAL);
    panel->Add(bitmap_banner, 0, wxALIGN_CENTER, 0);
    panel->Add(list, 1, wxEXPAND, 0);
    panel->Add(commands, 0, wxEXPAND, 0);
    panel->Add(status, 0, wxALL | wxALIGN_CENTER_HORIZONTAL, 3);
    panel_main->SetSizer(panel);

    auto* frame = new wxBoxSizer(wxVERTICAL);
    frame->Add(panel_main, 1, wxEXPAND, 0);
    SetSizer(frame);
    frame->Fit(this);
    Layout();
    Centre(wxBOTH);
}

/// "name (version, arch)". The architecture is a fixed word that does not follow the processor.
wxString MainFrame::FullTitle(const std::string& version) {
    const wxString name = Translate("Kartenverwaltung");
    const wxString arch = Translate("x86");
    const wxString decoded = wxString::FromUTF8(version.c_str()); // empty for bytes that are no UTF-8
    if (decoded.empty()) {
        return wxString::Format("%s (%s)", name, arch);
    }
    return wxString::Format("%s (%s, %s)", name, decoded, arch);
}

void MainFrame::CreateColumns() {
    list_cards->InsertColumn(0, Translate("Kartennummer"), wxLIST_FORMAT_LEFT, 170);
    list_cards->InsertColumn(1, Translate("Ausgestellt für"), wxLIST_FORMAT_LEFT, 350);
    list_cards->InsertColumn(2, Translate("Kartentyp"), wxLIST_FORMAT_LEFT, 190);
}

void MainFrame::MyEnable(bool enable) {
    for (wxWindow* const control : std::initializer_list<wxWindow*>{
             button_sig_change_pin,
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
             list_cards,
             this,
         }) {
        if (control == nullptr) {
            break; // those behind a control that is missing stay as they are
        }
        control->Enable(enable);
    }
    if (!enable) {
        return;
    }
    wxListEvent event;
    evt_ItemSelected(event);
}
