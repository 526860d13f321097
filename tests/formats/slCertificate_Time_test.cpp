// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <cstdint>
#include <ctime>

#include <gtest/gtest.h>

#include "tests/support/CertificateBuilder.h"
#include "tests/support/ScopedVariable.h"

using Velmor::ASN1_TIME_to_time_t;
using Velmor::slCertificate;
using Velmor::SubStrToInt;
using Parts = std::vector<unsigned short>;

namespace {

constexpr int UTC = V_ASN1_UTCTIME;
constexpr int GENERALIZED = V_ASN1_GENERALIZEDTIME;

std::time_t Seconds(int type, const std::string& text) {
    return ASN1_TIME_to_time_t(TestTime(type, text).Get());
}

/// What the C library makes of local time.
std::time_t Local(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    return std::mktime(&fields);
}

const std::time_t NOON = 1451649600; // 2016-01-01 12:00:00 UTC
constexpr std::time_t MINUTE = 60;
constexpr std::time_t HOUR = 60 * MINUTE;

struct TextAndSeconds {
    std::string m_Text;
    std::time_t m_Seconds;
};

} // namespace

TEST(SubStrToInt, ReadsDecimalDigits) {
    unsigned char text[] = "20160131 -5x7";
    EXPECT_EQ(2016, SubStrToInt(text, 0, 4));
    EXPECT_EQ(1, SubStrToInt(text, 4, 2));
    EXPECT_EQ(31, SubStrToInt(text, 6, 2));
    EXPECT_EQ(-5, SubStrToInt(text, 9, 2));
    EXPECT_EQ(-5, SubStrToInt(text, 8, 4));
    EXPECT_EQ(0, SubStrToInt(text, 11, 2));
    EXPECT_EQ(0, SubStrToInt(text, 0, 0));
}

TEST(SubStrToInt, IsZeroForMoreThanFourDigits) {
    unsigned char text[] = "20160131";
    EXPECT_EQ(2016, SubStrToInt(text, 0, 4));
    EXPECT_EQ(0, SubStrToInt(text, 0, 5));
}

TEST(Asn1Time, UtcTimeIsReadByItsFields) {
    const ScopedVariable utc("TZ", "UTC0");
    const TextAndSeconds table[] = {
        {"160101120000Z", NOON},       {"160101120059Z", NOON + 59}, {"1601011200Z", NOON},
        {"1601011200", NOON},          {"160101120007", NOON + 7},   {"700101000000Z", 0},
        {"991231235959Z", 946684799},  {"000101000000Z", 946684800}, {"160229000000Z", 1456704000},
        {"160230000000Z", 1456790400}, // the day after
        {"160101120060Z", NOON + 60},
    };
    for (const TextAndSeconds& row : table) {
        EXPECT_EQ(row.m_Seconds, Seconds(UTC, row.m_Text)) << row.m_Text;
    }
}

TEST(Asn1Time, TwoDigitYearsReachFrom1950To2049) {
    const ScopedVariable utc("TZ", "UTC0");
    EXPECT_EQ(Local(1950, 1, 1), Seconds(UTC, "500101000000Z"));
    EXPECT_EQ(-631152000, Seconds(UTC, "500101000000Z"));
    EXPECT_EQ(Local(2049, 12, 31, 23, 59, 59), Seconds(UTC, "491231235959Z"));
    EXPECT_EQ(Local(1969, 12, 31), Seconds(UTC, "691231000000Z"));
    EXPECT_EQ(Local(1950, 1, 1), Seconds(GENERALIZED, "500101000000"));
    EXPECT_EQ(Local(2049, 12, 31, 23, 59, 59), Seconds(GENERALIZED, "491231235959"));
}

// A time_t of 32 bits ends in 2038 and is -1 behind that.
TEST(Asn1Time, After2038IsToldOnEveryPlatform) {
    const ScopedVariable utc("TZ", "UTC0");
    EXPECT_EQ(std::int64_t{2147483648}, Seconds(UTC, "380119031408Z"));
    EXPECT_EQ(std::int64_t{2524607999}, Seconds(UTC, "491231235959Z"));
    EXPECT_EQ(std::int64_t{253402300799}, Seconds(GENERALIZED, "99991231235959Z"));
}

