// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_CARD_CALLWATCHER_H
#define ORSEL_TESTS_CARD_CALLWATCHER_H

#include "card/tkPKCS11.h"

#include <functional>
#include <utility>

/// Stands between the card class and the token library that is bound, and counts the calls.
class CallWatcher {
public:
    /// Called before and after each call with its number, from 1.
    static inline std::function<void(size_t number)> m_Before = [](size_t) {};
    static inline std::function<void(size_t number)> m_After = [](size_t) {};
    static inline size_t m_Calls = 0;

    /// Watches the library as it is bound now; to be repeated after each binding.
    static void Watch();

    /// Counts from the start, and lets nothing happen.
    static void Reset() {
        m_Calls = 0;
        m_Before = m_After = [](size_t) {};
    }

private:
    template <auto* ENTRY_POINT, typename Function>
    struct Watched;

    template <auto* ENTRY_POINT, typename... Parameters>
    struct Watched<ENTRY_POINT, CK_RV (*)(Parameters...)> {
        using Function = CK_RV (*)(Parameters...);
        static CK_RV Call(Parameters... parameters) {
            const size_t number = ++m_Calls;
            m_Before(number);
            const CK_RV result = m_Library(parameters...);
            m_After(number);
            return result;
        }
        static void Install() {
            if (*ENTRY_POINT != &Call) {
                m_Library = std::exchange(*ENTRY_POINT, &Call);
            }
        }
        static inline Function m_Library = nullptr;
    };

    template <auto*... ENTRY_POINTS>
    static void WatchAll() {
        (Watched<ENTRY_POINTS, std::remove_pointer_t<decltype(ENTRY_POINTS)>>::Install(), ...);
    }
};

inline void CallWatcher::Watch() {
    using P11 = Velmor::tkPKCS11;
    WatchAll<&P11::Proc_C_GetSlotList, &P11::Proc_C_GetSlotInfo, &P11::Proc_C_GetTokenInfo,
             &P11::Proc_C_OpenSession, &P11::Proc_C_CloseSession, &P11::Proc_C_Login, &P11::Proc_C_Logout,
             &P11::Proc_C_FindObjectsInit, &P11::Proc_C_FindObjects, &P11::Proc_C_FindObjectsFinal,
             &P11::Proc_C_GetAttributeValue, &P11::Proc_C_SetAttributeValue, &P11::Proc_C_SignInit,
             &P11::Proc_C_Sign, &P11::Proc_C_VerifyInit, &P11::Proc_C_Verify, &P11::Proc_C_CardTransmit,
             &P11::Proc_C_CardAttribute>();
}

#endif
