// SPDX-License-Identifier: MIT
// Every call that a command of these dialogs makes fails once, in each of the ways in which token libraries
// fail. The dialog stays alive and enabled, says what it has to say, closes its session, and the same command
// works the next time.
#include <iostream>

#include "tests/dialogs/ProbedInfobox.h"
#include "tests/dialogs/ProbedTestDialog.h"
#include "tests/support/FaultCases.h"

using orselsim::Bytes;
using orseltest::CardCall;
using orseltest::CardFault;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A command on a card, with what has to hold around it.
struct Command {
    std::function<void()> m_Prepare; ///< opens the dialog, up to the command
    std::function<void()> m_Run;
    std::function<void(const CardFault&)> m_CheckFailed; ///< after this fault
    std::function<void()> m_PrepareAgain = [] {};
    std::function<void()> m_CheckDone;
};

class ACommandUnderFaults : public AnInfoboxOnACard {
protected:
    ~ACommandUnderFaults() override { m_Test.reset(); }

    void RunAllFaults(const Command& command) {
        const orselsim::Card untouched = m_Deck.Read(m_Card);
        const std::vector<CardCall> calls = Learn(command);
        ASSERT_FALSE(calls.empty());
        int cases = 0;
        for (const CardCall& call : calls) {
            for (const CardFault& fault : orseltest::FaultsOf(call)) {
                SCOPED_TRACE(fault.GetLine());
                ++cases;
                m_Deck.Change(m_Card, [&](orselsim::Card& card) { card = untouched; });
                m_Deck.PlanFaults({fault.GetLine()});
                BindTraced();
                RunOne(command, fault);
            }
        }
        std::cout << cases << " faults of " << calls.size() << " calls\n";
    }

    /// The calls of the command when nothing fails.
    std::vector<CardCall> Learn(const Command& command) {
        BindTraced();
        command.m_Prepare();
        const size_t before = Calls().size();
        command.m_Run();
        command.m_CheckDone();
        return orseltest::CallsOfCommand(m_Deck.GetTrace(), before);
    }

    void RunOne(const Command& command, const CardFault& fault) {
        command.m_Prepare();
        m_Deck.ClearTrace();
        command.m_Run();
        EXPECT_TRUE(fault.IsMetIn(m_Deck.GetTrace()));
        command.m_CheckFailed(fault);
        EXPECT_THAT(orseltest::SessionsNobodyClosed(m_Deck.GetTrace()), IsEmpty());
        command.m_PrepareAgain();
        command.m_Run();
        command.m_CheckDone();
    }

    void ExpectAlive() {
        EXPECT_TRUE(m_Dialog->IsShown());
        for (const wxWindow* window :
             std::vector<wxWindow*>{m_Dialog->list_box, m_Dialog->notebook, m_Dialog->button_close}) {
            EXPECT_TRUE(window->IsEnabled());
        }
    }
    /// Opens the infobox dialog and reads the card.
    void PrepareInfobox() {
        m_NoPersB.m_Count = 0;
        m_Dialog = std::make_unique<ProbedInfobox>(Velmor::TOKEN_ACOS_04);
        m_Dialog->SetP11(m_P11.get(), 0);
        m_Dialog->Show(true);
    }

    std::unique_ptr<ProbedTestDialog> m_Test;
};

} // namespace

// --- Signature test ----------------------------------------------------------------------------------------

namespace {

class ASignatureTestUnderFaults : public ACommandUnderFaults {
protected:
    void SetUp() override {
        Insert("acos-a04");
        m_Deck.AnswerPins(std::vector<std::string>(4, "123456"));
    }
    void Prepare() {
        m_Test = std::make_unique<ProbedTestDialog>();
        m_Test->SetP11(m_P11.get(), 0, Velmor::ApplSignature);
        m_Test->Show(true);
    }
    /// What is said after a fault in this call, and that nothing else is amiss.
    void ExpectAfterFault(const CardCall& call, const char* failed, const char* done) {
        const bool isOpen = call.m_Function == "C_OpenSession";
        const char* const expected = isOpen ? "Fehler beim Aufbau der Verbindung zur Karte"
                                     : call.m_Function == "C_CloseSession" ? done
                                                                           : failed;
        EXPECT_EQ(m_Test->Status(), Utf8(expected));
        EXPECT_EQ(m_Deck.GetTrace("C_CloseSession").size(), isOpen ? 0U : 1U);
        EXPECT_TRUE(m_Test->IsShown());
        for (const wxWindow* button : {m_Test->button_sign, m_Test->button_verify, m_Test->button_close}) {
            EXPECT_TRUE(button->IsEnabled());
        }
    }
};

} // namespace