TEST(Asn1Time, AUtcTimeOfUpToNineCharactersIsZero) {
    const ScopedVariable utc("TZ", "UTC0");
    EXPECT_EQ(0, Seconds(UTC, ""));
    EXPECT_EQ(0, Seconds(UTC, "160101120"));
    EXPECT_EQ(NOON, Seconds(UTC, "1601011200"));
}

TEST(Asn1Time, TheUsualOffsetsOfAUtcTimeAreNotApplied) {
    const ScopedVariable utc("TZ", "UTC0");
    for (const std::string text : {"1601011200+0100", "1601011200-0100", "160101120000+0100",
                                   "160101120000-1200", "1601011200+", "1601011200-"}) {
        EXPECT_EQ(NOON, Seconds(UTC, text)) << text;
    }
}

TEST(Asn1Time, TheCharacterBeforeTheSignOfAUtcTimeDecides) {
    const ScopedVariable utc("TZ", "UTC0");
    const TextAndSeconds table[] = {
        // The plus is found, the minus before it says subtract; hours from "+0", minutes from "10".
        {"1601011200-+0100", NOON - 10 * MINUTE},
        {"1601011200-+5300", NOON - 5 * HOUR - 30 * MINUTE},
        {"160101120000-+5300", NOON - 5 * HOUR - 30 * MINUTE},
        {"1601011200-+53", NOON - 5 * HOUR}, // four characters: no minutes
        {"1601011200-+5", NOON - 5 * HOUR},
        {"1601011200-+530", NOON - 5 * HOUR - 30 * MINUTE},
        // A plus anywhere is found before a minus.
        {"160101120000-0100+", NOON},
    };
    for (const TextAndSeconds& row : table) {
        EXPECT_EQ(row.m_Seconds, Seconds(UTC, row.m_Text)) << row.m_Text;
    }
}

TEST(Asn1Time, ASignThatBeginsAUtcTimeHasNothingBeforeIt) {
    const ScopedVariable utc("TZ", "UTC0");
    EXPECT_EQ(Local(2006, 1, 1, 12), Seconds(UTC, "+60101120000"));
}

TEST(Asn1Time, GeneralizedTimeIsReadByItsFields) {
    const ScopedVariable utc("TZ", "UTC0");
    const TextAndSeconds table[] = {
        {"20160101120000Z", NOON},   {"20160101120059Z", NOON + 59},
        {"20160101120000", NOON},    {"160101120000", NOON},        // 12 characters: a year of two digits
        {"20160101120000.5Z", NOON}, {"20160101120000+0100", NOON}, // 19 characters: no offset
        {"19700101000000Z", 0},
    };
    for (const TextAndSeconds& row : table) {
        EXPECT_EQ(row.m_Seconds, Seconds(GENERALIZED, row.m_Text)) << row.m_Text;
    }
}

TEST(Asn1Time, AGeneralizedTimeOf23CharactersHasItsOffsetApplied) {
    const ScopedVariable utc("TZ", "UTC0");
    EXPECT_EQ(NOON + 3600, Seconds(GENERALIZED, "20160101120000.000+0100"));
    EXPECT_EQ(NOON - 5400, Seconds(GENERALIZED, "20160101120000.000-0130"));
    EXPECT_EQ(NOON, Seconds(GENERALIZED, "20160101120000.0000Z000"));
    EXPECT_EQ(NOON, Seconds(GENERALIZED, "20160101120000.000+01000"));
}

TEST(Asn1Time, TheFieldsAreTakenForLocalTime) {
    const ScopedVariable oneHourEast("TZ", "CET-1");
    EXPECT_EQ(NOON - 3600, Seconds(UTC, "160101120000Z"));
    EXPECT_EQ(NOON - 3600, Seconds(GENERALIZED, "20160101120000Z"));
}

