// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "cli/CertificateSummary.h"
#include "cli/Commands.h"

namespace orselcli {

Outcome RunCertificate(Context& context) {
    return WithSession(context, [&context](const CardRow& row) {
        const Request& request = context.m_Request;
        Bytes der;
        const Outcome outcome = context.m_Cards.ReadCertificate(request.Word(0) == "signature", der);
        if (!outcome.IsDone()) {
            return outcome.Why() == Reason::NO_CERTIFICATE && row.m_IsEmpty ? Outcome(Reason::EMPTY_CARD)
                                                                            : outcome;
        }
        if (request.m_Json) {
            nlohmann::ordered_json json = {{"card", row.m_Number}, {"certificate", request.Word(0)}};
            json.update(CertificateSummary::Of(der).AsJson());
            json["pem"] = PemOf(der);
            context.m_Console.PrintJson(json);
            return outcome;
        }
        if (request.m_Der) {
            return Deliver(context, der);
        }
        const std::string text = request.m_Text ? CertificateSummary::Of(der).InWords() : PemOf(der);
        if (request.m_Out.empty()) {
            context.m_Console.Print(text);
            return outcome;
        }
        return Deliver(context, Bytes(text.begin(), text.end()));
    });
}

} // namespace orselcli
