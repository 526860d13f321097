// SPDX-License-Identifier: MIT
#include "simulator/store/CardRecord.h"

#include <gmock/gmock.h>

#include "tests/support/SimDeck.h"

using orselsim::bytesOf;
using orselsim::CardRecord;
using orselsim::DamagedCard;
using orselsim::parseCardRecord;
using orselsim::printCardRecord;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

/// A record of the four members that every card has, and what is given.
std::string record(const std::string& more) {
    return R"({"label":"L","manufacturer":"M","model":"O","serial":"S")" + (more.empty() ? "" : "," + more) +
           "}";
}

std::string complaintAbout(const std::string& json) {
    try {
        parseCardRecord(bytesOf(json));
        return "";
    } catch (const DamagedCard& damage) {
        return damage.what();
    }
}

} // namespace

TEST(ACardRecord, HasDefaultsForAllButItsFourTexts) {
    const CardRecord card = parseCardRecord(bytesOf(record("")));
    EXPECT_EQ("L", card.label);
    EXPECT_EQ("M", card.manufacturer);
    EXPECT_EQ("O", card.model);
    EXPECT_EQ("S", card.serial);
    EXPECT_TRUE(card.isRemovable);
    EXPECT_TRUE(card.allowsSoftwarePin);
    EXPECT_FALSE(card.asksPinForData);
    EXPECT_FALSE(card.reportsPinStatus);
    EXPECT_EQ(0U, card.delayMs);
    EXPECT_EQ(std::nullopt, card.slotId);
    EXPECT_TRUE(card.objects.empty());
}

TEST(ACardRecord, IsPrintedAndReadBackTheSame) {
    orseltest::SimDeck deck;
    const std::string name =
        deck.add("cardos-53", orseltest::CardOptions().slot(9).delayMs(5).dataPin().fixedReader());
    const orselsim::Bytes printed = printCardRecord(deck.read(name).record);
    EXPECT_EQ(orselsim::textOf(printed), orselsim::textOf(printCardRecord(parseCardRecord(printed))));
    const CardRecord card = parseCardRecord(printed);
    EXPECT_EQ(9U, card.slotId);
    EXPECT_EQ(5U, card.delayMs);
    EXPECT_TRUE(card.asksPinForData);
    EXPECT_FALSE(card.isRemovable);
    EXPECT_THAT(card.objects, SizeIs(10));
    EXPECT_THAT(card.files.at(0).path, ElementsAre(0xD001));
    EXPECT_EQ(10U, card.pin("signature")->puk->triesLeft);
}

TEST(ACardRecord, ThatIsDamagedSaysWhere) {
    struct Case {
        std::string json;
        const char* complaint;
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
        {record(R"("atr":"3B0")"), "'atr' is not hexadecimal digits"},
        {record(R"("atr":["3B"])"), "'atr' is not a text"},
        {record(R"("removable":"yes")"), "'removable' is not true or false"},
        {record(R"("delay_ms":-1)"), "'delay_ms' is not a whole number"},
        {record(R"("delay_ms":1.5)"), "'delay_ms' is not a whole number"},
        {record(R"("slot":4294967296)"), "'slot' is not a whole number"},
        {record(R"("pins":[])"), "'pins' is not an object"},
        {record(R"("pins":{"signature":3})"), "a JSON object is expected"},
        {record(R"("pins":{"signature":{"tries_left":4,"max_tries":3}})"), "'tries_left' is above"},
        {record(R"("pins":{"signature":{"max_tries":255}})"), "or that is above 254"},
        {record(R"("objects":{})"), "'objects' is not a list"},
        {record(R"("objects":[1])"), "a JSON object is expected"},
        {record(R"("objects":[{"kind":"thing"}])"), "'thing' is no kind of object"},
        {record(R"("objects":[{"kind":"data","label":"L","file":"../x"}])"),
         "'../x' is not the name of a file"},
        {record(R"("objects":[{"kind":"data","label":"L","file":".x"}])"), "'.x' is not the name of a file"},
        {record(R"("objects":[{"kind":"data","label":"L","file":""}])"), "'' is not the name of a file"},
        {record(R"("objects":[{"kind":"data","label":"L","file":"x","pin":"none"}])"),
         "names a PIN that the card does not"},
        {record(R"("files":[{"path":"DF","file":"x"}])"), "'path' is not a row of file ids"},
        {record(R"("properties":{"EHIC":5})"), "'EHIC' is not a text"},
    };
    for (const Case& c : cases)
        EXPECT_THAT(complaintAbout(c.json), HasSubstr(c.complaint)) << c.json;
}

TEST(ACardRecord, WithTextThatIsNotUtf8IsNotPrinted) {
    CardRecord card;
    card.label = "\xFF";
    EXPECT_THROW(printCardRecord(card), DamagedCard);
}
