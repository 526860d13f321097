// SPDX-License-Identifier: MIT
#include "viewer/State.h"

#include <array>

#include "app/I18N.h"
#include "viewer/VisibleText.h"

using Velmor::CertificateTime;

namespace viewer {

namespace {

constexpr long long SECONDS_OF_A_DAY = 24LL * 60 * 60;
constexpr long long DAYS_OF_A_YEAR = 365;
constexpr long long MOST_DAYS = 2 * DAYS_OF_A_YEAR; ///< more are told in years

wxString Expired(long long seconds) {
    const long long days = seconds / SECONDS_OF_A_DAY;
    if (days < 1) {
        return Translate("Seit heute abgelaufen");
    }
    if (days == 1) {
        return Translate("Abgelaufen seit einem Tag");
    }
    if (days <= MOST_DAYS) {
        return wxString::Format(Translate("Abgelaufen seit %lld Tagen"), days);
    }
    return wxString::Format(Translate("Abgelaufen seit über %lld Jahren"), days / DAYS_OF_A_YEAR);
}

wxString Valid(long long secondsLeft) {
    const long long days = secondsLeft / SECONDS_OF_A_DAY;
    if (days < 1) {
        return Translate("Gültig, aber weniger als einen Tag");
    }
    if (days == 1) {
        return Translate("Gültig, noch einen Tag");
    }
    if (days <= MOST_DAYS) {
        return wxString::Format(Translate("Gültig, noch %lld Tage"), days);
    }
    return wxString::Format(Translate("Gültig, noch über %lld Jahre"), days / DAYS_OF_A_YEAR);
}

} // namespace

State StateAt(const Velmor::slCertificate& certificate, std::time_t now) {
    const CertificateTime from = certificate.GetNotBefore();
    const CertificateTime until = certificate.GetNotAfter();
    if (!from.m_IsReadable || !until.m_IsReadable) {
        return {Validity::UNREADABLE, Translate("Der Gültigkeitszeitraum ist nicht lesbar")};
    }
    if (now > until.m_Seconds) {
        return {Validity::EXPIRED, Expired(static_cast<long long>(now) - until.m_Seconds)};
    }
    if (now < from.m_Seconds) {
        return {Validity::NOT_YET_VALID,
                wxString::Format(Translate("Noch nicht gültig: gültig ab %s"), LocalTime(from.m_Seconds))};
    }
    return {Validity::VALID, Valid(static_cast<long long>(until.m_Seconds) - now)};
}

wxString LocalTime(std::time_t time) {
    std::tm fields{};
    std::array<char, 128> text{};
    if (localtime_r(&time, &fields) != nullptr) {
        std::strftime(text.data(), text.size(), ToUtf8(Translate("%d.%m.%Y, %H:%M:%S %Z")).c_str(), &fields);
    }
    return FromUtf8(VisibleText(text.data()));
}

wxString LocalTime(const CertificateTime& time) {
    return time.m_IsReadable ? LocalTime(time.m_Seconds)
                             : Translate("nicht lesbar") + ": " + FromUtf8(VisibleText(time.m_Text));
}

} // namespace viewer