TEST_F(ASignatureTestUnderFaults, FailsToSignWithAMessage) {
    Command sign;
    sign.m_Prepare = [this] { Prepare(); };
    sign.m_Run = [this] { m_Test->Sign(); };
    sign.m_CheckFailed = [this](const CardFault& fault) {
        ExpectAfterFault(fault.m_Call, "Fehler beim Signieren", "Signatur erfolgreich!");
        EXPECT_EQ(m_Test->text_signature->IsEmpty(), fault.m_Call.m_Function != "C_CloseSession");
    };
    sign.m_CheckDone = [this] { EXPECT_EQ(m_Test->Status(), "Signatur erfolgreich!"); };
    RunAllFaults(sign);
}

TEST_F(ASignatureTestUnderFaults, FailsToVerifyWithAMessage) {
    Prepare();
    m_Test->SetP11(m_P11.get(), 0, Velmor::ApplSignature);
    m_Test->Sign();
    const wxString signature = m_Test->text_signature->GetValue();
    Command verify;
    verify.m_Prepare = [this, signature] {
        Prepare();
        m_Test->text_signature->SetValue(signature);
    };
    verify.m_Run = [this] { m_Test->Verify(); };
    verify.m_CheckFailed = [this, signature](const CardFault& fault) {
        ExpectAfterFault(fault.m_Call, "Fehler beim Verifizieren der Signatur",
                         "Signaturprüfung erfolgreich!");
        EXPECT_EQ(m_Test->text_signature->GetValue(), signature);
    };
    verify.m_CheckDone = [this] { EXPECT_EQ(m_Test->Status(), Utf8("Signaturprüfung erfolgreich!")); };
    RunAllFaults(verify);
}

// --- Infobox -----------------------------------------------------------------------------------------------

TEST_F(ACommandUnderFaults, LeavesTheListEmptyWhenTheContainerCannotBeLoaded) {
    const std::string fixed = "Personenbindung,RFU1,RFU2,";
    const std::string listed = "01 PERSONENBINDUNG,02 RFU1,0a RFU2,";
    Insert("acos-a04");
    Command load;
    load.m_Prepare = [this] { PrepareInfobox(); };
    load.m_Run = [this] { m_Dialog->Load(); };
    load.m_CheckFailed = [&](const CardFault& fault) {
        ExpectAlive();
        EXPECT_FALSE(m_Dialog->button_encrypt->IsThisEnabled());
        std::string rows;
        for (const std::string& row : m_Dialog->Rows()) {
            rows += row + ",";
        }
        EXPECT_EQ(rows, fault.LookUp({{"C_GetSlotList", fixed},
                                      {"C_GetSlotList#2 length", listed}, // there is a card with this index
                                      {"C_GetTokenInfo", fixed},
                                      {"C_CloseSession", listed}},
                                     ""));
        EXPECT_EQ(m_NoPersB.m_Count, m_Dialog->Rows().empty() ? 1 : 0);
    };
    load.m_CheckDone = [this] {
        EXPECT_THAT(m_Dialog->Rows(), ElementsAre("01 PERSONENBINDUNG", "02 RFU1", "0a RFU2"));
    };
    RunAllFaults(load);
}

namespace {

struct RowOfACard {
    const char* m_Name;
    const char* m_Kind;
    int m_Row;
    int m_Told; ///< how often a failed read of the row tells of a missing identity link
};

void PrintTo(const RowOfACard& row, std::ostream* out) {
    *out << row.m_Kind << ", row " << row.m_Row;
}

class ASelectionUnderFaults : public ACommandUnderFaults, public testing::WithParamInterface<RowOfACard> {};

INSTANTIATE_TEST_SUITE_P(Rows, ASelectionUnderFaults,
                         testing::Values(RowOfACard{"FixedIdentityLink", "acos-a03", 0, 1},
                                         RowOfACard{"FixedEntry", "acos-a03", 1, 0},
                                         RowOfACard{"ContainersIdentityLink", "acos-a04", 0, 1},
                                         RowOfACard{"ContainersEntry", "acos-a04", 1, 0}),
                         [](const auto& row) { return row.param.m_Name; });

} // namespace

