// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_FOUNDATION_GLOBALLOCALE_H
#define ORSEL_TESTS_FOUNDATION_GLOBALLOCALE_H

#include <locale>
#include <string>

/// Writes a point between any two digits.
template <typename Char>
class PointsBetweenDigits : public std::numpunct<Char> {
protected:
    Char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

/// The process's C++ locale with another facet, for the life of the object.
class GlobalLocale {
public:
    template <typename Facet>
    explicit GlobalLocale(Facet* facet)
        : m_Old(std::locale::global(std::locale(std::locale::classic(), facet))) {}
    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;
    ~GlobalLocale() { std::locale::global(m_Old); }

private:
    std::locale m_Old;
};

#endif
