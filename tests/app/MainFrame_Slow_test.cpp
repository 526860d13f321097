// SPDX-License-Identifier: MIT
// A card that takes ten seconds for one call, within each command of the window.
#include "tests/app/WindowCommands.h"

#include <wx/timer.h>

using testing::IsEmpty;
using testing::Not;

namespace {

constexpr long MILLISECONDS = 10000;
constexpr int BEAT_MS = 50;

/// Beats in the window's event loop, and notes whether the window says meanwhile that it is busy.
class Heart : public wxTimer {
public:
    explicit Heart(const ProbedFrame& frame) : m_Frame(frame) { Start(BEAT_MS); }
    void Notify() override {
        if (m_Frame.m_refreshThread != nullptr) {
            ++m_Beats;
            m_BusyBeats += m_Frame.m_pleaseWait.IsShown() && !m_Frame.IsThisEnabled() ? 1 : 0;
        }
    }

    long m_Beats = 0; ///< during a refresh
    long m_BusyBeats = 0;

private:
    const ProbedFrame& m_Frame;
};

class ACommandOfASlowCard : public ACommandOfTheWindow {};

INSTANTIATE_TEST_SUITE_P(Commands, ACommandOfASlowCard, testing::ValuesIn(WindowCommands()),
                         [](const auto& command) { return command.param.m_Name; });

} // namespace

// The refresh alone works beside the window. The others hold it up, as the question for a PIN does, and lose
// nothing.
TEST_P(ACommandOfASlowCard, LosesNothing) {
    const Heart heart(*m_Frame);
    EXPECT_EQ(RunAnew({"C_GetSlotList call=1 delay=" + std::to_string(MILLISECONDS)}), GetParam().m_Done);
    const auto calls = m_Deck.GetTrace("C_GetSlotList"); // with which every command begins
    ASSERT_THAT(calls, Not(IsEmpty()));
    EXPECT_GE(calls.front().m_Microseconds, MILLISECONDS * 1000);
    EXPECT_EQ(heart.m_BusyBeats, heart.m_Beats);
    if (GetParam().m_Button == ID_RELOAD) {
        EXPECT_GT(heart.m_Beats, 10); // of two hundred, on a machine that has nothing else to do
    }
    ExpectAlive();
    EXPECT_EQ(RunAgain(), GetParam().m_Done);
    ExpectAlive();
}
