// SPDX-License-Identifier: MIT
#include "simulator/token/PinCommands.h"

#include <filesystem>

#include <gmock/gmock.h>

#include "simulator/store/Files.h"
#include "tests/simulator/token/CardTest.h"

using orselsim::CHANGE_PIN_COMMAND;
using orselsim::FORCE_SOFTWARE_PIN;
using orselsim::UNBLOCK_PIN_COMMAND;
using orseltest::Rv;
using testing::HasSubstr;
using testing::Not;

class PinCommands : public orseltest::CardTest {
protected:
    Rv Change(const std::string& key) const { return Command(GetPrivateKey(key), CHANGE_PIN_COMMAND); }
    Rv Unblock(const std::string& key) const { return Command(GetPrivateKey(key), UNBLOCK_PIN_COMMAND); }
};

TEST_F(PinCommands, ChangeThePinOfTheirObject) {
    PutIn("acos-a03");
    struct Case {
        CK_OBJECT_HANDLE m_Object;
        const char* m_Pin;
        std::vector<std::string> m_Answers;
    };
    const Case cases[] = {
        {GetPrivateKey("SK.CH.SIG"), "signature", {"123456", "654321", "654321"}},
        {GetPrivateKey("SK.CH.EKEY"), "encryption", {"1234", "4321", "4321"}},
        {data("PERSONENBINDUNG"), "encryption", {"4321", "98765", "98765"}},
    };
    for (const Case& c : cases) {
        m_Deck.AnswerPins(c.m_Answers);
        EXPECT_EQ(Rv(CKR_OK), Command(c.m_Object, CHANGE_PIN_COMMAND));
        EXPECT_TRUE(m_Deck.HasPin(m_Card, c.m_Pin, c.m_Answers.back()));
        EXPECT_FALSE(m_Deck.HasPin(m_Card, c.m_Pin, c.m_Answers.front()));
    }
}

TEST_F(PinCommands, ChangeFailsWithAWrongPinAndCounts) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins(
        {"000000", "654321", "654321", "000000", "654321", "654321", "000000", "654321", "654321", "123456"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Change("SK.CH.SIG"));
    EXPECT_EQ(2U, m_Deck.TriesLeft(m_Card, "signature"));
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Change("SK.CH.SIG"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), Change("SK.CH.SIG"));
    EXPECT_EQ(0U, m_Deck.TriesLeft(m_Card, "signature"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), Change("SK.CH.SIG")) << "without asking";
    EXPECT_TRUE(m_Deck.HasPin(m_Card, "signature", "123456"));
}

TEST_F(PinCommands, ChangeIsCancelledAtEachQuestion) {
    PutIn("ecard-g2");
    const std::vector<std::vector<std::string>> roads = {
        {"cancel"}, {"123456", "cancel"}, {"123456", "654321", "cancel"}};
    for (const auto& answers : roads) {
        m_Deck.AnswerPins(answers);
        EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), Change("SK.CH.SIG")) << answers.size();
    }
    EXPECT_TRUE(m_Deck.HasPin(m_Card, "signature", "123456"));
    EXPECT_EQ(3U, m_Deck.TriesLeft(m_Card, "signature"));
}

TEST_F(PinCommands, RefuseANewPinThatDoesNotFitWithoutATry) {
    PutIn("ecard-g2");
    struct Case {
        std::vector<std::string> m_NewPin;
        CK_RV m_Expected;
    };
    const Case cases[] = {
        {{"12345", "12345"}, CKR_PIN_LEN_RANGE},
        {{"1234567890123", "1234567890123"}, CKR_PIN_LEN_RANGE},
        {{"12345a", "12345a"}, CKR_PIN_INVALID},
        {{"654321", "654322"}, CKR_PIN_INVALID},
    };
    for (const Case& c : cases) {
        m_Deck.AnswerPins({"000000"});
        m_Deck.AnswerPins(c.m_NewPin);
        EXPECT_EQ(Rv(c.m_Expected), Change("SK.CH.SIG")) << c.m_NewPin[0];
    }
    EXPECT_EQ(3U, m_Deck.TriesLeft(m_Card, "signature"));
}

