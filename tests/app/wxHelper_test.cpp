// SPDX-License-Identifier: MIT
#include "app/wxHelper.h"

#include <wx/app.h>
#include <wx/image.h>

#include <clocale>
#include <thread>

#include "tests/support/GuiTest.h"

namespace {

/// Remembers the menu event that it got and on which thread.
class Receiver : public wxEvtHandler {
public:
    Receiver() {
        Bind(wxEVT_MENU, [this](wxCommandEvent& event) {
            m_Id = event.GetId();
            m_Number = event.GetInt();
            m_Thread = std::this_thread::get_id();
        });
    }
    int m_Id = 0;
    int m_Number = 0;
    std::thread::id m_Thread;
};

const char* const NOTHING_AND_RED[] = {"2 1 2 1", ". c None", "r c #FF0000", ".r"};

/// Two points: one that is not seen, one that is red.
void ExpectNothingAndRed(const wxImage& picture) {
    ASSERT_TRUE(picture.HasAlpha());
    EXPECT_EQ(0, picture.GetAlpha(0, 0));
    EXPECT_EQ(255, picture.GetAlpha(1, 0));
    EXPECT_EQ(255, picture.GetRed(1, 0));
    EXPECT_EQ(0, picture.GetGreen(1, 0));
    EXPECT_EQ(0, picture.GetBlue(1, 0));
}

/// Puts another C locale in force while it stands.
class ScopedLocale {
public:
    explicit ScopedLocale(const char* name) : m_Old(std::setlocale(LC_ALL, nullptr)) {
        std::setlocale(LC_ALL, name);
    }
    ~ScopedLocale() { std::setlocale(LC_ALL, m_Old.c_str()); }

private:
    std::string m_Old;
};

} // namespace

TEST(wxHelper, SendEventIsHandledLaterOnTheMainThreadAlsoFromAnother) {
    Receiver receiver;
    std::thread([&receiver] { Velmor::SendEvent(&receiver, 5453); }).join();
    EXPECT_EQ(receiver.m_Id, 0);
    ASSERT_TRUE(RunUntil([&receiver] { return receiver.m_Id != 0; }));
    EXPECT_EQ(receiver.m_Id, 5453);
    EXPECT_EQ(receiver.m_Number, -1);
    EXPECT_EQ(receiver.m_Thread, std::this_thread::get_id());
}

TEST(wxHelper, ProcessEventIsHandledAtOnce) {
    Receiver receiver;
    Velmor::ProcessEvent(&receiver, 5460);
    EXPECT_EQ(receiver.m_Id, 5460);
    EXPECT_EQ(receiver.m_Number, -1);
}

TEST(wxHelper, PicturesAndIconsAreTransparentByAnAlphaPlane) {
    ExpectNothingAndRed(Velmor::PictureOf(NOTHING_AND_RED).ConvertToImage());
    ExpectNothingAndRed(Velmor::IconOf(NOTHING_AND_RED).ConvertToImage());
}

TEST(wxHelper, TextBecomesUtf8InAUtf8Locale) {
    const ScopedLocale locale("C.UTF-8");
    EXPECT_EQ(Velmor::WxStr2MB(Utf8("Grüße")), "Grüße");
    EXPECT_EQ(Velmor::WxStr2MB(""), "");
    EXPECT_EQ(Velmor::WxStr2Locale(Utf8("Grüße")), "Grüße");
    EXPECT_EQ(Velmor::WxStr2Locale(""), "");
}

TEST(wxHelper, TextThatTheCLocaleCannotHoldBecomesEmpty) {
    const ScopedLocale locale("C");
    EXPECT_EQ(Velmor::WxStr2MB(Utf8("Grüße")), "");
    EXPECT_EQ(Velmor::WxStr2MB("Gruss"), "Gruss");
}

TEST(wxHelper, WhatIsNoCharacterBecomesEmpty) {
    const ScopedLocale locale("C.UTF-8");
    const wxString half(L"a\xD800");
    EXPECT_EQ(Velmor::WxStr2Locale(half), "");
    EXPECT_EQ(Velmor::WxStr2MB(half), "");
}

TEST(wxHelper, OnlyTheLocalFormKeepsZeroBytes) {
    const ScopedLocale locale("C.UTF-8");
    const wxString text("a\0b", 3);
    EXPECT_EQ(Velmor::WxStr2Locale(text), std::string("a\0b", 3));
    EXPECT_EQ(Velmor::WxStr2MB(text), "a");
    EXPECT_EQ(Velmor::WxStr2Ascii(text), "a");
}

TEST(wxHelper, AsciiTextStaysAsItIs) {
    EXPECT_EQ(Velmor::WxStr2Ascii("Karte 7"), "Karte 7");
    EXPECT_EQ(Velmor::WxStr2Ascii(""), "");
}

TEST(wxHelper, WhatIsBeyondAsciiBecomesAnUnderscore) {
    EXPECT_EQ(Velmor::WxStr2Ascii(Utf8("Grüße \u20AC")), "Gr__e _");
}
