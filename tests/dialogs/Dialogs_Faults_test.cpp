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
    std::function<void()> prepare; ///< opens the dialog, up to the command
    std::function<void()> run;
    std::function<void(const CardFault&)> checkFailed; ///< after this fault
    std::function<void()> prepareAgain = [] {};
    std::function<void()> checkDone;
};

class ACommandUnderFaults : public AnInfoboxOnACard {
protected:
    ~ACommandUnderFaults() override { m_test.reset(); }

    void RunAllFaults(const Command& command) {
        const orselsim::Card untouched = m_deck.read(m_card);
        const std::vector<CardCall> calls = Learn(command);
        ASSERT_FALSE(calls.empty());
        int cases = 0;
        for (const CardCall& call : calls) {
            for (const CardFault& fault : orseltest::faultsOf(call)) {
                SCOPED_TRACE(fault.line());
                ++cases;
                m_deck.change(m_card, [&](orselsim::Card& card) { card = untouched; });
                m_deck.planFaults({fault.line()});
                BindTraced();
                RunOne(command, fault);
            }
        }
        std::cout << cases << " faults of " << calls.size() << " calls\n";
    }

    /// The calls of the command when nothing fails.
    std::vector<CardCall> Learn(const Command& command) {
        BindTraced();
        command.prepare();
        const size_t before = Calls().size();
        command.run();
        command.checkDone();
        return orseltest::callsOfCommand(m_deck.trace(), before);
    }

    void RunOne(const Command& command, const CardFault& fault) {
        command.prepare();
        m_deck.clearTrace();
        command.run();
        EXPECT_TRUE(fault.isMetIn(m_deck.trace()));
        command.checkFailed(fault);
        EXPECT_THAT(orseltest::sessionsNobodyClosed(m_deck.trace()), IsEmpty());
        command.prepareAgain();
        command.run();
        command.checkDone();
    }

    void ExpectAlive() {
        EXPECT_TRUE(m_dialog->IsShown());
        for (const wxWindow* window :
             std::vector<wxWindow*>{m_dialog->list_box, m_dialog->notebook, m_dialog->button_close})
            EXPECT_TRUE(window->IsEnabled());
    }
    /// Opens the infobox dialog and reads the card.
    void PrepareInfobox() {
        m_noPersB.count = 0;
        m_dialog = std::make_unique<ProbedInfobox>(Velmor::TOKEN_ACOS_04);
        m_dialog->SetP11(m_p11.get(), 0);
        m_dialog->Show(true);
    }

    std::unique_ptr<ProbedTestDialog> m_test;
};

} // namespace

// --- Signature test ----------------------------------------------------------------------------------------

namespace {

class ASignatureTestUnderFaults : public ACommandUnderFaults {
protected:
    void SetUp() override {
        Insert("acos-a04");
        m_deck.answerPins(std::vector<std::string>(4, "123456"));
    }
    void Prepare() {
        m_test = std::make_unique<ProbedTestDialog>();
        m_test->SetP11(m_p11.get(), 0, Velmor::ApplSignature);
        m_test->Show(true);
    }
    /// What is said after a fault in this call, and that nothing else is amiss.
    void ExpectAfterFault(const CardCall& call, const char* failed, const char* done) {
        const bool isOpen = call.function == "C_OpenSession";
        const char* const expected = isOpen ? "Fehler beim Aufbau der Verbindung zur Karte"
                                     : call.function == "C_CloseSession" ? done
                                                                         : failed;
        EXPECT_EQ(m_test->Status(), Utf8(expected));
        EXPECT_EQ(m_deck.trace("C_CloseSession").size(), isOpen ? 0U : 1U);
        EXPECT_TRUE(m_test->IsShown());
        for (const wxWindow* button : {m_test->button_sign, m_test->button_verify, m_test->button_close})
            EXPECT_TRUE(button->IsEnabled());
    }
};

} // namespace

TEST_F(ASignatureTestUnderFaults, FailsToSignWithAMessage) {
    Command sign;
    sign.prepare = [this] { Prepare(); };
    sign.run = [this] { m_test->Sign(); };
    sign.checkFailed = [this](const CardFault& fault) {
        ExpectAfterFault(fault.call, "Fehler beim Signieren", "Signatur erfolgreich!");
        EXPECT_EQ(m_test->text_signature->IsEmpty(), fault.call.function != "C_CloseSession");
    };
    sign.checkDone = [this] { EXPECT_EQ(m_test->Status(), "Signatur erfolgreich!"); };
    RunAllFaults(sign);
}

TEST_F(ASignatureTestUnderFaults, FailsToVerifyWithAMessage) {
    Prepare();
    m_test->SetP11(m_p11.get(), 0, Velmor::ApplSignature);
    m_test->Sign();
    const wxString signature = m_test->text_signature->GetValue();
    Command verify;
    verify.prepare = [this, signature] {
        Prepare();
        m_test->text_signature->SetValue(signature);
    };
    verify.run = [this] { m_test->Verify(); };
    verify.checkFailed = [this, signature](const CardFault& fault) {
        ExpectAfterFault(fault.call, "Fehler beim Verifizieren der Signatur", "Signaturprüfung erfolgreich!");
        EXPECT_EQ(m_test->text_signature->GetValue(), signature);
    };
    verify.checkDone = [this] { EXPECT_EQ(m_test->Status(), Utf8("Signaturprüfung erfolgreich!")); };
    RunAllFaults(verify);
}

// --- Infobox -----------------------------------------------------------------------------------------------