TEST(Asn1Time, SummerTimeIsNeverAssumed) {
    const ScopedVariable withSummerTime("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    const std::time_t julyNoon = 1467374400; // 2016-07-01 12:00:00 UTC
    EXPECT_EQ(julyNoon - 3600, Seconds(UTC, "160701120000Z"));
}

TEST(Asn1Time, AnyOtherTagIsZero) {
    const ScopedVariable utc("TZ", "UTC0");
    for (const int type : {V_ASN1_OCTET_STRING, V_ASN1_UTF8STRING, V_ASN1_PRINTABLESTRING, 22, 25}) {
        EXPECT_EQ(0, Seconds(type, "160101120000Z")) << type;
    }
    EXPECT_EQ(0, ASN1_TIME_to_time_t(nullptr));
}

TEST(Asn1Time, TextOfAnyLengthStaysInItsBuffer) {
    const ScopedVariable utc("TZ", "UTC0");
    for (std::size_t size = 0; size < 100; ++size) {
        for (const char filler : {'1', '+', '-', '\0'}) {
            Seconds(UTC, std::string(size, filler));
            Seconds(GENERALIZED, std::string(size, filler));
            Seconds(UTC, "160101120000" + std::string(size, '5') + "-+0530");
        }
    }
    EXPECT_EQ(NOON + 55, Seconds(UTC, "1601011200" + std::string(90, '5')));
}

TEST(SlCertificateTime, DatesAreShownInBothForms) {
    const ScopedVariable utc("TZ", "UTC0");
    const slCertificate certificate = CertificateBuilder()
                                          .ValidFrom(UTC, "160131081502Z")
                                          .ValidTo(GENERALIZED, "20361231235958Z")
                                          .Wrapped();
    EXPECT_EQ("2016-01-31 08:15:02", certificate.ValidFrom());
    EXPECT_EQ("2036-12-31 23:59:58", certificate.ValidTo());
    Parts parts(6, 99);
    certificate.ValidFrom(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
    EXPECT_EQ((Parts{2016, 1, 31, 8, 15, 2}), parts);
    certificate.ValidTo(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
    EXPECT_EQ((Parts{2036, 12, 31, 23, 59, 58}), parts);
}

TEST(SlCertificateTime, DatesAreShiftedByTheLocalTimeZone) {
    const ScopedVariable oneHourEast("TZ", "CET-1");
    const slCertificate certificate =
        CertificateBuilder().ValidFrom(GENERALIZED, "20160101120000Z").Wrapped();
    EXPECT_EQ("2016-01-01 11:00:00", certificate.ValidFrom());
}

TEST(SlCertificateTime, ATimeOfItsOwnIsSplitAndPrinted) {
    const ScopedVariable utc("TZ", "UTC0");
    const slCertificate any;
    const TestTime time(GENERALIZED, "20160131081502Z");
    EXPECT_EQ("2016-01-31 08:15:02", any.Asn1TimeToString(time.Get()));
    Parts parts(6, 99);
    any.Asn1TimeToTimeParts(time.Get(), parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
    EXPECT_EQ((Parts{2016, 1, 31, 8, 15, 2}), parts);
    EXPECT_EQ("1970-01-01 00:00:00", any.Asn1TimeToString(TestTime(V_ASN1_OCTET_STRING, "x").Get()));
}

TEST(SlCertificateTime, BothEndsOfThePeriodAreValid) {
    const ScopedVariable utc("TZ", "UTC0");
    const slCertificate certificate =
        CertificateBuilder().ValidFrom(UTC, "160101120000Z").ValidTo(UTC, "160101130000Z").Wrapped();
    const struct {
        long m_T;
        bool m_Valid;
    } table[] = {
        {NOON - 1, false}, {NOON, true}, {NOON + 1800, true}, {NOON + 3600, true}, {NOON + 3601, false}};
    for (const auto& row : table) {
        EXPECT_EQ(row.m_Valid, certificate.IsValid(row.m_T)) << row.m_T;
    }
}

TEST(SlCertificateTime, ThePeriodIsShiftedByTheLocalTimeZoneToo) {
    const ScopedVariable oneHourEast("TZ", "CET-1");
    const slCertificate certificate = CertificateBuilder().ValidFrom(UTC, "160101120000Z").Wrapped();
    EXPECT_TRUE(certificate.IsValid(NOON - 3600));
    EXPECT_FALSE(certificate.IsValid(NOON - 3601));
}

TEST(SlCertificateTime, OfAnEmptyObjectIsEmptyAndItsPartsAreZero) {
    const slCertificate empty;
    EXPECT_EQ("", empty.ValidFrom());
    EXPECT_EQ("", empty.ValidTo());
    Parts parts(6, 99);
    empty.ValidFrom(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
    EXPECT_EQ(Parts(6, 0), parts);
    parts.assign(6, 99);
    empty.ValidTo(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
    EXPECT_EQ(Parts(6, 0), parts);
}
