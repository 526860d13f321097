// SPDX-License-Identifier: MIT
#include <filesystem>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "simulator/store/Files.h"
#include "tests/simulator/token/CardTest.h"

using orselsim::bytesOf;
using orselsim::textOf;
using orselsim::toHex;
using orseltest::Bytes;
using orseltest::CardOptions;
using orseltest::Rv;
using testing::ElementsAre;
using testing::StartsWith;

class Writing : public orseltest::CardTest {
protected:
    Rv writeValue(CK_OBJECT_HANDLE object, const std::string& text) const {
        Bytes value = bytesOf(text);
        return write(object, {orseltest::attributeOver(CKA_VALUE, value)});
    }

    Rv writePrivate(CK_OBJECT_HANDLE object, bool isPrivate) const {
        CK_BBOOL flag = isPrivate ? CK_TRUE : CK_FALSE;
        return write(object, {{CKA_PRIVATE, &flag, sizeof flag}});
    }

    std::string value(CK_OBJECT_HANDLE object) const {
        return textOf(library->attribute(session, object, CKA_VALUE));
    }
};

TEST_F(Writing, ReplacesTheContentOfADataObjectForGood) {
    putIn("ecard-g2");
    const CK_OBJECT_HANDLE object = data("RFU1");
    EXPECT_EQ(Rv(CKR_OK), writeValue(object, "new content"));
    EXPECT_EQ("new content", value(object));
    EXPECT_EQ("new content", textOf(deck.objectContent(card, "RFU1")));
    library.reset();
    library.emplace();
    session = library->openFirst();
    EXPECT_EQ("new content", value(data("RFU1")));
    EXPECT_EQ(Rv(CKR_OK), writeValue(data("RFU1"), ""));
    EXPECT_EQ("", value(data("RFU1")));
}

TEST_F(Writing, OfValueAndFlagHappensTogether) {
    putIn("acos-a04");
    const CK_OBJECT_HANDLE object = data("0x0a");
    Bytes content = bytesOf("secret now");
    CK_BBOOL yes = CK_TRUE;
    EXPECT_EQ(Rv(CKR_OK),
              write(object, {orseltest::attributeOver(CKA_VALUE, content), {CKA_PRIVATE, &yes, 1}}));
    EXPECT_EQ("secret now", value(object));
    EXPECT_THAT(library->attribute(session, object, CKA_PRIVATE), ElementsAre(1));
}

TEST_F(Writing, OfTheFlagShowsInTheInfobox) {
    putIn("acos-a04");
    const auto directory = [&] {
        return toHex(library->attribute(session, data("INFOBOX"), CKA_VALUE)).substr(0, 48);
    };
    EXPECT_EQ("56494B01"
              "01000200C001"
              "02010200C002"
              "0A000200C00A"
              "00"
              "00",
              directory());
    EXPECT_EQ(Rv(CKR_OK), writePrivate(data("0x01"), true));
    EXPECT_EQ("56494B01"
              "01010200C001"
              "02010200C002"
              "0A000200C00A"
              "00"
              "00",
              directory());
    EXPECT_EQ(Rv(CKR_OK), writePrivate(data("0x02"), false));
    EXPECT_EQ("56494B01"
              "01010200C001"
              "02000200C002"
              "0A000200C00A"
              "00"
              "00",
              directory());
    EXPECT_EQ(Rv(CKR_OK), writePrivate(data("0x0a"), true));
    EXPECT_EQ("56494B01"
              "01010200C001"
              "02000200C002"
              "0A010200C00A"
              "00"
              "00",
              directory());
}

TEST_F(Writing, OfTheFlagLeavesOtherBitsOfTheInfoboxAlone) {
    putIn("acos-a04");
    deck.replaceObject(card, "INFOBOX", orselsim::fromHex("56494B0101020000020300000A020000").value());
    EXPECT_EQ(Rv(CKR_OK), writePrivate(data("0x01"), true));
    EXPECT_EQ(Rv(CKR_OK), writePrivate(data("0x02"), false));
    EXPECT_EQ("56494B0101030000020200000A020000", toHex(deck.objectContent(card, "INFOBOX")));
}

TEST_F(Writing, OfTheFlagWorksWithoutAnInfobox) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), writePrivate(data("RFU1"), true));
    EXPECT_TRUE(deck.read(card).record.objects.at(7).isPrivate);
    EXPECT_EQ("RFU1", deck.read(card).record.objects.at(7).label);
}

TEST_F(Writing, ReplacesACertificateByAnotherOne) {
    putIn("ecard-g2");
    const Bytes other = deck.objectContent(card, "C.CH.EKEY");
    const CK_OBJECT_HANDLE object = certificate("C.CH.SIG");
    EXPECT_EQ(Rv(CKR_OK), writeValue(object, textOf(other)));
    EXPECT_EQ(other, library->attribute(session, object, CKA_VALUE));
    EXPECT_EQ(other, deck.objectContent(card, "C.CH.SIG"));
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_VALUE_INVALID), writeValue(object, "no certificate"));
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_VALUE_INVALID), writeValue(object, textOf(other) + "x"));
    EXPECT_EQ(other, deck.objectContent(card, "C.CH.SIG"));
    EXPECT_EQ(Rv(CKR_OK), writePrivate(object, true));
}