TEST_P(ASelectionUnderFaults, LeavesThePagesBlank) {
    Insert(GetParam().m_Kind);
    Command select;
    select.m_Prepare = [this] {
        PrepareInfobox();
        m_Dialog->Load();
    };
    select.m_Run = [this] { m_Dialog->Select(GetParam().m_Row); };
    select.m_CheckFailed = [this](const CardFault& fault) {
        ExpectAlive();
        const bool isShown = fault.m_Call.m_Function == "C_CloseSession";
        EXPECT_EQ(m_Dialog->text_binary->IsEmpty(), !isShown);
        EXPECT_EQ(m_NoPersB.m_Count, isShown ? 0 : GetParam().m_Told);
        EXPECT_EQ(m_Dialog->button_encrypt->IsThisEnabled(), isShown && m_Dialog->m_bInfoboxKonzept);
        EXPECT_EQ(m_Deck.GetTrace("C_CloseSession").size(), 1U);
    };
    select.m_PrepareAgain = [this] { m_Dialog->Select(2); };
    select.m_CheckDone = [this] { EXPECT_FALSE(m_Dialog->text_binary->IsEmpty()); };
    RunAllFaults(select);
}

namespace {

/// The switch of an entry with bytes, and that of a blank one, which is read once more before it is written.
class AToggleUnderFaults : public ACommandUnderFaults, public testing::WithParamInterface<bool> {
protected:
    /// A failure up to the write leaves all as it is shown; one behind it loses the list.
    void ExpectShownOrLost(const CardFault& fault, size_t write, const wxString& shown) {
        ExpectAlive();
        EXPECT_EQ(m_NoPersB.m_Count, 0);
        EXPECT_EQ(m_Deck.GetTrace("C_CloseSession").size(), m_Deck.GetTrace("C_OpenSession").size());
        if (fault.m_Call.m_Position <= write) {
            EXPECT_EQ(m_Dialog->text_binary->GetValue(), shown);
            EXPECT_EQ(m_Dialog->list_box->GetSelection(), 2);
            EXPECT_TRUE(m_Dialog->button_encrypt->IsThisEnabled());
        } else if (fault.m_Call.m_Function != "C_CloseSession") {
            EXPECT_THAT(m_Dialog->Rows(), IsEmpty());
            EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Entries, AToggleUnderFaults, testing::Bool(),
                         [](const auto& row) { return row.param ? "Blank" : "WithBytes"; });

} // namespace

TEST_P(AToggleUnderFaults, ChangesNothingOrLosesTheListThatItCannotReadAnew) {
    Insert("acos-a04");
    if (GetParam()) {
        m_Deck.ReplaceObject(m_Card, "0x0a", Bytes(64));
    }
    const size_t write = GetParam() ? 5 : 4; // which call writes; what comes behind it lists the entries anew
    wxString shown;
    Command toggle;
    toggle.m_Prepare = [&] {
        PrepareInfobox();
        m_Dialog->Load();
        m_Dialog->Select(2);
        shown = m_Dialog->text_binary->GetValue();
    };
    toggle.m_Run = [&] { m_Dialog->Encrypt(); };
    toggle.m_CheckFailed = [&](const CardFault& fault) { ExpectShownOrLost(fault, write, shown); };
    toggle.m_PrepareAgain = [&] {
        if (m_Dialog->Rows().empty()) {
            m_Dialog->LoadInfobox();
        }
        if (m_Dialog->list_box->GetSelection() == wxNOT_FOUND) {
            m_Dialog->Select(2);
        }
    };
    toggle.m_CheckDone = [&] {
        EXPECT_EQ(m_Dialog->Rows().size(), 3U);
        EXPECT_EQ(m_Dialog->list_box->GetSelection(), wxNOT_FOUND);
        EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
        EXPECT_FALSE(m_Dialog->button_encrypt->IsThisEnabled());
    };
    RunAllFaults(toggle);
}
