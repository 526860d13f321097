// SPDX-License-Identifier: MIT
#include "simulator/deck/CardMaker.h"

#include <gmock/gmock.h>
#include <openssl/x509v3.h>

#include "simulator/deck/IdentityLink.h"
#include "tests/support/SimDeck.h"

using orselsim::Bytes;
using orselsim::Card;
using orselsim::CardKind;
using orselsim::FindCardKind;
using orselsim::KeyPtr;
using orselsim::ObjectKind;
using orselsim::ObjectRecord;
using orselsim::PublicParts;
using orselsim::PublicPartsOf;
using orselsim::ToHex;
using orselsim::X509Ptr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

const ObjectRecord* ObjectOf(const Card& card, const std::string& label) {
    for (const ObjectRecord& object : card.m_Record.m_Objects) {
        if (object.m_Label == label) {
            return &object;
        }
    }
    return nullptr;
}

const Bytes& ContentOf(const Card& card, const std::string& label) {
    return card.Content(ObjectOf(card, label)->m_File);
}

std::vector<std::string> DataLabels(const Card& card) {
    std::vector<std::string> labels;
    for (const ObjectRecord& object : card.m_Record.m_Objects) {
        if (object.m_Kind == ObjectKind::DATA) {
            labels.push_back(object.m_Label);
        }
    }
    return labels;
}

std::string KeyText(const Card& card, const std::string& label) {
    if (ObjectOf(card, label) == nullptr) {
        return "none";
    }
    const KeyPtr key = orselsim::ReadKey(ContentOf(card, label));
    const PublicParts parts = PublicPartsOf(key.get());
    return (parts.m_IsRsa ? "RSA " : "EC ") + std::to_string(parts.m_Bits);
}

X509Ptr CertificateOf(const Card& card, const std::string& label) {
    const Bytes& der = ContentOf(card, label);
    const unsigned char* start = der.data();
    return X509Ptr(d2i_X509(nullptr, &start, static_cast<long>(der.size())));
}

std::string CommonName(X509* certificate) {
    X509_NAME* subject = X509_get_subject_name(certificate);
    const int index = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    const ASN1_STRING* text = X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index));
    EXPECT_EQ(V_ASN1_UTF8STRING, ASN1_STRING_type(text));
    return std::string(ASN1_STRING_get0_data(text), ASN1_STRING_get0_data(text) + ASN1_STRING_length(text));
}

/// Reads one DER element with a length of up to two bytes; moves `at` behind it.
Bytes Element(const Bytes& der, std::size_t& at, unsigned char tag) {
    EXPECT_EQ(tag, der.at(at));
    std::size_t size = der.at(at + 1);
    std::size_t start = at + 2;
    if (size == 0x81) {
        size = der.at(at + 2);
        start = at + 3;
    } else if (size == 0x82) {
        size = static_cast<std::size_t>(der.at(at + 2) << 8 | der.at(at + 3));
        start = at + 4;
    }
    at = start + size;
    EXPECT_LE(at, der.size());
    return Bytes(der.begin() + static_cast<std::ptrdiff_t>(start),
                 der.begin() + static_cast<std::ptrdiff_t>(at));
}

std::string Text(const Bytes& der, std::size_t& at) {
    return orselsim::TextOf(Element(der, at, 0x0C));
}

} // namespace

class NewCards : public testing::Test {
protected:
    Card Make(const std::string& kind, const std::string& holder = "Jörg Groß",
              const std::string& serial = "8004000112233445") {
        const auto authority = orselsim::DemoAuthority::Of(m_Deck.GetPath());
        return orselsim::MakeCard(*FindCardKind(kind), holder, serial, authority);
    }

    orseltest::SimDeck m_Deck;
};