TEST_F(PinCommands, UnblockWithThePuk) {
    PutIn("acos-a03");
    m_Deck.SetTries(m_Card, "signature", 0);
    m_Deck.AnswerPins({"12345678", "654321", "654321"});
    EXPECT_EQ(Rv(CKR_OK), Unblock("SK.CH.SIG"));
    EXPECT_EQ(3U, m_Deck.TriesLeft(m_Card, "signature"));
    EXPECT_TRUE(m_Deck.HasPin(m_Card, "signature", "654321"));
}

TEST_F(PinCommands, UnblockFailsWithAWrongPukUntilThatIsBlockedToo) {
    PutIn("acos-a03");
    m_Deck.Change(m_Card, [](orselsim::Card& changed) {
        changed.m_Record.m_Pins.at("encryption").m_Puk->m_TriesLeft = 2;
    });
    for (int i = 0; i < 3; ++i) {
        m_Deck.AnswerPins({"00000000", "4321", "4321"});
    }
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Unblock("SK.CH.EKEY"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), Unblock("SK.CH.EKEY"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), Unblock("SK.CH.EKEY"));
    EXPECT_EQ(0U, m_Deck.Read(m_Card).m_Record.m_Pins.at("encryption").m_Puk->m_TriesLeft);
    EXPECT_TRUE(m_Deck.HasPin(m_Card, "encryption", "1234"));
}

TEST_F(PinCommands, UnblockIsCancelledAtEachQuestion) {
    PutIn("acos-a03");
    m_Deck.AnswerPins({"cancel"});
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), Unblock("SK.CH.SIG"));
    m_Deck.AnswerPins({"12345678", "cancel"});
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), Unblock("SK.CH.SIG"));
    EXPECT_EQ(10U, m_Deck.Read(m_Card).m_Record.m_Pins.at("signature").m_Puk->m_TriesLeft);
}

TEST_F(PinCommands, UnblockNeedsAPukAndASetPin) {
    PutIn("acos-a03");
    m_Deck.UnsetPin(m_Card, "encryption");
    m_Deck.Change(m_Card,
                  [](orselsim::Card& changed) { changed.m_Record.m_Pins.at("signature").m_Puk.reset(); });
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), Unblock("SK.CH.SIG"));
    EXPECT_EQ(Rv(CKR_USER_PIN_NOT_INITIALIZED), Unblock("SK.CH.EKEY"));
}

TEST_F(PinCommands, OnAnECardCannotUnblock) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), Unblock("SK.CH.SIG"));
}

TEST_F(PinCommands, SetAPinForTheFirstTime) {
    PutIn("acos-a03");
    for (const bool value : {false, true}) {
        m_Deck.UnsetPin(m_Card, "signature");
        m_Deck.SetTries(m_Card, "signature", 0);
        m_Deck.AnswerPins({"777777", "777777"});
        EXPECT_EQ(Rv(CKR_OK), Command(GetPrivateKey("SK.CH.SIG"), CHANGE_PIN_COMMAND, value, value));
        EXPECT_TRUE(m_Deck.HasPin(m_Card, "signature", "777777"));
        EXPECT_EQ(3U, m_Deck.TriesLeft(m_Card, "signature"));
    }
}

TEST_F(PinCommands, DoNotSetAPinForTheFirstTimeTwice) {
    PutIn("acos-a03");
    EXPECT_EQ(Rv(CKR_FUNCTION_REJECTED), Command(GetPrivateKey("SK.CH.SIG"), CHANGE_PIN_COMMAND, true, true));
    EXPECT_TRUE(m_Deck.HasPin(m_Card, "signature", "123456"));
}

