// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_ZOO_ANIMALS_H
#define ORSEL_TESTS_ZOO_ANIMALS_H

#include <ostream>

/// A token library that misbehaves, and what the programs make of a reader with one card behind it.
struct Animal {
    const char* m_Name;    ///< of its source in animals/, and of its directory
    unsigned m_Rows;       ///< that the window shows
    int m_ListCode;        ///< exit code of the command line's "list"
    const char* m_Listed;  ///< a piece of what "list" prints
    int m_CertificateCode; ///< exit code of "certificate"
};

constexpr const char* HOLDER = "Erika Muster";
constexpr const char* GONE = "The card reader is gone.";
constexpr const char* UNUSABLE = "The token library libOrselP11.so cannot be used";
constexpr const char* UNKNOWN_HOLDER = "Orsel Carta ACOS  unknown";

constexpr Animal ANIMALS[] = {
    {"ClosesTwice", 1, 0, HOLDER, 0},
    {"EmptyCertificates", 1, 0, UNKNOWN_HOLDER, 1},
    {"EndlessFinds", 1, 0, HOLDER, 0},
    {"EnvironmentChanger", 1, 0, HOLDER, 0},
    {"FailsAtTheEnd", 1, 0, HOLDER, 0},
    {"FailsOnce", 0, 4, UNUSABLE, 4},
    {"FewEntryPoints", 0, 4, UNUSABLE, 4},
    {"ForeignLocale", 1, 0, HOLDER, 0},
    {"FullTexts", 1, 0, HOLDER, 0},
    {"GrowingCounts", 1, 0, HOLDER, 0},
    {"GrowingFinds", 1, 0, HOLDER, 1},
    {"HundredThousandSlots", 1, 0, HOLDER, 0},
    {"LongCardProperties", 1, 0, HOLDER, 0},
    {"LongestLengths", 1, 0, UNKNOWN_HOLDER, 1},
    {"NoEntryPoints", 0, 4, UNUSABLE, 4},
    {"NoFunctionList", 1, 0, HOLDER, 0},
    {"NullSessions", 1, 0, UNKNOWN_HOLDER, 1},
    {"NullSlots", 0, 1, GONE, 1},
    {"SignalTaker", 1, 0, HOLDER, 0},
    {"SpoiltCertificates", 1, 0, UNKNOWN_HOLDER, 1},
    {"Talkative", 1, 0, HOLDER, 0},
    {"ThreadLeaver", 1, 0, HOLDER, 0},
    {"UnknownCodes", 0, 0, "C_OpenSession 0x7eadbeef", 1},
    {"VanishingSessions", 1, 0, UNKNOWN_HOLDER, 1},
    {"WanderingSlots", 0, 1, GONE, 1},
    {"WritesNoAttribute", 1, 0, UNKNOWN_HOLDER, 1},
    {"WritesNoSession", 1, 0, UNKNOWN_HOLDER, 1},
    {"WritesNoToken", 1, 0, HOLDER, 0},
};

inline std::ostream& operator<<(std::ostream& out, const Animal& animal) {
    return out << animal.m_Name;
}

#endif