/// What a new card of each kind holds, in the order of the kinds.
struct Content {
    const char* m_Kind;
    const char* m_Model;
    const char* m_Label;
    const char* m_EncryptionKey;
    const char* m_SignatureKey;
    bool m_HasInfobox;
    const char* m_Atr; ///< beginning
};
constexpr Content CONTENTS[] = {
    {"acos-a03", "ACOS EMV-A03", "Orsel Carta ACOS", "RSA 1536", "EC 192", false, "3BBF11008131FE45455041"},
    {"acos-a04", "ACOS EMV-A04", "Orsel Carta ACOS", "RSA 1536", "EC 256", true, "3BBF11008131FE45455041"},
    {"acos-a05", "ACOS EMV-A05", "Orsel Carta ACOS", "RSA 1536", "EC 256", true, "3BBF11008131FE45455041"},
    {"ecard-g2", "Starcos SPK 3.1", "Orsel Carta e-Card", "EC 192", "EC 192", false,
     "3BBD18008131FE45805102"},
    {"ecard-g3a", "Starcos SPK 3.4", "Orsel Carta e-Card", "RSA 1536", "EC 256", false,
     "3BDD96FF81B1FE451F038031B0520203"},
    {"ecard-g3b", "Starcos SPK 3.4+", "Orsel Carta e-Card", "RSA 1536", "EC 256", true,
     "3BDF18008131FE588031B05202046405C903AC73B7B1D422"},
    {"ecard-g4", "ATOS 5.3", "Orsel Carta e-Card", "RSA 2048", "EC 256", true, "3BDF96008131FE45"},
    {"cardos-53", "CardOS 5.3", "Orsel Carta CardOS", "RSA 2048", "EC 256", true,
     "3BDF18008131FE588031905241016405C903AC73B7B1D444"},
};

TEST_F(NewCards, AreWhatTheirKindSays) {
    std::size_t index = 0;
    for (const Content& c : CONTENTS) {
        SCOPED_TRACE(c.m_Kind);
        EXPECT_STREQ(c.m_Kind, orselsim::CardKinds().at(index++).m_Name) << "kinds in their order";
        const Card card = Make(c.m_Kind);
        EXPECT_EQ(c.m_Model, card.m_Record.m_Model);
        EXPECT_EQ(c.m_Label, card.m_Record.m_Label);
        EXPECT_EQ(c.m_EncryptionKey, KeyText(card, "SK.CH.EKEY"));
        EXPECT_EQ(c.m_SignatureKey, KeyText(card, "SK.CH.SIG"));
        EXPECT_THAT(ToHex(card.m_Record.m_Atr), StartsWith(c.m_Atr));
        if (c.m_HasInfobox) {
            EXPECT_THAT(DataLabels(card), ElementsAre("INFOBOX", "0x01", "0x02", "0x0a"));
        } else {
            EXPECT_THAT(DataLabels(card), ElementsAre("PERSONENBINDUNG", "RFU1", "RFU2"));
        }
    }
}

TEST_F(NewCards, HaveAnAtrWithARightCheckByte) {
    for (const CardKind& kind : orselsim::CardKinds()) {
        const Bytes atr = orselsim::FromHex(kind.m_Atr).value();
        unsigned char sum = 0;
        for (std::size_t i = 1; i < atr.size(); ++i) {
            sum = static_cast<unsigned char>(sum ^ atr[i]);
        }
        const bool hasCheckByte = kind.m_Name != std::string("unknown"); // T=0 has none
        if (hasCheckByte) {
            EXPECT_EQ(0, sum) << kind.m_Name;
        }
    }
}

TEST_F(NewCards, OfTheEmptyKindHoldNothing) {
    const Card card = Make("empty");
    EXPECT_EQ("ACOS EMV-A04", card.m_Record.m_Model);
    EXPECT_THAT(card.m_Record.m_Objects, IsEmpty());
    EXPECT_THAT(card.m_Record.m_Pins, IsEmpty());
}

TEST_F(NewCards, OfTheUnknownKindMatchNoRule) {
    const Card card = Make("unknown");
    EXPECT_EQ("Firmenausweis", card.m_Record.m_Label);
    for (const char* known : {"ACOS EMV-A0", "ATOS 5.3", "Starcos SPK", "CardOS 5.3"}) {
        EXPECT_THAT(card.m_Record.m_Model, testing::Not(StartsWith(known)));
    }
    EXPECT_EQ("RSA 2048", KeyText(card, "SK.CH.EKEY"));
}

