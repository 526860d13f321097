// SPDX-License-Identifier: MIT
#include "simulator/store/Card.h"

#include <filesystem>

#include <gmock/gmock.h>

#include "simulator/store/Files.h"
#include "tests/support/SimDeck.h"

using orselsim::BytesOf;
using orselsim::Card;
using orselsim::JoinPath;
using orselsim::StampOf;

class ACardOnDisk : public testing::Test {
protected:
    ACardOnDisk()
        : m_Directory(JoinPath(m_Deck.GetPath(), m_Deck.Add("ecard-g2"))),
          m_Card(orselsim::LoadCard(m_Directory)) {}

    auto Stamp(const std::string& file) const { return StampOf(JoinPath(m_Directory, file)); }

    orseltest::SimDeck m_Deck;
    const std::string m_Directory;
    const Card m_Card;
};

TEST_F(ACardOnDisk, IsReadWithEveryFileThatItNames) {
    for (const char* file :
         {"signature-key.pem", "encryption-cert.der", "data-RFU2.bin", "ehic.bin", "file-DF71-D001.bin"}) {
        EXPECT_FALSE(m_Card.Content(file).empty()) << file;
    }
}

TEST_F(ACardOnDisk, IsLeftAloneWhenNothingChanged) {
    const auto before = Stamp("card.json");
    orselsim::SaveChanges(m_Directory, m_Card, m_Card);
    EXPECT_EQ(before, Stamp("card.json"));
}

TEST_F(ACardOnDisk, IsRewrittenWhereItChanged) {
    const auto key = Stamp("signature-key.pem");
    const auto data = Stamp("data-RFU1.bin");
    const auto record = Stamp("card.json");
    Card changed = m_Card;
    changed.m_Contents["data-RFU1.bin"] = BytesOf("new");
    orselsim::SaveChanges(m_Directory, m_Card, changed);
    EXPECT_EQ(key, Stamp("signature-key.pem"));
    EXPECT_NE(data, Stamp("data-RFU1.bin"));
    EXPECT_NE(record, Stamp("card.json")) << "a new record tells other processes of the new content";
    EXPECT_EQ(BytesOf("new"), orselsim::LoadCard(m_Directory).Content("data-RFU1.bin"));
}

TEST_F(ACardOnDisk, IsRewrittenWhenItsRecordAloneChanged) {
    const auto data = Stamp("data-RFU1.bin");
    Card changed = m_Card;
    changed.m_Record.m_Pins.at("signature").m_Pin.m_TriesLeft = 1;
    orselsim::SaveChanges(m_Directory, m_Card, changed);
    EXPECT_EQ(data, Stamp("data-RFU1.bin"));
    EXPECT_EQ(1U, orselsim::LoadCard(m_Directory).m_Record.m_Pins.at("signature").m_Pin.m_TriesLeft);
}
