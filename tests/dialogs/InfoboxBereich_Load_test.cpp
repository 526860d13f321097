// SPDX-License-Identifier: MIT
// From the card to the list, over the simulated token library.
#include "dialogs/InfoboxBereich.h"

#include <wx/display.h>

#include <algorithm>
#include <cstdlib>

#include "tests/dialogs/ProbedInfobox.h"
#include "tests/support/Widgets.h"

using orselsim::Bytes;
using testing::ElementsAre;
using testing::IsEmpty;
using Velmor::ByteArray;

namespace {

/// A card's infobox area by the kind of the card.
struct KindRow {
    const char* m_Kind;
    bool m_HasContainer;
};

constexpr KindRow KINDS[] = {
    {"acos-a03", false}, {"acos-a04", true}, {"acos-a05", true},  {"ecard-g2", false}, {"ecard-g3a", false},
    {"ecard-g3b", true}, {"ecard-g4", true}, {"cardos-53", true}, {"unknown", false},
};

void PrintTo(const KindRow& row, std::ostream* out) {
    *out << row.m_Kind;
}

class AnInfoboxOnEachKindOfCard : public AnInfoboxOnACard, public testing::WithParamInterface<KindRow> {};

INSTANTIATE_TEST_SUITE_P(Kinds, AnInfoboxOnEachKindOfCard, testing::ValuesIn(KINDS), [](const auto& row) {
    std::string name = row.param.m_Kind;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

} // namespace

// --- Loading -----------------------------------------------------------------------------------------------

TEST_P(AnInfoboxOnEachKindOfCard, ListsTheContainersEntriesOrThreeFixedRows) {
    OpenOn(GetParam().m_Kind);
    EXPECT_EQ(m_Dialog->m_bInfoboxKonzept, GetParam().m_HasContainer);
    if (GetParam().m_HasContainer) {
        EXPECT_THAT(m_Dialog->Rows(), ElementsAre("01 PERSONENBINDUNG", "02 RFU1", "0a RFU2"));
    } else {
        EXPECT_THAT(m_Dialog->Rows(), ElementsAre("Personenbindung", "RFU1", "RFU2"));
    }
    EXPECT_EQ(m_Dialog->list_box->GetSelection(), wxNOT_FOUND);
    EXPECT_FALSE(m_Dialog->button_encrypt->IsThisEnabled());
    EXPECT_TRUE(m_Dialog->list_box->IsEnabled());
    EXPECT_EQ(m_NoPersB.m_Count, 0);
    EXPECT_EQ(m_Dialog->button_encrypt->GetLabel(), Utf8("unverschlüsselt speichern"));
}

TEST_P(AnInfoboxOnEachKindOfCard, ShowsTheIdentityLinkOfTheCard) {
    OpenOn(GetParam().m_Kind);
    m_Dialog->Select(0);
    if (GetParam().m_Kind == std::string("unknown")) { // holds none
        EXPECT_EQ(m_NoPersB.m_Count, 1);
        return;
    }
    EXPECT_EQ(m_NoPersB.m_Count, 0);
    EXPECT_TRUE(m_Dialog->text_inhalt->GetValue().StartsWith("Vorname: "));
    EXPECT_TRUE(m_Dialog->text_binary->GetValue().StartsWith("30 8"));
    EXPECT_EQ(m_Dialog->button_encrypt->IsThisEnabled(), GetParam().m_HasContainer);
}

TEST_F(AnInfoboxOnACard, HoldsThreeRowsWhateverACardWithoutAContainerHolds) {
    Insert("acos-a03");
    for (const char* label : {"PERSONENBINDUNG", "RFU1", "RFU2"}) {
        m_Deck.RemoveObject(m_Card, label);
    }
    Open();
    m_Dialog->Load();
    EXPECT_THAT(m_Dialog->Rows(), ElementsAre("Personenbindung", "RFU1", "RFU2"));
    EXPECT_EQ(m_NoPersB.m_Count, 0);
    EXPECT_THAT(Calls(), ElementsAre("C_GetSlotList", "C_GetSlotList", "C_GetTokenInfo")); // no session
}

namespace {

class AListWithLongRows : public AnInfoboxOnACard {
protected:
    void SetUp() override {
        Insert("acos-a03");
        Open();
        ExpectSettled();
    }
    /// The window is up, and its list has a quarter of it.
    void ExpectSettled() {
        ASSERT_TRUE(RunUntil([this] {
            return HasBorder(*m_Dialog) && widgets::IsUp(*m_Dialog) && Pages() > 100 &&
                   std::abs(4 * (List() + 6) - m_Dialog->GetClientSize().GetWidth()) <= 7;
        })) << (HasBorder(*m_Dialog) ? "" : "no border, ")
            << (widgets::IsUp(*m_Dialog) ? "" : "not up, ") << List() << " and " << Pages() << " of "
            << m_Dialog->GetClientSize().GetWidth();
        RunFor(100);
    }
    void LoadInFont(float scale) {
        m_Dialog->list_box->SetFont(m_Dialog->GetFont().Scaled(scale));
        m_Dialog->Load();
    }
    int List() { return m_Dialog->list_box->GetSize().GetWidth(); }
    int Pages() { return m_Dialog->notebook->GetSize().GetWidth(); }
    int Needed() { return m_Dialog->list_box->GetTextExtent("Personenbindung").x + 12; }
};

} // namespace

TEST_F(AListWithLongRows, GetsTheirRoomAndTakesNoneFromThePages) {
    const int pages = Pages();
    LoadInFont(3);
    EXPECT_TRUE(RunUntil([&] { return List() == Needed() && Pages() == pages; }))
        << List() << " of " << Needed() << ", " << Pages() << " of " << pages;
}

TEST_F(AListWithLongRows, TakesItFromThePagesWhereTheScreenHasNoneLeft) {
    m_Dialog->SetSize(wxDisplay(0U).GetClientArea().GetWidth(), 400);
    ExpectSettled();
    LoadInFont(6);
    EXPECT_EQ(List(), Needed());
}

TEST_F(AnInfoboxOnACard, AsksTheTokenAndThenReadsTheContainerInOneSession) {
    Insert("acos-a04");
    Open();
    m_Dialog->Load();
    EXPECT_THAT(Calls(), ElementsAre("C_GetSlotList", "C_GetSlotList", "C_GetTokenInfo", "C_OpenSession",
                                     "C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal",
                                     "C_GetAttributeValue", "C_CloseSession"));
    ExpectOneSession();
    EXPECT_EQ(m_Deck.GetTrace("C_FindObjectsInit").front().Value("attributes"),
              "CKA_CLASS:CKO_DATA,CKA_LABEL:INFOBOX");
    EXPECT_EQ(m_Deck.GetTrace("C_FindObjects").front().Value("max"), "10");
    EXPECT_EQ(m_Deck.GetTrace("C_GetAttributeValue").front().Value("attributes"), "CKA_VALUE");
}

TEST_F(AnInfoboxOnACard, IsDisabledWhileItLoads) {
    Insert("acos-a04");
    Open();
    bool wasEnabled = true;
    bool wasEmpty = false;
    m_Dialog->CallAfter([&] { // done while the dialog yields before it reads the card
        wasEnabled = m_Dialog->list_box->IsThisEnabled() || m_Dialog->button_close->IsThisEnabled();
        wasEmpty = m_Dialog->Rows().empty() && Calls().empty();
    });
    m_Dialog->Load();
    EXPECT_FALSE(wasEnabled);
    EXPECT_TRUE(wasEmpty);
    EXPECT_TRUE(m_Dialog->list_box->IsThisEnabled());
    EXPECT_TRUE(m_Dialog->button_close->IsThisEnabled());
}

TEST_F(AnInfoboxOnACard, LoadsByItselfOnceItRuns) {
    Insert("acos-a04");
    Open().Show(false);
    const auto isLoaded = [this] {
        return m_Dialog->Rows().size() == 3 && m_Dialog->list_box->IsThisEnabled();
    };
    const auto close = [this] {
        RunFor(100); // for a second loading, which does not come
        Press(*m_Dialog, 5450);
    };
    const int result = RunModal(*m_Dialog, close, isLoaded);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").size(), 1U);
}

TEST_F(AnInfoboxOnACard, ReadsTheSlotThatItIsGiven) {
    m_Deck.Add("acos-a03", orseltest::CardOptions().Slot(1));
    m_Card = m_Deck.Add("acos-a04", orseltest::CardOptions().Slot(2));
    Bind();
    ProbedInfobox dialog;
    dialog.SetP11(m_P11.get(), 1);
    dialog.Load();
    EXPECT_EQ(dialog.Rows().front(), "01 PERSONENBINDUNG");
    EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").front().Value("slot"), "2");
}

TEST_F(AnInfoboxOnACard, TakesACardThatCannotBeQueriedForOneWithoutAContainer) {
    m_Deck.Add("acos-a04");
    m_Deck.PlanFaults({"C_GetTokenInfo call=2 rv=CKR_DEVICE_ERROR"}); // the first call lists the slots
    Bind();
    ProbedInfobox dialog;
    dialog.SetP11(m_P11.get(), 0);
    dialog.Load();
    EXPECT_THAT(dialog.Rows(), ElementsAre("Personenbindung", "RFU1", "RFU2"));
}

TEST_F(AnInfoboxOnACard, TellsOfAMissingIdentityLinkWhenThereIsNoContainer) {
    Insert("acos-a04");
    m_Deck.RemoveObject(m_Card, "INFOBOX");
    Open();
    m_NoPersB.m_Inspect = [this](wxDialog&) { EXPECT_TRUE(m_Dialog->list_box->IsThisEnabled()); };
    m_Dialog->Load();
    EXPECT_THAT(m_Dialog->Rows(), IsEmpty());
    EXPECT_EQ(m_NoPersB.m_Count, 1);
    EXPECT_TRUE(m_Dialog->m_bInfoboxKonzept);
    ExpectOneSession();
}

TEST_F(AnInfoboxOnACard, SaysNothingWhenAnECardHasNoContainer) {
    for (const char* kind : {"ecard-g3b", "ecard-g4"}) {
        Insert(kind);
        m_Deck.RemoveObject(m_Card, "INFOBOX");
        OpenAndLoad();
        EXPECT_THAT(m_Dialog->Rows(), IsEmpty());
        EXPECT_EQ(m_NoPersB.m_Count, 0);
        m_Dialog.reset();
        m_Deck.Remove(m_Card);
    }
}

TEST_F(AnInfoboxOnACard, StaysEmptyWithABadOrEmptyContainer) {
    const Bytes containers[] = {
        {0x56, 0x49, 0x4B, 0x02, 0x01, 0x00, 0x01, 0x00, 0xAA}, // a version of the future
        {'X', 0x49, 0x4B, 0x01, 0x01, 0x00, 0x01, 0x00, 0xAA},
        {0x56, 0x49, 0x4B, 0x01, 0x01, 0x00, 0x01, 0x00, 0xAA, 0x02, 0x00, 0x05, 0x00, 0xAA}, // overruns
        {0x56, 0x49, 0x4B, 0x01},
        Bytes(64),
        {},
    };
    Insert("acos-a04");
    for (const Bytes& container : containers) {
        m_Deck.ReplaceObject(m_Card, "INFOBOX", container);
        Bind();
        m_NoPersB.m_Count = 0;
        OpenAndLoad();
        EXPECT_THAT(m_Dialog->Rows(), IsEmpty());
        EXPECT_EQ(m_NoPersB.m_Count, 1);
        m_Dialog.reset();
    }
}

TEST_F(AnInfoboxOnACard, EndsWhenTheExternalProgramIsStartedWhileItLoads) {
    Insert("acos-a04");
    m_Deck.RemoveObject(m_Card, "INFOBOX");
    Open().Show(false);
    m_NoPersB.m_Answer = 1;
    EXPECT_EQ(m_Dialog->ShowModal(), 0);
    EXPECT_EQ(m_NoPersB.m_Count, 1);
}

TEST_F(AnInfoboxOnACard, LeavesTheCardAloneWhenItIsClosedBeforeItIsDrawn) {
    Insert("acos-a04");
    m_Deck.RemoveObject(m_Card, "INFOBOX");
    Open().Show(false);
    m_Dialog->Bind(
        wxEVT_TIMER,
        [this](wxTimerEvent& event) {
            m_Dialog->CallAfter([this] { m_Dialog->EndModal(0); });
            event.Skip();
        },
        5444);
    EXPECT_EQ(m_Dialog->ShowModal(), 0);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(m_NoPersB.m_Count, 0);
}

TEST_F(AnInfoboxOnACard, ListsEveryTagInTheOrderOfTheContainer) {
    Insert("acos-a04");
    ReplaceContainer({{0xab, 0, {1}}, {0x03, 0, {1}}, {0x01, 0, {1}}, {0x03, 1, {1}}});
    OpenAndLoad();
    EXPECT_THAT(m_Dialog->Rows(), ElementsAre("ab RFU2", "03 RFU2", "01 PERSONENBINDUNG", "03 RFU2"));
}

TEST_F(AnInfoboxOnACard, ListsTheContainerAnewWithoutASelection) {
    OpenOn("acos-a04");
    m_Dialog->Select(1);
    ReplaceContainer({{0x07, 0, {1}}});
    EXPECT_TRUE(m_Dialog->LoadInfobox());
    EXPECT_THAT(m_Dialog->Rows(), ElementsAre("07 RFU2"));
    EXPECT_EQ(m_Dialog->list_box->GetSelection(), wxNOT_FOUND);
    EXPECT_FALSE(m_Dialog->button_encrypt->IsThisEnabled());
    EXPECT_EQ(m_Dialog->m_InfoboxFS.GetEntryCount(), 1); // nothing is left of the one before
}

TEST_F(AnInfoboxOnACard, LosesItsRowsWhenTheContainerHasGone) {
    OpenOn("acos-a04");
    m_Dialog->Select(1);
    m_Deck.RemoveObject(m_Card, "INFOBOX");
    EXPECT_FALSE(m_Dialog->LoadInfobox());
    EXPECT_THAT(m_Dialog->Rows(), IsEmpty());
    EXPECT_TRUE(m_Dialog->button_encrypt->IsThisEnabled()); // only a loading that works disables it
    EXPECT_EQ(m_Dialog->m_InfoboxFS.GetEntryCount(), 3);
}

TEST_F(AnInfoboxOnACard, KnowsAContainerForEverOnceItHasMetOne) {
    OpenOn("acos-a04");
    m_Deck.Remove(m_Card);
    Insert("acos-a03");
    m_Dialog->SetP11(m_P11.get(), 0);
    m_Dialog->Load();
    EXPECT_TRUE(m_Dialog->m_bInfoboxKonzept);
}

// --- Reading one data object -------------------------------------------------------------------------------

namespace {

/// Zero bytes with other bytes behind them.
Bytes ZerosAnd(size_t zeros, const Bytes& rest = {}) {
    Bytes bytes(zeros);
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

class ADataObject : public AnInfoboxOnACard {
protected:
    void SetUp() override {
        Insert("acos-a03");
        Open();
    }
    /// Gives the object of this label another content.
    void Write(const Bytes& content) {
        m_Deck.ReplaceObject(m_Card, "RFU1", content);
        m_Deck.ClearTrace();
    }
    bool Read(const std::string& label = "RFU1") { return m_Dialog->LoadInfoboxData(label, m_Out); }

    ByteArray m_Out;
};

} // namespace

TEST_F(ADataObject, IsReadInOneSessionByClassAndLabel) {
    EXPECT_TRUE(Read());
    EXPECT_EQ(m_Out.ToString(), "Bibliotheksausweis 4711");
    EXPECT_EQ(m_Dialog->m_CachedContent, m_Out);
    EXPECT_THAT(Calls(), ElementsAre("C_OpenSession", "C_FindObjectsInit", "C_FindObjects",
                                     "C_FindObjectsFinal", "C_GetAttributeValue", "C_CloseSession"));
    ExpectOneSession();
    EXPECT_EQ(m_Deck.GetTrace("C_FindObjectsInit").front().Value("attributes"),
              "CKA_CLASS:CKO_DATA,CKA_LABEL:RFU1");
}

TEST_F(ADataObject, ReplacesWhatWasInTheOutput) {
    m_Out = ByteArray(std::string("alt"));
    EXPECT_TRUE(Read());
    EXPECT_EQ(m_Out.ToString(), "Bibliotheksausweis 4711");
}

TEST_F(ADataObject, CountsAsEmptyWhenItsFirst128BytesAreZero) {
    struct Row {
        Bytes m_Content;
        size_t m_Size;
    };
    const Row rows[] = {
        {{}, 0},
        {ZerosAnd(50), 0},
        {ZerosAnd(128), 0},
        {ZerosAnd(128, Bytes(72, 0xAA)), 0}, // what stands behind does not matter
        {ZerosAnd(127, {1}), 128},
        {ZerosAnd(127, Bytes(73, 0xAA)), 200},
        {ZerosAnd(49, {1}), 50},
        {{1}, 1},
    };
    for (const Row& row : rows) {
        Write(row.m_Content);
        m_Out = ByteArray(std::string("alt"));
        EXPECT_TRUE(Read());
        EXPECT_EQ(m_Out.size(), row.m_Size);
        EXPECT_EQ(m_Dialog->m_CachedContent.size(), row.m_Size);
    }
}

TEST_F(ADataObject, IsReadUpTo5012Bytes) {
    Write(Bytes(5012, 0x41));
    EXPECT_TRUE(Read());
    EXPECT_EQ(m_Out.size(), 5012U);
    Write(Bytes(5013, 0x41));
    EXPECT_FALSE(Read());
    EXPECT_EQ(m_Out.size(), 5012U); // untouched
    ExpectOneSession();
}

TEST_F(ADataObject, IsTheFirstOfThoseWithItsLabel) {
    m_Deck.AddData(m_Card, "RFU1", {'z', 'w', 'e', 'i'});
    EXPECT_TRUE(Read());
    EXPECT_EQ(m_Out.ToString(), "Bibliotheksausweis 4711");
}

TEST_F(ADataObject, ThatIsMissingIsNoSuccessAndLeavesTheOutput) {
    m_Out = ByteArray(std::string("alt"));
    EXPECT_FALSE(Read("NIRGENDS"));
    EXPECT_EQ(m_Out.ToString(), "alt");
    EXPECT_EQ(m_Dialog->m_CachedContent.ToString(),
              "alt"); // what is in the output is kept, whoever put it there
    EXPECT_THAT(m_Deck.GetTrace("C_GetAttributeValue"), IsEmpty());
    ExpectOneSession();
}

TEST_F(ADataObject, LosesWhatWasReadBeforeIt) {
    EXPECT_TRUE(Read());
    m_Out.clear();
    EXPECT_FALSE(Read("NIRGENDS"));
    EXPECT_TRUE(m_Dialog->m_CachedContent.empty());
    EXPECT_TRUE(Read());
    EXPECT_TRUE(Read("RFU2")); // blank
    EXPECT_TRUE(m_Dialog->m_CachedContent.empty());
}

TEST_F(ADataObject, IsNotReadWithoutASessionWhichIsClosedAllTheSame) {
    m_Deck.TakeOut(m_Card);
    m_Out = ByteArray(std::string("alt"));
    EXPECT_FALSE(Read());
    EXPECT_EQ(m_Out.ToString(), "alt");
    EXPECT_THAT(Calls(), ElementsAre("C_OpenSession", "C_CloseSession"));
    m_Deck.PutBack(m_Card);
    EXPECT_TRUE(Read());
}

TEST_F(ADataObject, IsNotReadFromALibraryThatCannotReadAttributes) {
    const auto entryPoint = Velmor::tkPKCS11::Proc_C_GetAttributeValue;
    Velmor::tkPKCS11::Proc_C_GetAttributeValue = nullptr;
    EXPECT_FALSE(Read());
    EXPECT_TRUE(m_Out.empty());
    ExpectOneSession();
    Velmor::tkPKCS11::Proc_C_GetAttributeValue = entryPoint;
    EXPECT_TRUE(Read());
}

TEST_F(ADataObject, IsNotReadWhenTheLibraryReportsALengthBeyondTheBuffer) {
    for (const CK_ULONG length : {CK_ULONG{5013}, CK_ULONG{0xFFFFFFF0}, CK_UNAVAILABLE_INFORMATION}) {
        BindWithFault("C_GetAttributeValue call=1 length=" + std::to_string(length));
        m_Dialog->SetP11(m_P11.get(), 0);
        EXPECT_FALSE(Read()) << length;
        EXPECT_TRUE(m_Out.empty());
        ExpectOneSession();
        EXPECT_TRUE(Read());
        m_Out.clear();
    }
}
