// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_STATE_H
#define ORSEL_VIEWER_STATE_H

#include <ctime>

#include <wx/string.h>

#include "formats/slCertificate.h"

namespace viewer {

enum class Validity { VALID, EXPIRED, NOT_YET_VALID, UNREADABLE };

/// How a certificate stands at one moment, by its dates alone.
struct State {
    Validity m_Validity;
    wxString m_Sentence;
};

State StateAt(const Velmor::slCertificate& certificate, std::time_t now);

/// In the local zone, which is named.
wxString LocalTime(std::time_t time);
/// The same, or the field's own text where it is no time.
wxString LocalTime(const Velmor::CertificateTime& time);

} // namespace viewer

#endif
