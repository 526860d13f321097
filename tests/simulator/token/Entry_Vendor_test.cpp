// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/SimDeck.h"

using orselsim::ToHex;
using orseltest::Bytes;
using orseltest::CardOptions;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;

namespace {

using CardAttribute = CK_RV (*)(CK_SESSION_HANDLE, const char*, unsigned char*, unsigned long*);
using CardTransmit = CK_RV (*)(CK_SESSION_HANDLE, const unsigned char*, unsigned long, unsigned char*,
                               unsigned long*);

constexpr const char* SELECT_ROOT = "00A4000C023F00";
constexpr const char* SELECT_DF_DEC = "00A4000C02DF71";
constexpr const char* SELECT_EF_DEC = "00A4000C02D001";
constexpr const char* SELECT_EF_GDO = "00A4000C022F02";
constexpr const char* READ_BINARY = "00B0000000";
constexpr const char* READ_CHIP_ID = "80F6000008";

} // namespace

class ACard : public testing::Test {
protected:
    void PutIn(const std::string& kind, const CardOptions& options = CardOptions()) {
        m_Card = m_Deck.Add(kind, options);
        m_Library.emplace();
        m_Session = m_Library->OpenFirst();
    }

    std::string Attribute(const char* name) {
        Bytes value;
        EXPECT_EQ(Rv(CKR_OK), m_Library->CardAttribute(m_Session, name, value)) << name;
        return ToHex(value);
    }

    Rv AttributeResult(const char* name) {
        Bytes value;
        return m_Library->CardAttribute(m_Session, name, value);
    }

    std::string Transmit(const std::string& apdu) { return m_Library->Transmit(m_Session, apdu); }

    SimDeck m_Deck;
    std::string m_Card;
    std::optional<TokenLibrary> m_Library;
    CK_SESSION_HANDLE m_Session = 0;
};

TEST_F(ACard, TellsItsAtr) {
    PutIn("empty");
    EXPECT_EQ("3BBF11008131FE454550414F5253454C2D412D30303031F6", Attribute("ATR"));
}

TEST_F(ACard, TellsItsAtrAgainWhenItIsReset) {
    PutIn("empty");
    EXPECT_EQ(Attribute("ATR"), Attribute("Reset"));
}

TEST_F(ACard, AnswersPropertiesByTheSizeProtocol) {
    PutIn("empty");
    const auto call = reinterpret_cast<CardAttribute>(m_Library->Symbol("C_CardAttribute"));
    unsigned long size = 0;
    EXPECT_EQ(Rv(CKR_OK), call(m_Session, "ATR", nullptr, &size));
    EXPECT_EQ(24U, size);
    Bytes buffer(24, 0xEE);
    size = 23;
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL), call(m_Session, "ATR", buffer.data(), &size));
    EXPECT_EQ(24U, size);
    EXPECT_EQ(0xEE, buffer[0]);
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), call(m_Session, "ATR", buffer.data(), nullptr));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), call(m_Session, nullptr, buffer.data(), &size));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), call(m_Session + 1, "ATR", buffer.data(), &size));
}

TEST_F(ACard, KnowsNoPropertyBeyondItsOwn) {
    PutIn("empty");
    for (const char* name :
         {"atr", "", "SicSig/PIN-Status", "GewSig/PIN-Status", "SV-Personendaten/EHIC", "Nothing"}) {
        EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), AttributeResult(name)) << name;
    }
}

TEST_F(ACard, WithoutAnAtrFailsToTellIt) {
    PutIn("empty");
    m_Deck.Change(m_Card, [](orselsim::Card& changed) { changed.m_Record.m_Atr.clear(); });
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), AttributeResult("ATR"));
}

TEST_F(ACard, OfTheECardKindTellsTheStateOfItsPins) {
    PutIn("ecard-g2");
    EXPECT_EQ("03", Attribute("SicSig/PIN-Status"));
    EXPECT_EQ("03", Attribute("GewSig/PIN-Status"));
    m_Deck.Change(m_Card, [](orselsim::Card& changed) {
        changed.m_Record.m_Pins.at("signature").m_Pin.m_TriesLeft = 0;
        changed.m_Record.m_Pins.at("encryption").m_Pin.m_Secret.reset();
    });
    EXPECT_EQ("00", Attribute("SicSig/PIN-Status"));
    EXPECT_EQ("FF", Attribute("GewSig/PIN-Status")) << "not set, so nothing is known of tries";
}

TEST_F(ACard, OfTheECardKindHoldsPersonData) {
    PutIn("ecard-g2", CardOptions().Holder("Jörg Groß").Serial("8004000112233445"));
    Bytes value;
    EXPECT_EQ(Rv(CKR_OK), m_Library->CardAttribute(m_Session, "SV-Personendaten/EHIC", value));
    EXPECT_THAT(orselsim::TextOf(value), testing::HasSubstr("Jörg Groß"));
    EXPECT_EQ(Rv(CKR_OK), m_Library->CardAttribute(m_Session, "SV-Personendaten/Grunddaten", value));
    EXPECT_THAT(orselsim::TextOf(value), testing::HasSubstr("8004000112233445"));
}