TEST_F(PinCommands, FailWhereTheScreenIsNotAllowed) {
    PutIn("acos-a03");
    m_Deck.Change(m_Card, [](orselsim::Card& changed) { changed.m_Record.m_AllowsSoftwarePin = false; });
    m_Deck.UnsetPin(m_Card, "signature");
    EXPECT_EQ(Rv(CKR_FUNCTION_FAILED), Command(GetPrivateKey("SK.CH.SIG"), CHANGE_PIN_COMMAND, true, true));
    m_Deck.AnswerPins({"777777", "777777"});
    EXPECT_EQ(Rv(CKR_OK), Command(GetPrivateKey("SK.CH.SIG"), CHANGE_PIN_COMMAND, true, false));
}

TEST_F(PinCommands, AreRefusedInAnyOtherForm) {
    PutIn("acos-a03");
    const CK_OBJECT_HANDLE key = GetPrivateKey("SK.CH.SIG");
    CK_BBOOL yes = CK_TRUE;
    CK_ULONG number = 1;
    struct Case {
        const char* m_Name;
        std::vector<CK_ATTRIBUTE> m_Attributes;
        CK_RV m_Expected;
    };
    const Case cases[] = {
        {"empty list", {}, CKR_ARGUMENTS_BAD},
        {"software PIN alone", {{FORCE_SOFTWARE_PIN, &yes, 1}}, CKR_ARGUMENTS_BAD},
        {"no value", {{CHANGE_PIN_COMMAND, nullptr, 0}}, CKR_ATTRIBUTE_VALUE_INVALID},
        {"a number", {{CHANGE_PIN_COMMAND, &number, sizeof number}}, CKR_ATTRIBUTE_VALUE_INVALID},
        {"both commands",
         {{CHANGE_PIN_COMMAND, &yes, 1}, {UNBLOCK_PIN_COMMAND, &yes, 1}},
         CKR_TEMPLATE_INCONSISTENT},
        {"with a write", {{CHANGE_PIN_COMMAND, &yes, 1}, {CKA_PRIVATE, &yes, 1}}, CKR_TEMPLATE_INCONSISTENT},
        {"software PIN without value",
         {{CHANGE_PIN_COMMAND, &yes, 1}, {FORCE_SOFTWARE_PIN, nullptr, 0}},
         CKR_ATTRIBUTE_VALUE_INVALID},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Rv(c.m_Expected), Write(key, c.m_Attributes)) << c.m_Name;
    }
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), (*m_Library)->C_SetAttributeValue(m_Session, key, nullptr, 1));
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_TYPE_INVALID), Command(Certificate("C.CH.SIG"), CHANGE_PIN_COMMAND))
        << "no PIN protects it";
    EXPECT_EQ(Rv(CKR_OBJECT_HANDLE_INVALID), Command(0, CHANGE_PIN_COMMAND));
}

TEST_F(PinCommands, SayWhenTheCardIsTakenOutBeforeTheEnd) {
    PutIn("ecard-g2");
    const CK_OBJECT_HANDLE key = GetPrivateKey("SK.CH.SIG");
    m_Deck.TakeOut(m_Card);
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), Command(key, CHANGE_PIN_COMMAND));
}

TEST_F(PinCommands, LeaveNoPinInTheTraceOrInTheDeck) {
    PutIn("acos-a03");
    m_Deck.AnswerPins({"123456", "31415926", "31415926", "12345678", "27182818", "27182818"});
    EXPECT_EQ(Rv(CKR_OK), Change("SK.CH.SIG"));
    EXPECT_EQ(Rv(CKR_OK), Unblock("SK.CH.SIG"));
    std::string everything = m_Deck.TraceText();
    for (const auto& file : std::filesystem::recursive_directory_iterator(m_Deck.GetPath())) {
        if (file.is_regular_file()) {
            everything += orselsim::TextOf(orselsim::ReadFile(file.path().string()));
        }
    }
    EXPECT_THAT(everything, HasSubstr("attributes=0x200:0"));
    EXPECT_THAT(everything, HasSubstr("attributes=0x201:0"));
    for (const char* secret : {"31415926", "27182818"}) {
        EXPECT_THAT(everything, Not(HasSubstr(secret)));
    }
}
