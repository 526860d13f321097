// SPDX-License-Identifier: MIT
#include <filesystem>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "simulator/store/Files.h"
#include "tests/simulator/token/CardTest.h"

using orselsim::BytesOf;
using orselsim::TextOf;
using orselsim::ToHex;
using orseltest::Bytes;
using orseltest::CardOptions;
using orseltest::Rv;
using testing::ElementsAre;
using testing::StartsWith;

class Writing : public orseltest::CardTest {
protected:
    Rv WriteValue(CK_OBJECT_HANDLE object, const std::string& text) const {
        Bytes value = BytesOf(text);
        return Write(object, {orseltest::AttributeOver(CKA_VALUE, value)});
    }

    Rv WritePrivate(CK_OBJECT_HANDLE object, bool isPrivate) const {
        CK_BBOOL flag = isPrivate ? CK_TRUE : CK_FALSE;
        return Write(object, {{CKA_PRIVATE, &flag, sizeof flag}});
    }

    std::string Value(CK_OBJECT_HANDLE object) const {
        return TextOf(m_Library->Attribute(m_Session, object, CKA_VALUE));
    }
};

TEST_F(Writing, ReplacesTheContentOfADataObjectForGood) {
    PutIn("ecard-g2");
    const CK_OBJECT_HANDLE object = data("RFU1");
    EXPECT_EQ(Rv(CKR_OK), WriteValue(object, "new content"));
    EXPECT_EQ("new content", Value(object));
    EXPECT_EQ("new content", TextOf(m_Deck.ObjectContent(m_Card, "RFU1")));
    m_Library.reset();
    m_Library.emplace();
    m_Session = m_Library->OpenFirst();
    EXPECT_EQ("new content", Value(data("RFU1")));
    EXPECT_EQ(Rv(CKR_OK), WriteValue(data("RFU1"), ""));
    EXPECT_EQ("", Value(data("RFU1")));
}

TEST_F(Writing, OfValueAndFlagHappensTogether) {
    PutIn("acos-a04");
    const CK_OBJECT_HANDLE object = data("0x0a");
    Bytes content = BytesOf("secret now");
    CK_BBOOL yes = CK_TRUE;
    EXPECT_EQ(Rv(CKR_OK),
              Write(object, {orseltest::AttributeOver(CKA_VALUE, content), {CKA_PRIVATE, &yes, 1}}));
    EXPECT_EQ("secret now", Value(object));
    EXPECT_THAT(m_Library->Attribute(m_Session, object, CKA_PRIVATE), ElementsAre(1));
}

TEST_F(Writing, OfTheFlagShowsInTheInfobox) {
    PutIn("acos-a04");
    const auto directory = [&] {
        return ToHex(m_Library->Attribute(m_Session, data("INFOBOX"), CKA_VALUE)).substr(0, 48);
    };
    EXPECT_EQ("56494B01"
              "01000200C001"
              "02010200C002"
              "0A000200C00A"
              "00"
              "00",
              directory());
    EXPECT_EQ(Rv(CKR_OK), WritePrivate(data("0x01"), true));
    EXPECT_EQ("56494B01"
              "01010200C001"
              "02010200C002"
              "0A000200C00A"
              "00"
              "00",
              directory());
    EXPECT_EQ(Rv(CKR_OK), WritePrivate(data("0x02"), false));
    EXPECT_EQ("56494B01"
              "01010200C001"
              "02000200C002"
              "0A000200C00A"
              "00"
              "00",
              directory());
    EXPECT_EQ(Rv(CKR_OK), WritePrivate(data("0x0a"), true));
    EXPECT_EQ("56494B01"
              "01010200C001"
              "02000200C002"
              "0A010200C00A"
              "00"
              "00",
              directory());
}

TEST_F(Writing, OfTheFlagLeavesOtherBitsOfTheInfoboxAlone) {
    PutIn("acos-a04");
    m_Deck.ReplaceObject(m_Card, "INFOBOX", orselsim::FromHex("56494B0101020000020300000A020000").value());
    EXPECT_EQ(Rv(CKR_OK), WritePrivate(data("0x01"), true));
    EXPECT_EQ(Rv(CKR_OK), WritePrivate(data("0x02"), false));
    EXPECT_EQ("56494B0101030000020200000A020000", ToHex(m_Deck.ObjectContent(m_Card, "INFOBOX")));
}

TEST_F(Writing, OfTheFlagWorksWithoutAnInfobox) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), WritePrivate(data("RFU1"), true));
    EXPECT_TRUE(m_Deck.Read(m_Card).m_Record.m_Objects.at(7).m_IsPrivate);
    EXPECT_EQ("RFU1", m_Deck.Read(m_Card).m_Record.m_Objects.at(7).m_Label);
}

TEST_F(Writing, ReplacesACertificateByAnotherOne) {
    PutIn("ecard-g2");
    const Bytes other = m_Deck.ObjectContent(m_Card, "C.CH.EKEY");
    const CK_OBJECT_HANDLE object = Certificate("C.CH.SIG");
    EXPECT_EQ(Rv(CKR_OK), WriteValue(object, TextOf(other)));
    EXPECT_EQ(other, m_Library->Attribute(m_Session, object, CKA_VALUE));
    EXPECT_EQ(other, m_Deck.ObjectContent(m_Card, "C.CH.SIG"));
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_VALUE_INVALID), WriteValue(object, "no certificate"));
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_VALUE_INVALID), WriteValue(object, TextOf(other) + "x"));
    EXPECT_EQ(other, m_Deck.ObjectContent(m_Card, "C.CH.SIG"));
    EXPECT_EQ(Rv(CKR_OK), WritePrivate(object, true));
}

