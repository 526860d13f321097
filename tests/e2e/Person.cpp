// SPDX-License-Identifier: MIT
#include "tests/e2e/Person.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
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
    const std::string viewer = m_deck.folder() + "/certViewerApp";
    std::ofstream(viewer) << "#!/bin/sh\ncp \"$1\" '" << Shown() << ".part' && mv '" << Shown() << ".part' '"
                          << Shown() << "'\n";
    fs::permissions(viewer, fs::perms::owner_all);
    m_oldPath = std::getenv("PATH");
    setenv("PATH", (m_deck.folder() + ":" + m_oldPath).c_str(), 1);
    setenv("TMPDIR", m_deck.folder().c_str(), 1);
}

void APerson::TearDown() {
    setenv("PATH", m_oldPath.c_str(), 1);
    unsetenv("TMPDIR");
    if (m_program == nullptr || HasFatalFailure())
        return;
    Close();
    EXPECT_EQ(m_program->output(), "");
    EXPECT_THAT(m_deck.trace("C_Finalize"), SizeIs(1));
    EXPECT_EQ(Calls("C_OpenSession"), m_deck.trace("C_CloseSession").size());
}

// A window may be off the screen for a moment while it is first shown: what counts is that the program has
// ended.
void APerson::Close() {
    EXPECT_TRUE(
        desktop::waitFor([this] { return desktop::closeAll(MAIN_WINDOW) && !m_program->runs(); }, 60));
    EXPECT_EQ(m_program->waitForEnd(), 0);
}

void APerson::Start(size_t cards, const std::string& configuration) {
    m_program = std::make_unique<Program>(m_deck.folder(), configuration);
    ASSERT_TRUE(desktop::waitFor([=] {
        return desktop::Screen::capture().find(chip_small_xpm).size() == cards;
    })) << m_program->output();
    // The buttons are enabled before the busy dialog goes.
    ASSERT_TRUE(desktop::waitFor([] { return desktop::windows("^(Bitte warten|Please wait)").empty(); }));
    const auto mainWindows = desktop::windows(MAIN_WINDOW);
    ASSERT_THAT(mainWindows, SizeIs(1));
    m_mainWindow = mainWindows.front();
    const auto reload = desktop::Screen::capture().find(ButtonReload);
    ASSERT_THAT(reload, SizeIs(1));
    m_reload = reload.front();
    PointAway();
    m_atStart = desktop::Screen::capture();
}

// --- Main window -------------------------------------------------------------------------------------------

// The places of everything hang on that of the reload button's picture.
Point APerson::PlaceOf(Column column, Row row) const {
    const int columns[] = {-619, -353, -89};
    const int rows[] = {89, 129, 175, 215};
    return {m_reload.x + columns[column], m_reload.y + rows[row]};
}

/// Off every button, onto the banner.
void APerson::PointAway() const {
    desktop::pointAt({m_reload.x - 353, m_reload.y - 300});
}

void APerson::PressOn(Column column, Row row) {
    desktop::click(PlaceOf(column, row));
}

// Every command begins with the list of slots, which is not asked for at the end of any.
void APerson::Press(Column column, Row row) {
    const size_t before = m_deck.trace("C_GetSlotList").size();
    EXPECT_TRUE(ActUntil([=] { PressOn(column, row); },
                         [=] { return m_deck.trace("C_GetSlotList").size() > before; }));
}

void APerson::PressReload() {
    desktop::click({m_reload.x + 16, m_reload.y + 16});
}

void APerson::Open(Column column, Row row, const char* title) {
    Press(column, row);
    ASSERT_TRUE(WaitForWindow(title));
}

bool APerson::ButtonsAreReady() {
    PointAway();
    return desktop::waitFor([this] {
        return desktop::Screen::capture().looksLike(m_atStart, {m_reload.x - 739, m_reload.y + 50},
                                                    {m_reload.x + 40, m_reload.y + 235});
    });
}

// --- Any window --------------------------------------------------------------------------------------------

bool APerson::ActUntil(const std::function<void()>& act, const std::function<bool()>& hasEffect) {
    return desktop::actUntil(m_mainWindow, act, hasEffect);
}

bool APerson::ClickIn(const char* title, Point place) {
    const auto corner = desktop::placeOf(title);
    if (corner)
        desktop::click({corner->x + place.x, corner->y + place.y});
    return corner.has_value();
}

bool APerson::WaitForWindow(const char* title) {
    return desktop::waitFor([=] { return !desktop::windows(title).empty(); });
}

bool APerson::WaitForFocus(const char* title) {
    return desktop::waitFor([=] {
        const auto all = desktop::windows(title);
        return std::count(all.begin(), all.end(), desktop::outputOf("xdotool getactivewindow 2>/dev/null")) >
               0;
    });
}

void APerson::CloseWindow(const char* title) {
    EXPECT_TRUE(desktop::closeAll(title));
}

std::string APerson::TitleOf(const char* title) {
    return desktop::outputOf("xdotool search --onlyvisible --name '" + std::string(title) +
                             "' getwindowname 2>/dev/null");
}

// What was copied before is not taken for what the field shows: by its answer the window has copied, or it
// has lost the keys.
std::string APerson::TextIn(const char* title, Point place) {
    const auto all = desktop::windows(title);
    if (all.empty())
        return "";
    desktop::emptyClipboard();
    ClickIn(title, place);
    desktop::press("ctrl+a ctrl+c");
    desktop::waitForAnswer(all.front());
    return desktop::clipboard();
}

// The program stands still while it is photographed: the picture fades by the program's own clock, however
// long a photograph takes. Between two photographs it gets as far as to answer, else it might never come to
// show the picture on a busy machine.
bool APerson::Shows(const char* const* picture) {
    return desktop::waitFor([=] {
        m_program->kill(SIGSTOP);
        const auto places = desktop::Screen::capture().find(picture);
        m_program->kill(SIGCONT);
        if (places.empty()) {
            desktop::waitForAnswer(m_mainWindow);
        }
        return !places.empty();
    });
}

// --- Behind the screen -------------------------------------------------------------------------------------

size_t APerson::Calls(const char* function, const char* result) {
    const auto trace = m_deck.trace(function);
    return static_cast<size_t>(std::count_if(trace.begin(), trace.end(),
                                             [=](const auto& record) { return record.result == result; }));
}

size_t APerson::Searches(const std::string& label) {
    const auto trace = m_deck.trace("C_FindObjectsInit");
    return static_cast<size_t>(std::count_if(trace.begin(), trace.end(), [&](const auto& record) {
        return record.value("attributes") == "CKA_CLASS:CKO_DATA,CKA_LABEL:" + label;
    }));
}

bool APerson::WaitForCalls(const char* function, const char* result, size_t count) {
    return desktop::waitFor([=] { return Calls(function, result) == count; });
}

std::string APerson::WhatTheViewerShows() {
    if (!desktop::waitFor([this] { return fs::exists(Shown()); }))
        return "";
    std::ifstream file(Shown(), std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(file), {});
    fs::remove(Shown());
    return content;
}

std::string APerson::OnCard(const std::string& card, const char* label) {
    const auto bytes = m_deck.objectContent(card, label);
    return std::string(bytes.begin(), bytes.end());
}
