// SPDX-License-Identifier: MIT
// Beside a PC/SC service with a virtual reader, which with-card-service starts.
#include <algorithm>
#include <cstdlib>

#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using orseltest::Bytes;
using orseltest::Field;
using orseltest::Rv;
using orseltest::TokenLibrary;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr CK_SLOT_ID SLOT = 5;
constexpr const char* READER = "Virtual PCD 00 00";
constexpr const char* ATR = "3BDF18008131FE588031905241016405C903AC73B7B1D444";

/// What the card has heard so far.
std::string Heard() {
    return ContentOf(std::getenv("CARD_NOTES"));
}

} // namespace

class ACardInAVirtualReader : public testing::Test {
protected:
    void Start(const std::string& reader) {
        m_Reader.emplace("ORSEL_STUB_READER", reader);
        m_Bridge.emplace();
        m_Session = m_Bridge->Open(SLOT);
    }

    const TempDir m_Folder;
    const ScopedVariable m_Settings{"XDG_CONFIG_HOME", m_Folder.Path()};
    const ScopedVariable m_Module{"ORSELBRIDGE_MODULE", ORSEL_STUB_MODULE};
    std::optional<ScopedVariable> m_Reader;
    std::optional<TokenLibrary> m_Bridge;
    CK_SESSION_HANDLE m_Session = 0;
};

TEST_F(ACardInAVirtualReader, GivesItsAtr) {
    Start(READER);
    Bytes atr;
    EXPECT_EQ(Rv(CKR_OK), m_Bridge->CardAttribute(m_Session, "ATR", atr));
    EXPECT_EQ(ATR, tokenlib::ToHex(atr));
}

TEST_F(ACardInAVirtualReader, IsReset) {
    Start(READER);
    const std::string before = Heard();
    Bytes atr;
    EXPECT_EQ(Rv(CKR_OK), m_Bridge->CardAttribute(m_Session, "Reset", atr));
    EXPECT_EQ(ATR, tokenlib::ToHex(atr));
    EXPECT_THAT(Heard().substr(before.size()), HasSubstr("reset\n"));
}

TEST_F(ACardInAVirtualReader, AnswersCommands) {
    Start(READER);
    EXPECT_EQ("9000", m_Bridge->Transmit(m_Session, "00A4000C023F00"));
    EXPECT_EQ("101112131415161718191A1B9000", m_Bridge->Transmit(m_Session, "00B0000000"));
    EXPECT_EQ("6D00", m_Bridge->Transmit(m_Session, "80F6000008"));
    EXPECT_THAT(Heard(), HasSubstr("00A4000C023F00\n"));
    EXPECT_THAT(Heard(), HasSubstr("00B0000000\n"));
}

TEST_F(ACardInAVirtualReader, IsNotTakenForThatOfAnotherReader) {
    Start("Some other reader");
    Bytes atr;
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), m_Bridge->CardAttribute(m_Session, "ATR", atr));
}

TEST_F(ACardInAVirtualReader, ThatIsNotThereIsNotPresent) {
    Start("Virtual PCD 00 01"); // the reader's second slot
    Bytes atr;
    EXPECT_EQ(Rv(CKR_TOKEN_NOT_PRESENT), m_Bridge->CardAttribute(m_Session, "ATR", atr));
}

// A card of no kind that OpenSC knows: the reader is listed, its card is not recognised, and nothing breaks.
TEST_F(ACardInAVirtualReader, IsNoTokenForOpenSc) {
    const ScopedVariable module("ORSELBRIDGE_MODULE", "opensc-pkcs11.so");
    const TokenLibrary bridge;
    CK_SLOT_ID slots[8] = {};
    CK_ULONG count = 8;
    ASSERT_EQ(Rv(CKR_OK), bridge->C_GetSlotList(CK_FALSE, slots, &count));
    ASSERT_NE(0U, count);
    CK_SLOT_INFO slot = {};
    EXPECT_EQ(Rv(CKR_OK), bridge->C_GetSlotInfo(slots[0], &slot));
    EXPECT_THAT(Field(slot.slotDescription), StartsWith(READER));
    CK_TOKEN_INFO token = {};
    EXPECT_EQ(Rv(CKR_TOKEN_NOT_RECOGNIZED), bridge->C_GetTokenInfo(slots[0], &token));
}
