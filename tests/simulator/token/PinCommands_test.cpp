// SPDX-License-Identifier: MIT
#include "simulator/token/PinCommands.h"

#include <filesystem>

#include <gmock/gmock.h>

#include "simulator/store/Files.h"
#include "tests/simulator/token/CardTest.h"

using orselsim::changePinCommand;
using orselsim::forceSoftwarePin;
using orselsim::unblockPinCommand;
using orseltest::Rv;
using testing::HasSubstr;
using testing::Not;

class PinCommands : public orseltest::CardTest {
protected:
    Rv change(const std::string& key) const { return command(privateKey(key), changePinCommand); }
    Rv unblock(const std::string& key) const { return command(privateKey(key), unblockPinCommand); }
};

TEST_F(PinCommands, ChangeThePinOfTheirObject) {
    putIn("acos-a03");
    struct Case {
        CK_OBJECT_HANDLE object;
        const char* pin;
        std::vector<std::string> answers;
    };
    const Case cases[] = {
        {privateKey("SK.CH.SIG"), "signature", {"123456", "654321", "654321"}},
        {privateKey("SK.CH.EKEY"), "encryption", {"1234", "4321", "4321"}},
        {data("PERSONENBINDUNG"), "encryption", {"4321", "98765", "98765"}},
    };
    for (const Case& c : cases) {
        deck.answerPins(c.answers);
        EXPECT_EQ(Rv(CKR_OK), command(c.object, changePinCommand));
        EXPECT_TRUE(deck.hasPin(card, c.pin, c.answers.back()));
        EXPECT_FALSE(deck.hasPin(card, c.pin, c.answers.front()));
    }
}

TEST_F(PinCommands, ChangeFailsWithAWrongPinAndCounts) {
    putIn("ecard-g2");
    deck.answerPins(
        {"000000", "654321", "654321", "000000", "654321", "654321", "000000", "654321", "654321", "123456"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), change("SK.CH.SIG"));
    EXPECT_EQ(2U, deck.triesLeft(card, "signature"));
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), change("SK.CH.SIG"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), change("SK.CH.SIG"));
    EXPECT_EQ(0U, deck.triesLeft(card, "signature"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), change("SK.CH.SIG")) << "without asking";
    EXPECT_TRUE(deck.hasPin(card, "signature", "123456"));
}

TEST_F(PinCommands, ChangeIsCancelledAtEachQuestion) {
    putIn("ecard-g2");
    const std::vector<std::vector<std::string>> roads = {
        {"cancel"}, {"123456", "cancel"}, {"123456", "654321", "cancel"}};
    for (const auto& answers : roads) {
        deck.answerPins(answers);
        EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), change("SK.CH.SIG")) << answers.size();
    }
    EXPECT_TRUE(deck.hasPin(card, "signature", "123456"));
    EXPECT_EQ(3U, deck.triesLeft(card, "signature"));
}

TEST_F(PinCommands, RefuseANewPinThatDoesNotFitWithoutATry) {
    putIn("ecard-g2");
    struct Case {
        std::vector<std::string> newPin;
        CK_RV expected;
    };
    const Case cases[] = {
        {{"12345", "12345"}, CKR_PIN_LEN_RANGE},
        {{"1234567890123", "1234567890123"}, CKR_PIN_LEN_RANGE},
        {{"12345a", "12345a"}, CKR_PIN_INVALID},
        {{"654321", "654322"}, CKR_PIN_INVALID},
    };
    for (const Case& c : cases) {
        deck.answerPins({"000000"});
        deck.answerPins(c.newPin);
        EXPECT_EQ(Rv(c.expected), change("SK.CH.SIG")) << c.newPin[0];
    }
    EXPECT_EQ(3U, deck.triesLeft(card, "signature"));
}

TEST_F(PinCommands, UnblockWithThePuk) {
    putIn("acos-a03");
    deck.setTries(card, "signature", 0);
    deck.answerPins({"12345678", "654321", "654321"});
    EXPECT_EQ(Rv(CKR_OK), unblock("SK.CH.SIG"));
    EXPECT_EQ(3U, deck.triesLeft(card, "signature"));
    EXPECT_TRUE(deck.hasPin(card, "signature", "654321"));
}

TEST_F(PinCommands, UnblockFailsWithAWrongPukUntilThatIsBlockedToo) {
    putIn("acos-a03");
    deck.change(card,
                [](orselsim::Card& changed) { changed.record.pins.at("encryption").puk->triesLeft = 2; });
    for (int i = 0; i < 3; ++i)
        deck.answerPins({"00000000", "4321", "4321"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), unblock("SK.CH.EKEY"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), unblock("SK.CH.EKEY"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), unblock("SK.CH.EKEY"));
    EXPECT_EQ(0U, deck.read(card).record.pins.at("encryption").puk->triesLeft);
    EXPECT_TRUE(deck.hasPin(card, "encryption", "1234"));
}

TEST_F(PinCommands, UnblockIsCancelledAtEachQuestion) {
    putIn("acos-a03");
    deck.answerPins({"cancel"});
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), unblock("SK.CH.SIG"));
    deck.answerPins({"12345678", "cancel"});
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), unblock("SK.CH.SIG"));
    EXPECT_EQ(10U, deck.read(card).record.pins.at("signature").puk->triesLeft);
}

