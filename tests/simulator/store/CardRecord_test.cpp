// SPDX-License-Identifier: MIT
#include "simulator/store/CardRecord.h"

#include <gmock/gmock.h>

#include "tests/support/SimDeck.h"

using orselsim::BytesOf;
using orselsim::CardRecord;
using orselsim::DamagedCard;
using orselsim::ParseCardRecord;
using orselsim::PrintCardRecord;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

/// A record of the four members that every card has, and what is given.
std::string Record(const std::string& more) {
    return R"({"label":"L","manufacturer":"M","model":"O","serial":"S")" + (more.empty() ? "" : "," + more) +
           "}";
}

std::string ComplaintAbout(const std::string& json) {
    try {
        ParseCardRecord(BytesOf(json));
        return "";
    } catch (const DamagedCard& damage) {
        return damage.what();
    }
}

} // namespace

TEST(ACardRecord, HasDefaultsForAllButItsFourTexts) {
    const CardRecord card = ParseCardRecord(BytesOf(Record("")));
    EXPECT_EQ("L", card.m_Label);
    EXPECT_EQ("M", card.m_Manufacturer);
    EXPECT_EQ("O", card.m_Model);
    EXPECT_EQ("S", card.m_Serial);
    EXPECT_TRUE(card.m_IsRemovable);
    EXPECT_TRUE(card.m_AllowsSoftwarePin);
    EXPECT_FALSE(card.m_AsksPinForData);
    EXPECT_FALSE(card.m_ReportsPinStatus);
    EXPECT_EQ(0U, card.m_DelayMs);
    EXPECT_EQ(std::nullopt, card.m_SlotId);
    EXPECT_TRUE(card.m_Objects.empty());
}

TEST(ACardRecord, IsPrintedAndReadBackTheSame) {
    orseltest::SimDeck deck;
    const std::string name =
        deck.Add("cardos-53", orseltest::CardOptions().Slot(9).DelayMs(5).DataPin().FixedReader());
    const orselsim::Bytes printed = PrintCardRecord(deck.Read(name).m_Record);
    EXPECT_EQ(orselsim::TextOf(printed), orselsim::TextOf(PrintCardRecord(ParseCardRecord(printed))));
    const CardRecord card = ParseCardRecord(printed);
    EXPECT_EQ(9U, card.m_SlotId);
    EXPECT_EQ(5U, card.m_DelayMs);
    EXPECT_TRUE(card.m_AsksPinForData);
    EXPECT_FALSE(card.m_IsRemovable);
    EXPECT_THAT(card.m_Objects, SizeIs(10));
    EXPECT_THAT(card.m_Files.at(0).m_Path, ElementsAre(0xD001));
    EXPECT_EQ(10U, card.Pin("signature")->m_Puk->m_TriesLeft);
}

TEST(ACardRecord, ThatIsDamagedSaysWhere) {
    struct Case {
        std::string m_Json;
        const char* m_Complaint;
    };
    const Case cases[] = {
        {"", "parse error"},
        {"[]", "a JSON object is expected"},
        {"null", "a JSON object is expected"},
        {R"({"label":"L"})", "'manufacturer' is missing"},
        {R"({"label":7})", "'label' is not a text"},
        {R"({"label":"123456789012345678901234567890123"})", "'label' is longer than 32 bytes"},
        {R"({"label":"L","manufacturer":"M","model":"12345678901234567"})",
         "'model' is longer than 16 bytes"},
        {Record(R"("atr":"3B0")"), "'atr' is not hexadecimal digits"},
        {Record(R"("atr":["3B"])"), "'atr' is not a text"},
        {Record(R"("removable":"yes")"), "'removable' is not true or false"},
        {Record(R"("delay_ms":-1)"), "'delay_ms' is not a whole number"},
        {Record(R"("delay_ms":1.5)"), "'delay_ms' is not a whole number"},
        {Record(R"("slot":4294967296)"), "'slot' is not a whole number"},
        {Record(R"("pins":[])"), "'pins' is not an object"},
        {Record(R"("pins":{"signature":3})"), "a JSON object is expected"},
        {Record(R"("pins":{"signature":{"tries_left":4,"max_tries":3}})"), "'tries_left' is above"},
        {Record(R"("pins":{"signature":{"max_tries":255}})"), "or that is above 254"},
        {Record(R"("objects":{})"), "'objects' is not a list"},
        {Record(R"("objects":[1])"), "a JSON object is expected"},
        {Record(R"("objects":[{"kind":"thing"}])"), "'thing' is no kind of object"},
        {Record(R"("objects":[{"kind":"data","label":"L","file":"../x"}])"),
         "'../x' is not the name of a file"},
        {Record(R"("objects":[{"kind":"data","label":"L","file":".x"}])"), "'.x' is not the name of a file"},
        {Record(R"("objects":[{"kind":"data","label":"L","file":""}])"), "'' is not the name of a file"},
        {Record(R"("objects":[{"kind":"data","label":"L","file":"x","pin":"none"}])"),
         "names a PIN that the card does not"},
        {Record(R"("files":[{"path":"DF","file":"x"}])"), "'path' is not a row of file ids"},
        {Record(R"("properties":{"EHIC":5})"), "'EHIC' is not a text"},
    };
    for (const Case& c : cases) {
        EXPECT_THAT(ComplaintAbout(c.m_Json), HasSubstr(c.m_Complaint)) << c.m_Json;
    }
}

TEST(ACardRecord, WithTextThatIsNotUtf8IsNotPrinted) {
    CardRecord card;
    card.m_Label = "\xFF";
    EXPECT_THROW(PrintCardRecord(card), DamagedCard);
}
