// SPDX-License-Identifier: MIT
#include "simulator/store/Card.h"

#include <filesystem>

#include <gmock/gmock.h>

#include "simulator/store/Files.h"
#include "tests/support/SimDeck.h"

using orselsim::bytesOf;
using orselsim::Card;
using orselsim::joinPath;
using orselsim::stampOf;

class ACardOnDisk : public testing::Test {
protected:
    ACardOnDisk()
        : directory(joinPath(deck.path(), deck.add("ecard-g2"))), card(orselsim::loadCard(directory)) {}

    auto stamp(const std::string& file) const { return stampOf(joinPath(directory, file)); }

    orseltest::SimDeck deck;
    const std::string directory;
    const Card card;
};

TEST_F(ACardOnDisk, IsReadWithEveryFileThatItNames) {
    for (const char* file :
         {"signature-key.pem", "encryption-cert.der", "data-RFU2.bin", "ehic.bin", "file-DF71-D001.bin"})
        EXPECT_FALSE(card.content(file).empty()) << file;
}

TEST_F(ACardOnDisk, IsLeftAloneWhenNothingChanged) {
    const auto before = stamp("card.json");
    orselsim::saveChanges(directory, card, card);
    EXPECT_EQ(before, stamp("card.json"));
}

TEST_F(ACardOnDisk, IsRewrittenWhereItChanged) {
    const auto key = stamp("signature-key.pem");
    const auto data = stamp("data-RFU1.bin");
    const auto record = stamp("card.json");
    Card changed = card;
    changed.contents["data-RFU1.bin"] = bytesOf("new");
    orselsim::saveChanges(directory, card, changed);
    EXPECT_EQ(key, stamp("signature-key.pem"));
    EXPECT_NE(data, stamp("data-RFU1.bin"));
    EXPECT_NE(record, stamp("card.json")) << "a new record tells other processes of the new content";
    EXPECT_EQ(bytesOf("new"), orselsim::loadCard(directory).content("data-RFU1.bin"));
}

TEST_F(ACardOnDisk, IsRewrittenWhenItsRecordAloneChanged) {
    const auto data = stamp("data-RFU1.bin");
    Card changed = card;
    changed.record.pins.at("signature").pin.triesLeft = 1;
    orselsim::saveChanges(directory, card, changed);
    EXPECT_EQ(data, stamp("data-RFU1.bin"));
    EXPECT_EQ(1U, orselsim::loadCard(directory).record.pins.at("signature").pin.triesLeft);
}