TEST_F(PinCommands, UnblockNeedsAPukAndASetPin) {
    putIn("acos-a03");
    deck.unsetPin(card, "encryption");
    deck.change(card, [](orselsim::Card& changed) { changed.record.pins.at("signature").puk.reset(); });
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), unblock("SK.CH.SIG"));
    EXPECT_EQ(Rv(CKR_USER_PIN_NOT_INITIALIZED), unblock("SK.CH.EKEY"));
}

TEST_F(PinCommands, OnAnECardCannotUnblock) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), unblock("SK.CH.SIG"));
}

TEST_F(PinCommands, SetAPinForTheFirstTime) {
    putIn("acos-a03");
    for (const bool value : {false, true}) {
        deck.unsetPin(card, "signature");
        deck.setTries(card, "signature", 0);
        deck.answerPins({"777777", "777777"});
        EXPECT_EQ(Rv(CKR_OK), command(privateKey("SK.CH.SIG"), changePinCommand, value, value));
        EXPECT_TRUE(deck.hasPin(card, "signature", "777777"));
        EXPECT_EQ(3U, deck.triesLeft(card, "signature"));
    }
}

TEST_F(PinCommands, DoNotSetAPinForTheFirstTimeTwice) {
    putIn("acos-a03");
    EXPECT_EQ(Rv(CKR_FUNCTION_REJECTED), command(privateKey("SK.CH.SIG"), changePinCommand, true, true));
    EXPECT_TRUE(deck.hasPin(card, "signature", "123456"));
}

TEST_F(PinCommands, FailWhereTheScreenIsNotAllowed) {
    putIn("acos-a03");
    deck.change(card, [](orselsim::Card& changed) { changed.record.allowsSoftwarePin = false; });
    deck.unsetPin(card, "signature");
    EXPECT_EQ(Rv(CKR_FUNCTION_FAILED), command(privateKey("SK.CH.SIG"), changePinCommand, true, true));
    deck.answerPins({"777777", "777777"});
    EXPECT_EQ(Rv(CKR_OK), command(privateKey("SK.CH.SIG"), changePinCommand, true, false));
}

TEST_F(PinCommands, AreRefusedInAnyOtherForm) {
    putIn("acos-a03");
    const CK_OBJECT_HANDLE key = privateKey("SK.CH.SIG");
    CK_BBOOL yes = CK_TRUE;
    CK_ULONG number = 1;
    struct Case {
        const char* name;
        std::vector<CK_ATTRIBUTE> attributes;
        CK_RV expected;
    };
    const Case cases[] = {
        {"empty list", {}, CKR_ARGUMENTS_BAD},
        {"software PIN alone", {{forceSoftwarePin, &yes, 1}}, CKR_ARGUMENTS_BAD},
        {"no value", {{changePinCommand, nullptr, 0}}, CKR_ATTRIBUTE_VALUE_INVALID},
        {"a number", {{changePinCommand, &number, sizeof number}}, CKR_ATTRIBUTE_VALUE_INVALID},
        {"both commands",
         {{changePinCommand, &yes, 1}, {unblockPinCommand, &yes, 1}},
         CKR_TEMPLATE_INCONSISTENT},
        {"with a write", {{changePinCommand, &yes, 1}, {CKA_PRIVATE, &yes, 1}}, CKR_TEMPLATE_INCONSISTENT},
        {"software PIN without value",
         {{changePinCommand, &yes, 1}, {forceSoftwarePin, nullptr, 0}},
         CKR_ATTRIBUTE_VALUE_INVALID},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Rv(c.expected), write(key, c.attributes)) << c.name;
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), (*library)->C_SetAttributeValue(session, key, nullptr, 1));
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_TYPE_INVALID), command(certificate("C.CH.SIG"), changePinCommand))
        << "no PIN protects it";
    EXPECT_EQ(Rv(CKR_OBJECT_HANDLE_INVALID), command(0, changePinCommand));
}

TEST_F(PinCommands, SayWhenTheCardIsTakenOutBeforeTheEnd) {
    putIn("ecard-g2");
    const CK_OBJECT_HANDLE key = privateKey("SK.CH.SIG");
    deck.takeOut(card);
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), command(key, changePinCommand));
}

TEST_F(PinCommands, LeaveNoPinInTheTraceOrInTheDeck) {
    putIn("acos-a03");
    deck.answerPins({"123456", "31415926", "31415926", "12345678", "27182818", "27182818"});
    EXPECT_EQ(Rv(CKR_OK), change("SK.CH.SIG"));
    EXPECT_EQ(Rv(CKR_OK), unblock("SK.CH.SIG"));
    std::string everything = deck.traceText();
    for (const auto& file : std::filesystem::recursive_directory_iterator(deck.path()))
        if (file.is_regular_file())
            everything += orselsim::textOf(orselsim::readFile(file.path().string()));
    EXPECT_THAT(everything, HasSubstr("attributes=0x200:0"));
    EXPECT_THAT(everything, HasSubstr("attributes=0x201:0"));
    for (const char* secret : {"31415926", "27182818"})
        EXPECT_THAT(everything, Not(HasSubstr(secret)));
}
