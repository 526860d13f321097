// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/SimDeck.h"

using orselsim::toHex;
using orseltest::Bytes;
using orseltest::CardOptions;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using CardAttribute = CK_RV (*)(CK_SESSION_HANDLE, const char*, unsigned char*, unsigned long*);
using CardTransmit = CK_RV (*)(CK_SESSION_HANDLE, const unsigned char*, unsigned long, unsigned char*,
                               unsigned long*);

constexpr const char* selectRoot = "00A4000C023F00";
constexpr const char* selectDfDec = "00A4000C02DF71";
constexpr const char* selectEfDec = "00A4000C02D001";
constexpr const char* selectEfGdo = "00A4000C022F02";
constexpr const char* readBinary = "00B0000000";
constexpr const char* readChipId = "80F6000008";

} // namespace

class ACard : public testing::Test {
protected:
    void putIn(const std::string& kind, const CardOptions& options = CardOptions()) {
        card = deck.add(kind, options);
        library.emplace();
        session = library->openFirst();
    }

    std::string attribute(const char* name) {
        Bytes value;
        EXPECT_EQ(Rv(CKR_OK), library->cardAttribute(session, name, value)) << name;
        return toHex(value);
    }

    Rv attributeResult(const char* name) {
        Bytes value;
        return library->cardAttribute(session, name, value);
    }

    std::string transmit(const std::string& apdu) { return library->transmit(session, apdu); }

    SimDeck deck;
    std::string card;
    std::optional<TokenLibrary> library;
    CK_SESSION_HANDLE session = 0;
};

TEST_F(ACard, TellsItsAtr) {
    putIn("empty");
    EXPECT_EQ("3BBF11008131FE454550414F5253454C2D412D30303031F6", attribute("ATR"));
}

TEST_F(ACard, TellsItsAtrAgainWhenItIsReset) {
    putIn("empty");
    EXPECT_EQ(attribute("ATR"), attribute("Reset"));
}

TEST_F(ACard, AnswersPropertiesByTheSizeProtocol) {
    putIn("empty");
    const auto call = reinterpret_cast<CardAttribute>(library->symbol("C_CardAttribute"));
    unsigned long size = 0;
    EXPECT_EQ(Rv(CKR_OK), call(session, "ATR", nullptr, &size));
    EXPECT_EQ(24U, size);
    Bytes buffer(24, 0xEE);
    size = 23;
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL), call(session, "ATR", buffer.data(), &size));
    EXPECT_EQ(24U, size);
    EXPECT_EQ(0xEE, buffer[0]);
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), call(session, "ATR", buffer.data(), nullptr));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), call(session, nullptr, buffer.data(), &size));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), call(session + 1, "ATR", buffer.data(), &size));
}

TEST_F(ACard, KnowsNoPropertyBeyondItsOwn) {
    putIn("empty");
    for (const char* name :
         {"atr", "", "SicSig/PIN-Status", "GewSig/PIN-Status", "SV-Personendaten/EHIC", "Nothing"})
        EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), attributeResult(name)) << name;
}

TEST_F(ACard, WithoutAnAtrFailsToTellIt) {
    putIn("empty");
    deck.change(card, [](orselsim::Card& changed) { changed.record.atr.clear(); });
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), attributeResult("ATR"));
}

TEST_F(ACard, OfTheECardKindTellsTheStateOfItsPins) {
    putIn("ecard-g2");
    EXPECT_EQ("03", attribute("SicSig/PIN-Status"));
    EXPECT_EQ("03", attribute("GewSig/PIN-Status"));
    deck.change(card, [](orselsim::Card& changed) {
        changed.record.pins.at("signature").pin.triesLeft = 0;
        changed.record.pins.at("encryption").pin.secret.reset();
    });
    EXPECT_EQ("00", attribute("SicSig/PIN-Status"));
    EXPECT_EQ("FF", attribute("GewSig/PIN-Status")) << "not set, so nothing is known of tries";
}

