// SPDX-License-Identifier: MIT
#include "tests/e2e/Person.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "images/Images.h"
#include "tests/e2e/Answer.h"

namespace fs = std::filesystem;
using desktop::Point;
using testing::SizeIs;

// A certificate viewer that keeps what it is shown.
void APerson::SetUp() {
    const std::string viewer = m_Deck.Folder() + "/certViewerApp";
    std::ofstream(viewer) << "#!/bin/sh\ncp \"$1\" '" << Shown() << ".part' && mv '" << Shown() << ".part' '"
                          << Shown() << "'\n";
    fs::permissions(viewer, fs::perms::owner_all);
}

void APerson::TearDown() {
    if (m_Program == nullptr || HasFatalFailure()) {
        return;
    }
    Close();
    EXPECT_EQ(m_Program->Output(), "");
    EXPECT_THAT(m_Deck.GetTrace("C_Finalize"), SizeIs(1));
    EXPECT_EQ(Calls("C_OpenSession"), m_Deck.GetTrace("C_CloseSession").size());
}

// There may be no window yet: what counts is that the program has ended.
void APerson::Close() {
    EXPECT_TRUE(
        desktop::WaitFor([this] { return desktop::CloseAll(MAIN_WINDOW) && !m_Program->Runs(); }, 60));
    EXPECT_EQ(m_Program->WaitForEnd(), 0);
}

void APerson::Start(size_t cards, const std::string& configuration) {
    m_Program = std::make_unique<Program>(m_Deck.Folder(), configuration);
    ASSERT_TRUE(desktop::WaitFor([=] {
        return desktop::Screen::Capture().Find(chip_small_xpm).size() == cards;
    })) << m_Program->Output();
    // The buttons are enabled before the busy dialog goes.
    ASSERT_TRUE(desktop::WaitFor([] { return desktop::Windows("^(Bitte warten|Please wait)").empty(); }));
    const auto mainWindows = desktop::Windows(MAIN_WINDOW);
    ASSERT_THAT(mainWindows, SizeIs(1));
    m_MainWindow = mainWindows.front();
    const auto reload = desktop::Screen::Capture().Find(ButtonReload);
    ASSERT_THAT(reload, SizeIs(1));
    m_Reload = reload.front();
    PointAway();
    m_AtStart = desktop::Screen::Capture();
}

// --- Main window -------------------------------------------------------------------------------------------

// The places of everything hang on that of the reload button's picture.
Point APerson::PlaceOf(Column column, Row row) const {
    const int columns[] = {-619, -353, -89};
    const int rows[] = {89, 129, 175, 215};
    return {m_Reload.m_X + columns[column], m_Reload.m_Y + rows[row]};
}

/// Off every button, onto the banner.
void APerson::PointAway() const {
    desktop::PointAt({m_Reload.m_X - 353, m_Reload.m_Y - 300});
}

void APerson::PressOn(Column column, Row row) {
    desktop::Click(PlaceOf(column, row));
}

// Every command begins with the list of slots, which is not asked for at the end of any.
void APerson::Press(Column column, Row row) {
    const size_t before = m_Deck.GetTrace("C_GetSlotList").size();
    EXPECT_TRUE(ActUntil([=] { PressOn(column, row); },
                         [=] { return m_Deck.GetTrace("C_GetSlotList").size() > before; }));
}

void APerson::PressReload() {
    desktop::Click({m_Reload.m_X + 16, m_Reload.m_Y + 16});
}

void APerson::Open(Column column, Row row, const char* title) {
    Press(column, row);
    ASSERT_TRUE(WaitForWindow(title));
}

bool APerson::ButtonsAreReady() {
    PointAway();
    return desktop::WaitFor([this] {
        return desktop::Screen::Capture().LooksLike(m_AtStart, {m_Reload.m_X - 739, m_Reload.m_Y + 50},
                                                    {m_Reload.m_X + 40, m_Reload.m_Y + 235});
    });
}

// --- Any window --------------------------------------------------------------------------------------------

bool APerson::ActUntil(const std::function<void()>& act, const std::function<bool()>& hasEffect) {
    return desktop::ActUntil(m_MainWindow, act, hasEffect);
}

bool APerson::ClickIn(const char* title, Point place) {
    const auto corner = desktop::PlaceOf(title);
    if (corner) {
        desktop::Click({corner->m_X + place.m_X, corner->m_Y + place.m_Y});
    }
    return corner.has_value();
}

bool APerson::WaitForWindow(const char* title) {
    return desktop::WaitFor([=] { return !desktop::Windows(title).empty(); });
}

bool APerson::WaitForFocus(const char* title) {
    return desktop::WaitFor([=] {
        const auto all = desktop::Windows(title);
        return std::count(all.begin(), all.end(), desktop::OutputOf("xdotool getactivewindow 2>/dev/null")) >
               0;
    });
}

void APerson::CloseWindow(const char* title) {
    EXPECT_TRUE(desktop::CloseAll(title));
}

// The window may be off the screen for a moment, while it is first shown.
std::string APerson::TitleOf(const char* title) {
    std::string whole;
    desktop::WaitFor([&] {
        whole = desktop::OutputOf("xdotool search --onlyvisible --name '" + std::string(title) +
                                  "' getwindowname 2>/dev/null");
        return !whole.empty();
    });
    return whole;
}

// What was copied before is not taken for what the field shows: by its answer the window has copied, or it
// has lost the keys.
std::string APerson::TextIn(const char* title, Point place) {
    const auto all = desktop::Windows(title);
    if (all.empty()) {
        return "";
    }
    desktop::EmptyClipboard();
    ClickIn(title, place);
    desktop::Press("ctrl+a ctrl+c");
    desktop::WaitForAnswer(all.front());
    return desktop::Clipboard();
}

// The program stands still while it is photographed: the picture fades by the program's own clock, however
// long a photograph takes. Between two photographs it gets as far as to answer, else it might never come to
// show the picture on a busy machine.
bool APerson::Shows(const char* const* picture) {
    return desktop::WaitFor([=] {
        m_Program->Kill(SIGSTOP);
        const auto places = desktop::Screen::Capture().Find(picture);
        m_Program->Kill(SIGCONT);
        if (places.empty()) {
            desktop::WaitForAnswer(m_MainWindow);
        }
        return !places.empty();
    });
}

// --- Behind the screen -------------------------------------------------------------------------------------

size_t APerson::Calls(const char* function, const char* result) {
    const auto trace = m_Deck.GetTrace(function);
    return static_cast<size_t>(std::count_if(trace.begin(), trace.end(),
                                             [=](const auto& record) { return record.m_Result == result; }));
}

size_t APerson::Searches(const std::string& label) {
    const auto trace = m_Deck.GetTrace("C_FindObjectsInit");
    return static_cast<size_t>(std::count_if(trace.begin(), trace.end(), [&](const auto& record) {
        return record.Value("attributes") == "CKA_CLASS:CKO_DATA,CKA_LABEL:" + label;
    }));
}

bool APerson::WaitForCalls(const char* function, const char* result, size_t count) {
    return desktop::WaitFor([=] { return Calls(function, result) == count; });
}

std::string APerson::WhatTheViewerShows() {
    if (!desktop::WaitFor([this] { return fs::exists(Shown()); })) {
        return "";
    }
    std::ifstream file(Shown(), std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(file), {});
    fs::remove(Shown());
    return content;
}

std::string APerson::OnCard(const std::string& card, const char* label) {
    const auto bytes = m_Deck.ObjectContent(card, label);
    return std::string(bytes.begin(), bytes.end());
}