TEST_F(Writing, IsRefusedWhereNothingCanBeWritten) {
    putIn("ecard-g2");
    CK_BBOOL yes = CK_TRUE;
    CK_ULONG number = 1;
    const CK_OBJECT_HANDLE object = data("RFU1");
    struct Case {
        const char* name;
        CK_OBJECT_HANDLE object;
        CK_ATTRIBUTE attribute;
        CK_RV expected;
    };
    const Case cases[] = {
        {"private key", privateKey("SK.CH.SIG"), {CKA_PRIVATE, &yes, 1}, CKR_ATTRIBUTE_READ_ONLY},
        {"public key", publicKey("PK.CH.SIG"), {CKA_PRIVATE, &yes, 1}, CKR_ATTRIBUTE_READ_ONLY},
        {"label", object, {CKA_LABEL, &yes, 1}, CKR_ATTRIBUTE_READ_ONLY},
        {"no such attribute", object, {CKA_MODULUS, &yes, 1}, CKR_ATTRIBUTE_TYPE_INVALID},
        {"flag of a wrong size", object, {CKA_PRIVATE, &number, sizeof number}, CKR_ATTRIBUTE_VALUE_INVALID},
        {"flag without value", object, {CKA_PRIVATE, nullptr, 0}, CKR_ATTRIBUTE_VALUE_INVALID},
        {"value without bytes", object, {CKA_VALUE, nullptr, 5}, CKR_ARGUMENTS_BAD},
        {"no object", 5, {CKA_PRIVATE, &yes, 1}, CKR_OBJECT_HANDLE_INVALID},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Rv(c.expected), write(c.object, {c.attribute})) << c.name;
    EXPECT_EQ(Rv(CKR_DEVICE_MEMORY), writeValue(object, std::string(orselsim::largestFile + 1, 'x')));
    EXPECT_EQ(Rv(CKR_OK), writeValue(object, std::string(orselsim::largestFile, 'x')));
}

TEST_F(Writing, ThatTheCardCannotKeepFailsAndLeavesItAsItWas) {
    putIn("ecard-g2");
    const std::string before = value(data("RFU1"));
    const std::string file = deck.path() + "/" + card + "/.data-RFU1.bin." + std::to_string(getpid());
    std::filesystem::create_directory(file); // in the way of the temporary file
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), writeValue(data("RFU1"), "new"));
    EXPECT_EQ(before, value(data("RFU1")));
}

TEST_F(Writing, LeavesNoFileBehind) {
    putIn("acos-a04");
    const auto count = [&] {
        return std::distance(std::filesystem::directory_iterator(deck.path() + "/" + card),
                             std::filesystem::directory_iterator());
    };
    const auto before = count();
    EXPECT_EQ(Rv(CKR_OK), writePrivate(data("0x01"), true));
    EXPECT_EQ(Rv(CKR_OK), writeValue(data("0x01"), "short"));
    EXPECT_EQ(before, count());
}

TEST_F(Writing, ShowsInTheTraceWithoutItsContent) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), writeValue(data("RFU1"), "confidential"));
    EXPECT_EQ("CKA_VALUE[12]", deck.trace("C_SetAttributeValue").at(0).value("attributes"));
}

TEST_F(Writing, ReachesTheOtherProcessesOfTheCard) {
    putIn("ecard-g2");
    const orseltest::TokenLibrary& same = *library;
    deck.replaceObject(card, "RFU1", bytesOf("by another process"));
    EXPECT_EQ("by another process", textOf(same.attribute(session, data("RFU1"), CKA_VALUE)));
    EXPECT_EQ(Rv(CKR_OK), writeValue(data("RFU2"), "mine"));
    EXPECT_EQ("by another process", textOf(deck.objectContent(card, "RFU1")))
        << "nothing old was written back";
}

TEST_F(Writing, OnACardThatWantsAPinForDataAsksForIt) {
    putIn("acos-a04", CardOptions().dataPin());
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), writeValue(data("0x0a"), "x"));
    deck.answerPins({"9999", "1234"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), writeValue(data("0x0a"), "x"));
    EXPECT_EQ(Rv(CKR_OK), writeValue(data("0x0a"), "x"));
    EXPECT_EQ(Rv(CKR_OK), login("1234"));
    EXPECT_EQ(Rv(CKR_OK), writeValue(data("0x0a"), "y")) << "the login counts";
    EXPECT_EQ(Rv(CKR_OK), writePrivate(certificate("C.CH.SIG"), false)) << "a certificate has no PIN";
}

TEST_F(Writing, AndReadingPrivateDataNeedsThePinOnSuchACardOnly) {
    putIn("acos-a04", CardOptions().dataPin());
    Bytes buffer(64);
    CK_ATTRIBUTE asked = orseltest::attributeOver(CKA_VALUE, buffer);
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_GetAttributeValue(session, data("0x0a"), &asked, 1)) << "not private";
    asked.ulValueLen = buffer.size();
    deck.answerPins({"1234"});
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_GetAttributeValue(session, data("0x02"), &asked, 1));
    EXPECT_THAT(textOf(buffer), StartsWith("Notfallkontakt"));
    asked.ulValueLen = buffer.size();
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), (*library)->C_GetAttributeValue(session, data("0x02"), &asked, 1));
    CK_ATTRIBUTE size = {CKA_VALUE, nullptr, 0};
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_GetAttributeValue(session, data("0x02"), &size, 1))
        << "the size alone";
}
