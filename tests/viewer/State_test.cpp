// SPDX-License-Identifier: MIT
#include "viewer/State.h"

#include <limits>

#include <gtest/gtest.h>

#include "tests/support/CertificateBuilder.h"
#include "tests/support/ScopedVariable.h"
#include "viewer/VisibleText.h"

using viewer::Validity;

namespace {

constexpr std::time_t DAY = 86400;
constexpr std::time_t FROM = 1451649600;  // 2016-01-01 12:00:00 UTC
constexpr std::time_t UNTIL = 1767268800; // 2026-01-01 12:00:00 UTC

void ExpectState(std::time_t now, Validity validity, const std::string& sentence) {
    const viewer::State state = viewer::StateAt(CertificateBuilder().Wrapped(), now);
    EXPECT_EQ(static_cast<int>(validity), static_cast<int>(state.m_Validity)) << sentence;
    EXPECT_EQ(sentence, viewer::ToUtf8(state.m_Sentence));
}

} // namespace

TEST(State, OfAValidOneTellsHowLongItStillIs) {
    ExpectState(FROM, Validity::VALID, "Gültig, noch über 10 Jahre");
    ExpectState(UNTIL - 731 * DAY, Validity::VALID, "Gültig, noch über 2 Jahre");
    ExpectState(UNTIL - 730 * DAY, Validity::VALID, "Gültig, noch 730 Tage");
    ExpectState(UNTIL - 2 * DAY, Validity::VALID, "Gültig, noch 2 Tage");
    ExpectState(UNTIL - 2 * DAY + 1, Validity::VALID, "Gültig, noch einen Tag");
    ExpectState(UNTIL - DAY + 1, Validity::VALID, "Gültig, aber weniger als einen Tag");
    ExpectState(UNTIL, Validity::VALID, "Gültig, aber weniger als einen Tag");
}

TEST(State, OfAnExpiredOneTellsSinceWhen) {
    ExpectState(UNTIL + 1, Validity::EXPIRED, "Seit heute abgelaufen");
    ExpectState(UNTIL + DAY, Validity::EXPIRED, "Abgelaufen seit einem Tag");
    ExpectState(UNTIL + 12 * DAY, Validity::EXPIRED, "Abgelaufen seit 12 Tagen");
    ExpectState(UNTIL + 730 * DAY, Validity::EXPIRED, "Abgelaufen seit 730 Tagen");
    ExpectState(UNTIL + 9 * (365 * DAY), Validity::EXPIRED, "Abgelaufen seit über 9 Jahren");
}

TEST(State, OfAFutureOneTellsFromWhenOnInLocalTime) {
    const ScopedVariable zone("TZ", "CET-1");
    ExpectState(FROM - 1, Validity::NOT_YET_VALID, "Noch nicht gültig: gültig ab 01.01.2016, 13:00:00 CET");
}

TEST(State, OfAnUnreadablePeriodSaysSo) {
    for (const char* text : {"", "x", "999999999999Z"}) {
        const auto certificate = CertificateBuilder().ValidFrom(V_ASN1_UTCTIME, text).Wrapped();
        const viewer::State state = viewer::StateAt(certificate, FROM);
        EXPECT_EQ("Der Gültigkeitszeitraum ist nicht lesbar", viewer::ToUtf8(state.m_Sentence)) << text;
    }
    const auto endless = CertificateBuilder().ValidTo(V_ASN1_UTCTIME, "x").Wrapped();
    EXPECT_EQ(Validity::UNREADABLE, viewer::StateAt(endless, FROM).m_Validity);
}

TEST(LocalTime, FollowsTheZoneAndItsSummerTime) {
    const ScopedVariable zone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ("01.01.2016, 13:00:00 CET", viewer::LocalTime(FROM));
    EXPECT_EQ("01.07.2016, 14:00:00 CEST", viewer::LocalTime(FROM + 182 * DAY));
}

TEST(LocalTime, OfAYearThatNoCalendarHasIsEmpty) {
    EXPECT_EQ("", viewer::ToUtf8(viewer::LocalTime(std::numeric_limits<std::time_t>::max())));
}

TEST(LocalTime, OfWhatIsNoTimeIsItsTextMadeVisible) {
    EXPECT_EQ("nicht lesbar: a<U+202E>b", viewer::ToUtf8(viewer::LocalTime({false, 0, "a\u202eb"})));
}