TEST_F(NewCards, HaveTwoCertificatesOfTheHolderForTheirOwnKeys) {
    const Card card = Make("ecard-g2", "Franziska Müßig");
    for (const auto& [certificateLabel, keyLabel] :
         {std::pair("C.CH.SIG", "SK.CH.SIG"), std::pair("C.CH.EKEY", "SK.CH.EKEY")}) {
        const X509Ptr certificate = CertificateOf(card, certificateLabel);
        ASSERT_TRUE(certificate);
        EXPECT_EQ("Franziska Müßig", CommonName(certificate.get()));
        EXPECT_EQ(2, X509_get_version(certificate.get()));
        const KeyPtr key = orselsim::ReadKey(ContentOf(card, keyLabel));
        EXPECT_EQ(1, X509_check_private_key(certificate.get(), key.get()));
        EXPECT_LT(X509_cmp_current_time(X509_get0_notBefore(certificate.get())), 0);
        EXPECT_GT(X509_cmp_current_time(X509_get0_notAfter(certificate.get())), 0);
        EXPECT_LT(ContentOf(card, certificateLabel).size(), 5012U);
    }
    EXPECT_NE(ContentOf(card, "SK.CH.SIG"), ContentOf(card, "SK.CH.EKEY"));
}

TEST_F(NewCards, HaveCertificatesThatSayWhatTheirKeyIsFor) {
    const Card card = Make("ecard-g2");
    EXPECT_EQ(unsigned(KU_NON_REPUDIATION), X509_get_key_usage(CertificateOf(card, "C.CH.SIG").get()));
    EXPECT_EQ(unsigned(KU_DIGITAL_SIGNATURE | KU_KEY_ENCIPHERMENT),
              X509_get_key_usage(CertificateOf(card, "C.CH.EKEY").get()));
}

TEST_F(NewCards, HaveCertificatesOfTheDecksAuthority) {
    const auto authority = orselsim::DemoAuthority::Of(m_Deck.GetPath());
    const unsigned char* start = authority.Certificate().data();
    const X509Ptr issuer(d2i_X509(nullptr, &start, static_cast<long>(authority.Certificate().size())));
    ASSERT_TRUE(issuer);
    const Card card = Make("ecard-g2");
    const X509Ptr certificate = CertificateOf(card, "C.CH.SIG");
    EXPECT_EQ(1, X509_verify(certificate.get(), X509_get0_pubkey(issuer.get())));
    EXPECT_EQ(0, X509_NAME_cmp(X509_get_issuer_name(certificate.get()), X509_get_subject_name(issuer.get())));
}

TEST_F(NewCards, NameThePinThatProtectsEachObject) {
    const Card card = Make("ecard-g2");
    EXPECT_EQ("signature", ObjectOf(card, "SK.CH.SIG")->m_Pin);
    EXPECT_EQ("encryption", ObjectOf(card, "SK.CH.EKEY")->m_Pin);
    EXPECT_EQ("encryption", ObjectOf(card, "PERSONENBINDUNG")->m_Pin);
    EXPECT_EQ("", ObjectOf(card, "C.CH.SIG")->m_Pin);
    EXPECT_TRUE(card.m_Record.Pin("signature")->m_Pin.m_Secret->Matches("123456"));
    EXPECT_TRUE(card.m_Record.Pin("encryption")->m_Pin.m_Secret->Matches("1234"));
    EXPECT_FALSE(card.m_Record.Pin("signature")->m_Puk) << "an e-card cannot be unblocked";
    EXPECT_TRUE(Make("acos-a03").m_Record.Pin("signature")->m_Puk->m_Secret->Matches("12345678"));
}

TEST_F(NewCards, HaveABlankLastObjectWithoutAnInfobox) {
    EXPECT_EQ(Bytes(64), ContentOf(Make("ecard-g2"), "RFU2"));
}

TEST_F(NewCards, ListTheirObjectsInTheInfobox) {
    const Card card = Make("acos-a04");
    EXPECT_THAT(ToHex(ContentOf(card, "INFOBOX")), StartsWith("56494B01"
                                                              "01000200C001"
                                                              "02010200C002"
                                                              "0A000200C00A"
                                                              "00"));
    EXPECT_FALSE(ObjectOf(card, "0x01")->m_IsPrivate);
    EXPECT_TRUE(ObjectOf(card, "0x02")->m_IsPrivate);
    EXPECT_FALSE(ObjectOf(card, "0x0a")->m_IsPrivate);
    EXPECT_EQ(0x30, ContentOf(card, "0x01").at(0));
}