TEST_F(Writing, IsRefusedWhereNothingCanBeWritten) {
    PutIn("ecard-g2");
    CK_BBOOL yes = CK_TRUE;
    CK_ULONG number = 1;
    const CK_OBJECT_HANDLE object = data("RFU1");
    struct Case {
        const char* m_Name;
        CK_OBJECT_HANDLE m_Object;
        CK_ATTRIBUTE m_Attribute;
        CK_RV m_Expected;
    };
    const Case cases[] = {
        {"private key", GetPrivateKey("SK.CH.SIG"), {CKA_PRIVATE, &yes, 1}, CKR_ATTRIBUTE_READ_ONLY},
        {"public key", PublicKey("PK.CH.SIG"), {CKA_PRIVATE, &yes, 1}, CKR_ATTRIBUTE_READ_ONLY},
        {"label", object, {CKA_LABEL, &yes, 1}, CKR_ATTRIBUTE_READ_ONLY},
        {"no such attribute", object, {CKA_MODULUS, &yes, 1}, CKR_ATTRIBUTE_TYPE_INVALID},
        {"flag of a wrong size", object, {CKA_PRIVATE, &number, sizeof number}, CKR_ATTRIBUTE_VALUE_INVALID},
        {"flag without value", object, {CKA_PRIVATE, nullptr, 0}, CKR_ATTRIBUTE_VALUE_INVALID},
        {"value without bytes", object, {CKA_VALUE, nullptr, 5}, CKR_ARGUMENTS_BAD},
        {"no object", 5, {CKA_PRIVATE, &yes, 1}, CKR_OBJECT_HANDLE_INVALID},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Rv(c.m_Expected), Write(c.m_Object, {c.m_Attribute})) << c.m_Name;
    }
    EXPECT_EQ(Rv(CKR_DEVICE_MEMORY), WriteValue(object, std::string(orselsim::LARGEST_FILE + 1, 'x')));
    EXPECT_EQ(Rv(CKR_OK), WriteValue(object, std::string(orselsim::LARGEST_FILE, 'x')));
}

TEST_F(Writing, ThatTheCardCannotKeepFailsAndLeavesItAsItWas) {
    PutIn("ecard-g2");
    const std::string before = Value(data("RFU1"));
    const std::string file = m_Deck.GetPath() + "/" + m_Card + "/.data-RFU1.bin." + std::to_string(getpid());
    std::filesystem::create_directory(file); // in the way of the temporary file
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), WriteValue(data("RFU1"), "new"));
    EXPECT_EQ(before, Value(data("RFU1")));
}

TEST_F(Writing, LeavesNoFileBehind) {
    PutIn("acos-a04");
    const auto count = [&] {
        return std::distance(std::filesystem::directory_iterator(m_Deck.GetPath() + "/" + m_Card),
                             std::filesystem::directory_iterator());
    };
    const auto before = count();
    EXPECT_EQ(Rv(CKR_OK), WritePrivate(data("0x01"), true));
    EXPECT_EQ(Rv(CKR_OK), WriteValue(data("0x01"), "short"));
    EXPECT_EQ(before, count());
}

TEST_F(Writing, ShowsInTheTraceWithoutItsContent) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), WriteValue(data("RFU1"), "confidential"));
    EXPECT_EQ("CKA_VALUE[12]", m_Deck.GetTrace("C_SetAttributeValue").at(0).Value("attributes"));
}

TEST_F(Writing, ReachesTheOtherProcessesOfTheCard) {
    PutIn("ecard-g2");
    const orseltest::TokenLibrary& same = *m_Library;
    m_Deck.ReplaceObject(m_Card, "RFU1", BytesOf("by another process"));
    EXPECT_EQ("by another process", TextOf(same.Attribute(m_Session, data("RFU1"), CKA_VALUE)));
    EXPECT_EQ(Rv(CKR_OK), WriteValue(data("RFU2"), "mine"));
    EXPECT_EQ("by another process", TextOf(m_Deck.ObjectContent(m_Card, "RFU1")))
        << "nothing old was written back";
}

TEST_F(Writing, OnACardThatWantsAPinForDataAsksForIt) {
    PutIn("acos-a04", CardOptions().DataPin());
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), WriteValue(data("0x0a"), "x"));
    m_Deck.AnswerPins({"9999", "1234"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), WriteValue(data("0x0a"), "x"));
    EXPECT_EQ(Rv(CKR_OK), WriteValue(data("0x0a"), "x"));
    EXPECT_EQ(Rv(CKR_OK), LogIn("1234"));
    EXPECT_EQ(Rv(CKR_OK), WriteValue(data("0x0a"), "y")) << "the login counts";
    EXPECT_EQ(Rv(CKR_OK), WritePrivate(Certificate("C.CH.SIG"), false)) << "a certificate has no PIN";
}

TEST_F(Writing, AndReadingPrivateDataNeedsThePinOnSuchACardOnly) {
    PutIn("acos-a04", CardOptions().DataPin());
    Bytes buffer(64);
    CK_ATTRIBUTE asked = orseltest::AttributeOver(CKA_VALUE, buffer);
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_GetAttributeValue(m_Session, data("0x0a"), &asked, 1))
        << "not private";
    asked.ulValueLen = buffer.size();
    m_Deck.AnswerPins({"1234"});
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_GetAttributeValue(m_Session, data("0x02"), &asked, 1));
    EXPECT_THAT(TextOf(buffer), StartsWith("Notfallkontakt"));
    asked.ulValueLen = buffer.size();
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED),
              (*m_Library)->C_GetAttributeValue(m_Session, data("0x02"), &asked, 1));
    CK_ATTRIBUTE size = {CKA_VALUE, nullptr, 0};
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_GetAttributeValue(m_Session, data("0x02"), &size, 1))
        << "the size alone";
}
