// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_FORMATS_TIMEZONE_H
#define ORSEL_TESTS_FORMATS_TIMEZONE_H

#include <cstdlib>
#include <ctime>
#include <string>

/// Makes this the local time zone for the life of the object, as "CET-1" for an hour east of UTC.
class TimeZone {
public:
    explicit TimeZone(const char* zone) {
        const char* before = std::getenv("TZ");
        m_WasSet = before != nullptr;
        m_Before = m_WasSet ? before : "";
        setenv("TZ", zone, 1);
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
    ~TimeZone() {
        if (m_WasSet) {
            setenv("TZ", m_Before.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

private:
    bool m_WasSet;
    std::string m_Before;
};

#endif