TEST_F(ACommandUnderFaults, LeavesTheListEmptyWhenTheContainerCannotBeLoaded) {
    const std::string FIXED = "Personenbindung,RFU1,RFU2,";
    const std::string LISTED = "01 PERSONENBINDUNG,02 RFU1,0a RFU2,";
    Insert("acos-a04");
    Command load;
    load.prepare = [this] { PrepareInfobox(); };
    load.run = [this] { m_dialog->Load(); };
    load.checkFailed = [&](const CardFault& fault) {
        ExpectAlive();
        EXPECT_FALSE(m_dialog->button_encrypt->IsThisEnabled());
        std::string rows;
        for (const std::string& row : m_dialog->Rows())
            rows += row + ",";
        EXPECT_EQ(rows, fault.lookUp({{"C_GetSlotList", FIXED},
                                      {"C_GetSlotList#2 length", LISTED}, // there is a card with this index
                                      {"C_GetTokenInfo", FIXED},
                                      {"C_CloseSession", LISTED}},
                                     ""));
        EXPECT_EQ(m_noPersB.count, m_dialog->Rows().empty() ? 1 : 0);
    };
    load.checkDone = [this] {
        EXPECT_THAT(m_dialog->Rows(), ElementsAre("01 PERSONENBINDUNG", "02 RFU1", "0a RFU2"));
    };
    RunAllFaults(load);
}

namespace {

struct RowOfACard {
    const char* name;
    const char* kind;
    int row;
    int told; ///< how often a failed read of the row tells of a missing identity link
};

void PrintTo(const RowOfACard& row, std::ostream* out) {
    *out << row.kind << ", row " << row.row;
}

class ASelectionUnderFaults : public ACommandUnderFaults, public testing::WithParamInterface<RowOfACard> {};

INSTANTIATE_TEST_SUITE_P(Rows, ASelectionUnderFaults,
                         testing::Values(RowOfACard{"FixedIdentityLink", "acos-a03", 0, 1},
                                         RowOfACard{"FixedEntry", "acos-a03", 1, 0},
                                         RowOfACard{"ContainersIdentityLink", "acos-a04", 0, 1},
                                         RowOfACard{"ContainersEntry", "acos-a04", 1, 0}),
                         [](const auto& row) { return row.param.name; });

} // namespace

TEST_P(ASelectionUnderFaults, LeavesThePagesBlank) {
    Insert(GetParam().kind);
    Command select;
    select.prepare = [this] {
        PrepareInfobox();
        m_dialog->Load();
    };
    select.run = [this] { m_dialog->Select(GetParam().row); };
    select.checkFailed = [this](const CardFault& fault) {
        ExpectAlive();
        const bool isShown = fault.call.function == "C_CloseSession";
        EXPECT_EQ(m_dialog->text_binary->IsEmpty(), !isShown);
        EXPECT_EQ(m_noPersB.count, isShown ? 0 : GetParam().told);
        EXPECT_EQ(m_dialog->button_encrypt->IsThisEnabled(), isShown && m_dialog->m_bInfoboxKonzept);
        EXPECT_EQ(m_deck.trace("C_CloseSession").size(), 1U);
    };
    select.prepareAgain = [this] { m_dialog->Select(2); };
    select.checkDone = [this] { EXPECT_FALSE(m_dialog->text_binary->IsEmpty()); };
    RunAllFaults(select);
}

namespace {

/// The switch of an entry with bytes, and that of a blank one, which is read once more before it is written.
class AToggleUnderFaults : public ACommandUnderFaults, public testing::WithParamInterface<bool> {};

INSTANTIATE_TEST_SUITE_P(Entries, AToggleUnderFaults, testing::Bool(),
                         [](const auto& row) { return row.param ? "Blank" : "WithBytes"; });

} // namespace

TEST_P(AToggleUnderFaults, ChangesNothingOrLosesTheListThatItCannotReadAnew) {
    Insert("acos-a04");
    if (GetParam())
        m_deck.replaceObject(m_card, "0x0a", Bytes(64));
    const size_t write = GetParam() ? 5 : 4; // which call writes; what comes behind it lists the entries anew
    wxString shown;
    Command toggle;
    toggle.prepare = [&] {
        PrepareInfobox();
        m_dialog->Load();
        m_dialog->Select(2);
        shown = m_dialog->text_binary->GetValue();
    };
    toggle.run = [&] { m_dialog->Encrypt(); };
    toggle.checkFailed = [&](const CardFault& fault) {
        ExpectAlive();
        EXPECT_EQ(m_noPersB.count, 0);
        EXPECT_EQ(m_deck.trace("C_CloseSession").size(), m_deck.trace("C_OpenSession").size());
        if (fault.call.position <= write) {
            EXPECT_EQ(m_dialog->text_binary->GetValue(), shown);
            EXPECT_EQ(m_dialog->list_box->GetSelection(), 2);
            EXPECT_TRUE(m_dialog->button_encrypt->IsThisEnabled());
        } else if (fault.call.function != "C_CloseSession") {
            EXPECT_THAT(m_dialog->Rows(), IsEmpty());
            EXPECT_THAT(m_dialog->Pages(), Each(wxString()));
        }
    };
    toggle.prepareAgain = [&] {
        if (m_dialog->Rows().empty())
            m_dialog->LoadInfobox();
        if (m_dialog->list_box->GetSelection() == wxNOT_FOUND)
            m_dialog->Select(2);
    };
    toggle.checkDone = [&] {
        EXPECT_EQ(m_dialog->Rows().size(), 3U);
        EXPECT_EQ(m_dialog->list_box->GetSelection(), wxNOT_FOUND);
        EXPECT_THAT(m_dialog->Pages(), Each(wxString()));
        EXPECT_FALSE(m_dialog->button_encrypt->IsThisEnabled());
    };
    RunAllFaults(toggle);
}