TEST_F(NewCards, HoldAnIdentityLinkOfTheHolder) {
    const Bytes link =
        ContentOf(Make("ecard-g2", "Anna Maria Öllinger", "8004000112233445"), "PERSONENBINDUNG");
    std::size_t at = 0;
    const Bytes body = Element(link, at, 0x30);
    EXPECT_EQ(link.size(), at);
    at = 0;
    EXPECT_THAT(Element(body, at, 0x02), ElementsAre(1));
    EXPECT_EQ("Orsel Demo Stammzahlenregister", Text(body, at));
    EXPECT_EQ("orsel-demo-8004000112233445", Text(body, at));
    EXPECT_EQ("2024-03-01T10:15:00+01:00", Text(body, at));
    const Bytes person = Element(body, at, 0xA0);
    Element(body, at, 0x30);
    const std::size_t signedSize = at;
    const Bytes signature = Element(body, at, 0x03);
    for (const unsigned char tag : Bytes{0xA0, 0xA1, 0xA2}) {
        const Bytes wrapped = Element(body, at, tag);
        std::size_t inside = 0;
        EXPECT_THAT(Element(wrapped, inside, 0x03), SizeIs(1 + 32));
    }
    EXPECT_EQ(body.size(), at);

    ASSERT_LE(person.at(1), 0x7F) << "a length of one byte";
    std::size_t in = 2;
    EXPECT_THAT(Text(person, in), SizeIs(24));
    EXPECT_EQ("Anna", Text(person, in));
    EXPECT_EQ("Maria Öllinger", Text(person, in));
    EXPECT_THAT(Text(person, in), testing::MatchesRegex("19[4-9][0-9]-[01][0-9]-[0-3][0-9]"));

    const auto authority = orselsim::DemoAuthority::Of(m_Deck.GetPath());
    const unsigned char* start = authority.Certificate().data();
    const X509Ptr issuer(d2i_X509(nullptr, &start, static_cast<long>(authority.Certificate().size())));
    const orselsim::DigestContextPtr context(EVP_MD_CTX_new());
    ASSERT_EQ(1, EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr,
                                      X509_get0_pubkey(issuer.get())));
    EXPECT_EQ(0, signature.at(0)) << "no unused bits";
    EXPECT_EQ(1, EVP_DigestVerify(context.get(), signature.data() + 1, signature.size() - 1, body.data(),
                                  signedSize));
}

TEST_F(NewCards, CutALongNameInTheIdentityLinkBetweenCharacters) {
    std::string family;
    for (int i = 0; i < 30; ++i) {
        family += "ß";
    }
    const Bytes link = ContentOf(Make("ecard-g2", "X" + family + " " + family), "PERSONENBINDUNG");
    std::string cutGiven = "X";
    std::string cutFamily;
    for (int i = 0; i < 19; ++i) {
        cutGiven += "ß";
    }
    for (int i = 0; i < 20; ++i) {
        cutFamily += "ß";
    }
    EXPECT_THAT(orselsim::TextOf(link),
                HasSubstr("\x0C\x27" + cutGiven + "\x0C\x28" + cutFamily + "\x0C\x0A"));
}

TEST_F(NewCards, OfAHolderWithOneNameHaveAFamilyNameOnly) {
    const Bytes link = ContentOf(Make("ecard-g2", "Madonna"), "PERSONENBINDUNG");
    EXPECT_THAT(orselsim::TextOf(link), HasSubstr(std::string("\x0C\x00\x0C\x07Madonna", 11)));
}

TEST_F(NewCards, ShowTheirSerialAsTheirNumber) {
    const Card card = Make("ecard-g2", "A B", "8004000112233445");
    EXPECT_THAT(ToHex(card.m_Contents.at("file-DF71-D001.bin")), StartsWith("8004000112233445"));
    const Card other = Make("acos-a03", "A B", "no hex");
    EXPECT_THAT(ToHex(other.m_Contents.at("file-DF71-D001.bin")), StartsWith("6E6F206865780000"));
}