TEST_F(ACard, HoldsItsNumberBelowADirectory) {
    PutIn("ecard-g2", CardOptions().Serial("8004000112233445"));
    for (int i = 0; i < 2; ++i) { // a second time from where the first one ended
        EXPECT_EQ("9000", Transmit(SELECT_DF_DEC));
        EXPECT_EQ("9000", Transmit(SELECT_EF_DEC));
        EXPECT_EQ("80040001122334454F5253454C9000", Transmit(READ_BINARY));
    }
}

TEST_F(ACard, OfTheCardosKindHoldsItsNumbersInTheRoot) {
    PutIn("cardos-53", CardOptions().Serial("8004100556677889"));
    EXPECT_EQ("9000", Transmit(SELECT_ROOT));
    EXPECT_EQ("9000", Transmit(SELECT_EF_DEC));
    EXPECT_EQ("80041005566778894F5253454C9000", Transmit(READ_BINARY));
    EXPECT_EQ("9000", Transmit(SELECT_ROOT));
    EXPECT_EQ("9000", Transmit(SELECT_EF_GDO));
    EXPECT_EQ("5A0A800480041005566778899000", Transmit(READ_BINARY));
}

TEST_F(ACard, OfTheAcosKindTellsTheNumberOfItsChip) {
    PutIn("empty");
    m_Deck.Change(m_Card,
                  [](orselsim::Card& changed) { changed.m_Record.m_ChipId = {1, 2, 3, 4, 5, 6, 7, 8}; });
    EXPECT_EQ("01020304050607089000", Transmit(READ_CHIP_ID));
    m_Deck.Change(m_Card, [](orselsim::Card& changed) { changed.m_Record.m_ChipId = {1, 2, 3, 4, 5}; });
    EXPECT_EQ("01020304059000", Transmit(READ_CHIP_ID));
    EXPECT_EQ("01029000", Transmit("80F6000002"));
}

TEST_F(ACard, AnswersOtherCommandsWithAStatusWord) {
    PutIn("ecard-g2");
    struct Case {
        const char* m_Apdu;
        const char* m_Expected;
    };
    const Case cases[] = {
        {"00B0000000", "6986"},                 // nothing selected yet
        {"00A4000C021234", "6A82"},             // no such file
        {"00A4000002DF71", "6A86"},             // with a description of the file
        {"00A4040C02DF71", "6A86"},             // by name
        {"00A4000C03DF7100", "6700"},           // three bytes of file id
        {"00A4000C", "6700"},                   // no file id
        {"00A4000C05DF71", "6700"},             // length byte too great
        {"00A4000C00DF71", "6700"},             // length byte of zero
        {"00A400", "6700"},                     // half a header
        {"0020000008FFFFFFFFFFFFFFFF", "6D00"}, // verifying a PIN
        {"80F6000008", "6E00"},                 // the chip id command of other cards
        {"FFFFFFFF", "6E00"},
        {"00A4000C02DF71", "9000"},
        {"00B0000000", "6986"},       // a directory is selected and no file
        {"00A4000C02D00100", "9000"}, // with a length byte behind
        {"00B000000D", "80040001122334454F5253454C9000"},
        {"00B0000808", "4F5253454C6282"}, // fewer bytes than asked for
        {"00B0000D00", "9000"},           // at the end
        {"00B0000E00", "6B00"},           // behind the end
        {"00B0800000", "6A86"},           // by short file id
        {"00B00000", "6700"},             // no length
        {"00B000000100", "6700"},         // with data
    };
    m_Deck.Change(m_Card, [](orselsim::Card& changed) {
        changed.m_Contents["file-DF71-D001.bin"] = orselsim::FromHex("80040001122334454F5253454C").value();
    });
    for (const Case& c : cases) {
        EXPECT_EQ(c.m_Expected, Transmit(c.m_Apdu)) << c.m_Apdu;
    }
}

TEST_F(ACard, ForgetsItsSelectionWhenItIsReset) {
    PutIn("ecard-g2");
    EXPECT_EQ("9000", Transmit(SELECT_DF_DEC));
    Attribute("Reset");
    EXPECT_EQ("6A82", Transmit(SELECT_EF_DEC));
}

TEST_F(ACard, ReadsAtMost256Bytes) {
    PutIn("ecard-g2");
    m_Deck.Change(
        m_Card, [](orselsim::Card& changed) { changed.m_Contents["file-DF71-D001.bin"] = Bytes(300, 0xAB); });
    Transmit(SELECT_DF_DEC);
    Transmit(SELECT_EF_DEC);
    EXPECT_EQ((256U + 2) * 2, Transmit(READ_BINARY).size());
    EXPECT_EQ((44U + 2) * 2, Transmit("00B0010000").size());
}

TEST_F(ACard, AnswersCommandsByTheSizeProtocol) {
    PutIn("empty");
    const auto call = reinterpret_cast<CardTransmit>(m_Library->Symbol("C_CardTransmit"));
    const Bytes apdu = orselsim::FromHex(READ_CHIP_ID).value();
    unsigned long size = 0;
    EXPECT_EQ(Rv(CKR_OK), call(m_Session, apdu.data(), apdu.size(), nullptr, &size));
    EXPECT_EQ(10U, size);
    Bytes buffer(9);
    size = 9;
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL), call(m_Session, apdu.data(), apdu.size(), buffer.data(), &size));
    EXPECT_EQ(10U, size);
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), call(m_Session, nullptr, 5, buffer.data(), &size));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), call(m_Session, apdu.data(), apdu.size(), buffer.data(), nullptr));
}
