// SPDX-License-Identifier: MIT
// A refresh whose thread does not start.
#ifndef ORSEL_TESTS_APP_THREADSTART_H
#define ORSEL_TESTS_APP_THREADSTART_H

/// As long as it lives no worker starts.
class NoThreadStarts {
public:
    NoThreadStarts() { m_IsInForce = true; }
    ~NoThreadStarts() { m_IsInForce = false; }
    NoThreadStarts(const NoThreadStarts&) = delete;
    NoThreadStarts& operator=(const NoThreadStarts&) = delete;

    static bool IsInForce() { return m_IsInForce; }

private:
    static inline bool m_IsInForce = false;
};

#endif