TEST_F(ACard, OfTheECardKindHoldsPersonData) {
    putIn("ecard-g2", CardOptions().holder("Jörg Groß").serial("8004000112233445"));
    Bytes value;
    EXPECT_EQ(Rv(CKR_OK), library->cardAttribute(session, "SV-Personendaten/EHIC", value));
    EXPECT_THAT(orselsim::textOf(value), testing::HasSubstr("Jörg Groß"));
    EXPECT_EQ(Rv(CKR_OK), library->cardAttribute(session, "SV-Personendaten/Grunddaten", value));
    EXPECT_THAT(orselsim::textOf(value), testing::HasSubstr("8004000112233445"));
}

TEST_F(ACard, HoldsItsNumberBelowADirectory) {
    putIn("ecard-g2", CardOptions().serial("8004000112233445"));
    for (int i = 0; i < 2; ++i) { // a second time from where the first one ended
        EXPECT_EQ("9000", transmit(selectDfDec));
        EXPECT_EQ("9000", transmit(selectEfDec));
        EXPECT_EQ("80040001122334454F5253454C9000", transmit(readBinary));
    }
}

TEST_F(ACard, OfTheCardosKindHoldsItsNumbersInTheRoot) {
    putIn("cardos-53", CardOptions().serial("8004100556677889"));
    EXPECT_EQ("9000", transmit(selectRoot));
    EXPECT_EQ("9000", transmit(selectEfDec));
    EXPECT_EQ("80041005566778894F5253454C9000", transmit(readBinary));
    EXPECT_EQ("9000", transmit(selectRoot));
    EXPECT_EQ("9000", transmit(selectEfGdo));
    EXPECT_EQ("5A0A800480041005566778899000", transmit(readBinary));
}

TEST_F(ACard, OfTheAcosKindTellsTheNumberOfItsChip) {
    putIn("empty");
    deck.change(card, [](orselsim::Card& changed) { changed.record.chipId = {1, 2, 3, 4, 5, 6, 7, 8}; });
    EXPECT_EQ("01020304050607089000", transmit(readChipId));
    deck.change(card, [](orselsim::Card& changed) { changed.record.chipId = {1, 2, 3, 4, 5}; });
    EXPECT_EQ("01020304059000", transmit(readChipId));
    EXPECT_EQ("01029000", transmit("80F6000002"));
}

TEST_F(ACard, AnswersOtherCommandsWithAStatusWord) {
    putIn("ecard-g2");
    struct Case {
        const char* apdu;
        const char* expected;
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
    deck.change(card, [](orselsim::Card& changed) {
        changed.contents["file-DF71-D001.bin"] = orselsim::fromHex("80040001122334454F5253454C").value();
    });
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, transmit(c.apdu)) << c.apdu;
}

TEST_F(ACard, ForgetsItsSelectionWhenItIsReset) {
    putIn("ecard-g2");
    EXPECT_EQ("9000", transmit(selectDfDec));
    attribute("Reset");
    EXPECT_EQ("6A82", transmit(selectEfDec));
}

TEST_F(ACard, ReadsAtMost256Bytes) {
    putIn("ecard-g2");
    deck.change(card,
                [](orselsim::Card& changed) { changed.contents["file-DF71-D001.bin"] = Bytes(300, 0xAB); });
    transmit(selectDfDec);
    transmit(selectEfDec);
    EXPECT_EQ((256U + 2) * 2, transmit(readBinary).size());
    EXPECT_EQ((44U + 2) * 2, transmit("00B0010000").size());
}

TEST_F(ACard, AnswersCommandsByTheSizeProtocol) {
    putIn("empty");
    const auto call = reinterpret_cast<CardTransmit>(library->symbol("C_CardTransmit"));
    const Bytes apdu = orselsim::fromHex(readChipId).value();
    unsigned long size = 0;
    EXPECT_EQ(Rv(CKR_OK), call(session, apdu.data(), apdu.size(), nullptr, &size));
    EXPECT_EQ(10U, size);
    Bytes buffer(9);
    size = 9;
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL), call(session, apdu.data(), apdu.size(), buffer.data(), &size));
    EXPECT_EQ(10U, size);
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), call(session, nullptr, 5, buffer.data(), &size));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), call(session, apdu.data(), apdu.size(), buffer.data(), nullptr));
}
