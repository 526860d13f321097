// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "card/CallP11.h"
#include "card/CardLimits.h"
#include "cli/CallWitness.h"
#include "cli/CertificateSummary.h"
#include "cli/Commands.h"
#include "cli/Names.h"
#include "cli/PinState.h"
#include "cli/Table.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

using Json = nlohmann::ordered_json;

/// Collects what a card tells, in words and in JSON, and the first thing that went wrong.
class CardReport {
public:
    CardReport(Cards& cards, const CardRow& row) : m_Cards(cards), m_Row(row) {}

    void Collect() {
        AddToken();
        AddNumbers();
        AddPins();
        AddCertificate("signature", Tr("Signature certificate"));
        AddCertificate("encryption", Tr("Encryption certificate"));
        AddObjects("privateKeys", Tr("Private keys"), CKO_PRIVATE_KEY);
        AddObjects("publicKeys", Tr("Public keys"), CKO_PUBLIC_KEY);
        AddObjects("dataObjects", Tr("Data objects"), CKO_DATA);
    }
    std::string InWords(size_t width) const { return Fields(m_Lines, width); }
    const Json& AsJson() const { return m_Json; }
    const Outcome& Problem() const { return m_Problem; }

private:
    void Add(const char* key, const std::string& name, const std::string& value) {
        m_Json[key] = value;
        m_Lines.emplace_back(name, Harmless(value));
    }
    /// Something that this card does not have, or that could not be read.
    void AddMissing(const char* key, const std::string& name, const Outcome& outcome) {
        m_Json[key] = nullptr;
        m_Lines.emplace_back(name, outcome.IsDone() ? Tr("none") : outcome.Text());
        if (m_Problem.IsDone() && !outcome.IsDone()) {
            m_Problem = outcome;
        }
    }
    /// After a failed question: a card that cannot answer it has failed at nothing.
    static Outcome FailureUnlessNotSupported() {
        const Outcome outcome = FailureOf(Reason::DONE);
        return outcome.Why() == Reason::NOT_SUPPORTED ? Outcome() : outcome;
    }

    void AddToken();
    void AddNumbers();
    void AddPins();
    void AddCertificate(const std::string& which, const std::string& name);
    void AddObjects(const char* key, const std::string& name, CK_OBJECT_CLASS objectClass);
    Outcome LabelsOf(CK_OBJECT_CLASS objectClass, std::vector<std::string>& labels);

    Cards& m_Cards;
    const CardRow& m_Row;
    Json m_Json;
    std::vector<std::pair<std::string, std::string>> m_Lines;
    Outcome m_Problem;
};

std::string Trimmed(const std::string& field) {
    const std::string text = field.c_str();
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

void CardReport::AddToken() {
    m_Json["position"] = m_Row.Position();
    Add("number", Tr("Number"), m_Row.m_Number);
    Add("label", Tr("Label"), m_Row.m_Label);
    CallWitness::Forget();
    Velmor::TokenInfoStruct2 info;
    if (!m_Cards.InfoOf(m_Row, info)) {
        const Outcome outcome = FailureOf(Reason::CARD_GONE);
        AddMissing("kind", Tr("Kind"), outcome);
        AddMissing("manufacturer", Tr("Manufacturer"), outcome);
        AddMissing("model", Tr("Model"), outcome);
    } else {
        Add("kind", Tr("Kind"), m_Cards.KindOf(m_Row));
        Add("manufacturer", Tr("Manufacturer"), Trimmed(info.m_ManufacturerId));
        Add("model", Tr("Model"), Trimmed(info.m_Model));
    }
    m_Json["empty"] = m_Row.m_IsEmpty;
}

void CardReport::AddNumbers() {
    CallWitness::Forget();
    const std::string atr = m_Cards.ReadATR(true);
    atr.empty() ? AddMissing("atr", "ATR", FailureUnlessNotSupported()) : Add("atr", "ATR", atr);
    m_Cards.LoadCardType();
    CallWitness::Forget();
    std::string number;
    m_Cards.GetCinCsn(number) ? Add("cin", "CIN", number)
                              : AddMissing("cin", "CIN", FailureUnlessNotSupported());
    CallWitness::Forget();
    m_Cards.GetChipId(number) ? Add("chipId", Tr("Chip"), number)
                              : AddMissing("chipId", Tr("Chip"), FailureUnlessNotSupported());
}

void CardReport::AddPins() {
    m_Json["pins"] = Json::array();
    for (const PinState& state : PinStates(m_Cards)) {
        m_Json["pins"].push_back(state.AsJson());
        m_Lines.emplace_back(PinInWords(state.m_Pin), state.InWords());
        m_Problem = m_Problem.IsDone() ? state.m_Problem : m_Problem;
    }
}

void CardReport::AddCertificate(const std::string& which, const std::string& name) {
    Bytes der;
    const Outcome outcome = m_Cards.ReadCertificate(which == "signature", der);
    const std::string key = which + "Certificate";
    if (!outcome.IsDone()) {
        AddMissing(key.c_str(), name, outcome.Why() == Reason::NO_CERTIFICATE ? Outcome() : outcome);
        return;
    }
    const CertificateSummary summary = CertificateSummary::Of(der);
    m_Json[key] = summary.AsJson();
    m_Lines.emplace_back(name, Harmless(summary.m_Subject) + ", " + summary.m_Key + ", " +
                                   Filled(Tr("until {}"), {summary.m_NotAfter.substr(0, 10)}));
}

Outcome CardReport::LabelsOf(CK_OBJECT_CLASS objectClass, std::vector<std::string>& labels) {
    std::vector<CK_OBJECT_HANDLE> handles;
    const Outcome outcome = m_Cards.FindAll(objectClass, handles);
    if (!outcome.IsDone()) {
        return outcome;
    }
    for (const CK_OBJECT_HANDLE handle : handles) {
        Velmor::ObjectText label;
        CK_ATTRIBUTE asked = {CKA_LABEL, label.m_Bytes, sizeof(label.m_Bytes)};
        const CK_RV code =
            Velmor::CallP11(Cards::Proc_C_GetAttributeValue, m_Cards.m_hSession, handle, &asked, 1);
        label.m_Length = asked.ulValueLen;
        if (code != CKR_OK || !label.Fits()) {
            return FailureOf();
        }
        labels.push_back(label.text());
    }
    return {};
}

void CardReport::AddObjects(const char* key, const std::string& name, CK_OBJECT_CLASS objectClass) {
    CallWitness::Forget();
    std::vector<std::string> labels;
    const Outcome outcome = LabelsOf(objectClass, labels);
    if (!outcome.IsDone()) {
        return AddMissing(key, name, outcome);
    }
    m_Json[key] = labels;
    std::string list;
    for (const std::string& label : labels) {
        list += (list.empty() ? "" : ", ") + Harmless(label);
    }
    m_Lines.emplace_back(name, list.empty() ? Tr("none") : list);
}

} // namespace

// What can be read is shown also when something else cannot; the exit code tells of that.
Outcome RunShow(Context& context) {
    return WithSession(context, [&context](const CardRow& row) {
        CardReport report(context.m_Cards, row);
        report.Collect();
        if (context.m_Request.m_Json) {
            context.m_Console.PrintJson(report.AsJson());
        } else {
            context.m_Console.Print(report.InWords(context.m_Console.Width()));
        }
        return report.Problem();
    });
}

} // namespace orselcli
