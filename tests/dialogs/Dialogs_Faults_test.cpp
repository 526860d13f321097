// SPDX-License-Identifier: MIT
// Every call that a command of these dialogs makes fails once, in each of the ways in which token libraries
// fail. The dialog stays alive and enabled, says what it has to say, closes its session, and the same command
// works the next time.
#include <algorithm>
#include <iostream>

#include "tests/dialogs/ProbedInfobox.h"
#include "tests/dialogs/ProbedTestDialog.h"

using orselsim::Bytes;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* RETURN_CODES[] = {
    "CKR_DEVICE_REMOVED",         "CKR_DEVICE_ERROR",     "CKR_GENERAL_ERROR",
    "CKR_SESSION_HANDLE_INVALID", "CKR_BUFFER_TOO_SMALL", "CKR_FUNCTION_NOT_SUPPORTED",
};

/// One call of a command.
struct CardCall {
    std::string function;
    int ofFunction; ///< which call of this function since the library was bound, from 1
    size_t ofAll;   ///< which call of the command, from 0
};

/// A command on a card, with what has to hold around it.
struct Command {
    std::function<void()> prepare; ///< opens the dialog, up to the command
    std::function<void()> run;
    std::function<void(const CardCall&)> checkFailed; ///< after a fault in this call
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
        for (const CardCall& call : calls) {
            for (const std::string& effect : EffectsOn(call.function)) {
                const std::string fault =
                    call.function + " call=" + std::to_string(call.ofFunction) + " " + effect;
                SCOPED_TRACE(fault);
                ++m_faults;
                m_deck.change(m_card, [&](orselsim::Card& card) { card = untouched; });
                m_deck.planFaults({fault});
                BindTraced();
                RunOne(command, call, effect);
            }
        }
        std::cout << m_faults << " faults of " << calls.size() << " calls\n";
    }

    /// The calls of the command when nothing fails.
    std::vector<CardCall> Learn(const Command& command) {
        BindTraced();
        command.prepare();
        const size_t before = Calls().size();
        command.run();
        command.checkDone();
        const std::vector<std::string> all = Calls();
        std::vector<CardCall> calls;
        for (size_t i = before; i < all.size(); ++i) {
            const auto end = all.begin() + static_cast<std::ptrdiff_t>(i) + 1;
            calls.push_back({all[i], static_cast<int>(std::count(all.begin(), end, all[i])), i - before});
        }
        return calls;
    }

    void RunOne(const Command& command, const CardCall& call, const std::string& effect) {
        command.prepare();
        m_deck.clearTrace();
        command.run();
        const auto trace = m_deck.trace(call.function);
        const bool isMet = std::any_of(trace.begin(), trace.end(),
                                       [&](const auto& record) { return "rv=" + record.result == effect; });
        EXPECT_TRUE(isMet || effect.compare(0, 7, "length=") == 0); // lengths stand in no trace
        command.checkFailed(call);
        ExpectEverySessionClosed();
        command.prepareAgain();
        command.run();
        command.checkDone();
    }

    static std::vector<std::string> EffectsOn(const std::string& function) {
        std::vector<std::string> effects;
        for (const char* code : RETURN_CODES)
            effects.push_back(std::string("rv=") + code);
        const bool reportsLength =
            function == "C_GetAttributeValue" || function == "C_Sign" || function == "C_FindObjects";
        if (reportsLength)
            effects.push_back("length=" + std::to_string(BeyondReason));
        return effects;
    }

    void ExpectEverySessionClosed() {
        const std::vector<std::string> closed = SessionsOf("C_CloseSession");
        for (const auto& record : m_deck.trace("C_OpenSession")) {
            if (record.result == "CKR_OK") {
                EXPECT_THAT(closed, testing::Contains(record.value("session")));
            }
        }
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

    static constexpr CK_ULONG BeyondReason = CK_ULONG{0x7FFFFFFF};

    std::unique_ptr<ProbedTestDialog> m_test;
    int m_faults = 0;
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
    sign.checkFailed = [this](const CardCall& call) {
        ExpectAfterFault(call, "Fehler beim Signieren", "Signatur erfolgreich!");
        EXPECT_EQ(m_test->text_signature->IsEmpty(), call.function != "C_CloseSession");
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
    verify.checkFailed = [this, signature](const CardCall& call) {
        ExpectAfterFault(call, "Fehler beim Verifizieren der Signatur", "Signaturprüfung erfolgreich!");
        EXPECT_EQ(m_test->text_signature->GetValue(), signature);
    };
    verify.checkDone = [this] { EXPECT_EQ(m_test->Status(), Utf8("Signaturprüfung erfolgreich!")); };
    RunAllFaults(verify);
}

// --- Infobox -----------------------------------------------------------------------------------------------

TEST_F(ACommandUnderFaults, LeavesTheListEmptyWhenTheContainerCannotBeLoaded) {
    Insert("acos-a04");
    Command load;
    load.prepare = [this] { PrepareInfobox(); };
    load.run = [this] { m_dialog->Load(); };
    load.checkFailed = [this](const CardCall& call) {
        ExpectAlive();
        EXPECT_FALSE(m_dialog->button_encrypt->IsThisEnabled());
        const bool isUnknown = call.function == "C_GetSlotList" || call.function == "C_GetTokenInfo";
        if (isUnknown) {
            EXPECT_THAT(m_dialog->Rows(), ElementsAre("Personenbindung", "RFU1", "RFU2"));
        } else if (call.function != "C_CloseSession") {
            EXPECT_THAT(m_dialog->Rows(), IsEmpty());
        }
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
    select.checkFailed = [this](const CardCall& call) {
        ExpectAlive();
        const bool isShown = call.function == "C_CloseSession";
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
    toggle.checkFailed = [&](const CardCall& call) {
        ExpectAlive();
        EXPECT_EQ(m_noPersB.count, 0);
        EXPECT_EQ(m_deck.trace("C_CloseSession").size(), m_deck.trace("C_OpenSession").size());
        if (call.ofAll <= write) {
            EXPECT_EQ(m_dialog->text_binary->GetValue(), shown);
            EXPECT_EQ(m_dialog->list_box->GetSelection(), 2);
            EXPECT_TRUE(m_dialog->button_encrypt->IsThisEnabled());
        } else if (call.function != "C_CloseSession") {
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
