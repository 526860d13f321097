// SPDX-License-Identifier: MIT
#include "simulator/deck/CardMaker.h"

#include <gmock/gmock.h>
#include <openssl/x509v3.h>

#include "simulator/deck/IdentityLink.h"
#include "tests/support/SimDeck.h"

using orselsim::Bytes;
using orselsim::bytesOf;
using orselsim::Card;
using orselsim::CardKind;
using orselsim::findCardKind;
using orselsim::KeyPtr;
using orselsim::ObjectKind;
using orselsim::ObjectRecord;
using orselsim::PublicParts;
using orselsim::publicParts;
using orselsim::toHex;
using orselsim::X509Ptr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

const ObjectRecord* objectOf(const Card& card, const std::string& label) {
    for (const ObjectRecord& object : card.record.objects)
        if (object.label == label)
            return &object;
    return nullptr;
}

const Bytes& contentOf(const Card& card, const std::string& label) {
    return card.content(objectOf(card, label)->file);
}

std::vector<std::string> dataLabels(const Card& card) {
    std::vector<std::string> labels;
    for (const ObjectRecord& object : card.record.objects)
        if (object.kind == ObjectKind::Data)
            labels.push_back(object.label);
    return labels;
}

std::string keyText(const Card& card, const std::string& label) {
    if (objectOf(card, label) == nullptr)
        return "none";
    const KeyPtr key = orselsim::readKey(contentOf(card, label));
    const PublicParts parts = publicParts(key.get());
    return (parts.isRsa ? "RSA " : "EC ") + std::to_string(parts.bits);
}

X509Ptr certificateOf(const Card& card, const std::string& label) {
    const Bytes& der = contentOf(card, label);
    const unsigned char* start = der.data();
    return X509Ptr(d2i_X509(nullptr, &start, static_cast<long>(der.size())));
}

std::string commonName(X509* certificate) {
    X509_NAME* subject = X509_get_subject_name(certificate);
    const int index = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    const ASN1_STRING* text = X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index));
    EXPECT_EQ(V_ASN1_UTF8STRING, ASN1_STRING_type(text));
    return std::string(ASN1_STRING_get0_data(text), ASN1_STRING_get0_data(text) + ASN1_STRING_length(text));
}

/// Reads one DER element with a length of up to two bytes; moves `at` behind it.
Bytes element(const Bytes& der, std::size_t& at, unsigned char tag) {
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

std::string text(const Bytes& der, std::size_t& at) {
    return orselsim::textOf(element(der, at, 0x0C));
}

} // namespace

class NewCards : public testing::Test {
protected:
    Card make(const std::string& kind, const std::string& holder = "Jörg Groß",
              const std::string& serial = "8004000112233445") {
        const auto authority = orselsim::DemoAuthority::of(deck.path());
        return orselsim::makeCard(*findCardKind(kind), holder, serial, authority);
    }

    orseltest::SimDeck deck;
};

TEST_F(NewCards, AreWhatTheirKindSays) {
    struct Case {
        const char* kind;
        const char* model;
        const char* label;
        const char* encryptionKey;
        const char* signatureKey;
        bool hasInfobox;
        const char* atr; ///< beginning
    };
    const Case cases[] = {
        {"acos-a03", "ACOS EMV-A03", "Orsel Carta ACOS", "RSA 1536", "EC 192", false,
         "3BBF11008131FE45455041"},
        {"acos-a04", "ACOS EMV-A04", "Orsel Carta ACOS", "RSA 1536", "EC 256", true,
         "3BBF11008131FE45455041"},
        {"acos-a05", "ACOS EMV-A05", "Orsel Carta ACOS", "RSA 1536", "EC 256", true,
         "3BBF11008131FE45455041"},
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
    std::size_t index = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.kind);
        EXPECT_STREQ(c.kind, orselsim::cardKinds().at(index++).name) << "kinds in their order";
        const Card card = make(c.kind);
        EXPECT_EQ(c.model, card.record.model);
        EXPECT_EQ(c.label, card.record.label);
        EXPECT_EQ(c.encryptionKey, keyText(card, "SK.CH.EKEY"));
        EXPECT_EQ(c.signatureKey, keyText(card, "SK.CH.SIG"));
        EXPECT_THAT(toHex(card.record.atr), StartsWith(c.atr));
        if (c.hasInfobox) {
            EXPECT_THAT(dataLabels(card), ElementsAre("INFOBOX", "0x01", "0x02", "0x0a"));
        } else {
            EXPECT_THAT(dataLabels(card), ElementsAre("PERSONENBINDUNG", "RFU1", "RFU2"));
        }
    }
}

TEST_F(NewCards, HaveAnAtrWithARightCheckByte) {
    for (const CardKind& kind : orselsim::cardKinds()) {
        const Bytes atr = orselsim::fromHex(kind.atr).value();
        unsigned char sum = 0;
        for (std::size_t i = 1; i < atr.size(); ++i)
            sum = static_cast<unsigned char>(sum ^ atr[i]);
        const bool hasCheckByte = kind.name != std::string("unknown"); // T=0 has none
        if (hasCheckByte) {
            EXPECT_EQ(0, sum) << kind.name;
        }
    }
}

TEST_F(NewCards, OfTheEmptyKindHoldNothing) {
    const Card card = make("empty");
    EXPECT_EQ("ACOS EMV-A04", card.record.model);
    EXPECT_THAT(card.record.objects, IsEmpty());
    EXPECT_THAT(card.record.pins, IsEmpty());
}

TEST_F(NewCards, OfTheUnknownKindMatchNoRule) {
    const Card card = make("unknown");
    EXPECT_EQ("Firmenausweis", card.record.label);
    for (const char* known : {"ACOS EMV-A0", "ATOS 5.3", "Starcos SPK", "CardOS 5.3"})
        EXPECT_THAT(card.record.model, testing::Not(StartsWith(known)));
    EXPECT_EQ("RSA 2048", keyText(card, "SK.CH.EKEY"));
}

TEST_F(NewCards, HaveTwoCertificatesOfTheHolderForTheirOwnKeys) {
    const Card card = make("ecard-g2", "Franziska Müßig");
    for (const auto& [certificateLabel, keyLabel] :
         {std::pair("C.CH.SIG", "SK.CH.SIG"), std::pair("C.CH.EKEY", "SK.CH.EKEY")}) {
        const X509Ptr certificate = certificateOf(card, certificateLabel);
        ASSERT_TRUE(certificate);
        EXPECT_EQ("Franziska Müßig", commonName(certificate.get()));
        EXPECT_EQ(2, X509_get_version(certificate.get()));
        const KeyPtr key = orselsim::readKey(contentOf(card, keyLabel));
        EXPECT_EQ(1, X509_check_private_key(certificate.get(), key.get()));
        EXPECT_LT(X509_cmp_current_time(X509_get0_notBefore(certificate.get())), 0);
        EXPECT_GT(X509_cmp_current_time(X509_get0_notAfter(certificate.get())), 0);
        EXPECT_LT(contentOf(card, certificateLabel).size(), 5012U);
    }
    EXPECT_NE(contentOf(card, "SK.CH.SIG"), contentOf(card, "SK.CH.EKEY"));
}

TEST_F(NewCards, HaveCertificatesThatSayWhatTheirKeyIsFor) {
    const Card card = make("ecard-g2");
    EXPECT_EQ(unsigned(KU_NON_REPUDIATION), X509_get_key_usage(certificateOf(card, "C.CH.SIG").get()));
    EXPECT_EQ(unsigned(KU_DIGITAL_SIGNATURE | KU_KEY_ENCIPHERMENT),
              X509_get_key_usage(certificateOf(card, "C.CH.EKEY").get()));
}

TEST_F(NewCards, HaveCertificatesOfTheDecksAuthority) {
    const auto authority = orselsim::DemoAuthority::of(deck.path());
    const unsigned char* start = authority.certificate().data();
    const X509Ptr issuer(d2i_X509(nullptr, &start, static_cast<long>(authority.certificate().size())));
    ASSERT_TRUE(issuer);
    const Card card = make("ecard-g2");
    const X509Ptr certificate = certificateOf(card, "C.CH.SIG");
    EXPECT_EQ(1, X509_verify(certificate.get(), X509_get0_pubkey(issuer.get())));
    EXPECT_EQ(0, X509_NAME_cmp(X509_get_issuer_name(certificate.get()), X509_get_subject_name(issuer.get())));
}

TEST_F(NewCards, NameThePinThatProtectsEachObject) {
    const Card card = make("ecard-g2");
    EXPECT_EQ("signature", objectOf(card, "SK.CH.SIG")->pin);
    EXPECT_EQ("encryption", objectOf(card, "SK.CH.EKEY")->pin);
    EXPECT_EQ("encryption", objectOf(card, "PERSONENBINDUNG")->pin);
    EXPECT_EQ("", objectOf(card, "C.CH.SIG")->pin);
    EXPECT_TRUE(card.record.pin("signature")->pin.secret->matches("123456"));
    EXPECT_TRUE(card.record.pin("encryption")->pin.secret->matches("1234"));
    EXPECT_FALSE(card.record.pin("signature")->puk) << "an e-card cannot be unblocked";
    EXPECT_TRUE(make("acos-a03").record.pin("signature")->puk->secret->matches("12345678"));
}

TEST_F(NewCards, HaveABlankLastObjectWithoutAnInfobox) {
    EXPECT_EQ(Bytes(64), contentOf(make("ecard-g2"), "RFU2"));
}

TEST_F(NewCards, ListTheirObjectsInTheInfobox) {
    const Card card = make("acos-a04");
    EXPECT_THAT(toHex(contentOf(card, "INFOBOX")), StartsWith("56494B01"
                                                              "01000200C001"
                                                              "02010200C002"
                                                              "0A000200C00A"
                                                              "00"));
    EXPECT_FALSE(objectOf(card, "0x01")->isPrivate);
    EXPECT_TRUE(objectOf(card, "0x02")->isPrivate);
    EXPECT_FALSE(objectOf(card, "0x0a")->isPrivate);
    EXPECT_EQ(0x30, contentOf(card, "0x01").at(0));
}

TEST_F(NewCards, HoldAnIdentityLinkOfTheHolder) {
    const Bytes link =
        contentOf(make("ecard-g2", "Anna Maria Öllinger", "8004000112233445"), "PERSONENBINDUNG");
    std::size_t at = 0;
    const Bytes body = element(link, at, 0x30);
    EXPECT_EQ(link.size(), at);
    at = 0;
    EXPECT_THAT(element(body, at, 0x02), ElementsAre(1));
    EXPECT_EQ("Orsel Demo Stammzahlenregister", text(body, at));
    EXPECT_EQ("orsel-demo-8004000112233445", text(body, at));
    EXPECT_EQ("2024-03-01T10:15:00+01:00", text(body, at));
    const Bytes person = element(body, at, 0xA0);
    element(body, at, 0x30);
    const std::size_t signedSize = at;
    const Bytes signature = element(body, at, 0x03);
    for (const unsigned char tag : Bytes{0xA0, 0xA1, 0xA2}) {
        const Bytes wrapped = element(body, at, tag);
        std::size_t inside = 0;
        EXPECT_THAT(element(wrapped, inside, 0x03), SizeIs(1 + 32));
    }
    EXPECT_EQ(body.size(), at);

    ASSERT_LE(person.at(1), 0x7F) << "a length of one byte";
    std::size_t in = 2;
    EXPECT_THAT(text(person, in), SizeIs(24));
    EXPECT_EQ("Anna", text(person, in));
    EXPECT_EQ("Maria Öllinger", text(person, in));
    EXPECT_THAT(text(person, in), testing::MatchesRegex("19[4-9][0-9]-[01][0-9]-[0-3][0-9]"));

    const auto authority = orselsim::DemoAuthority::of(deck.path());
    const unsigned char* start = authority.certificate().data();
    const X509Ptr issuer(d2i_X509(nullptr, &start, static_cast<long>(authority.certificate().size())));
    const orselsim::DigestContextPtr context(EVP_MD_CTX_new());
    ASSERT_EQ(1, EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr,
                                      X509_get0_pubkey(issuer.get())));
    EXPECT_EQ(0, signature.at(0)) << "no unused bits";
    EXPECT_EQ(1, EVP_DigestVerify(context.get(), signature.data() + 1, signature.size() - 1, body.data(),
                                  signedSize));
}

TEST_F(NewCards, CutALongNameInTheIdentityLinkBetweenCharacters) {
    std::string family;
    for (int i = 0; i < 30; ++i)
        family += "ß";
    const Bytes link = contentOf(make("ecard-g2", "X" + family + " " + family), "PERSONENBINDUNG");
    std::string cutGiven = "X";
    std::string cutFamily;
    for (int i = 0; i < 19; ++i)
        cutGiven += "ß";
    for (int i = 0; i < 20; ++i)
        cutFamily += "ß";
    EXPECT_THAT(orselsim::textOf(link),
                HasSubstr("\x0C\x27" + cutGiven + "\x0C\x28" + cutFamily + "\x0C\x0A"));
}

TEST_F(NewCards, OfAHolderWithOneNameHaveAFamilyNameOnly) {
    const Bytes link = contentOf(make("ecard-g2", "Madonna"), "PERSONENBINDUNG");
    EXPECT_THAT(orselsim::textOf(link), HasSubstr(std::string("\x0C\x00\x0C\x07Madonna", 11)));
}

TEST_F(NewCards, ShowTheirSerialAsTheirNumber) {
    const Card card = make("ecard-g2", "A B", "8004000112233445");
    EXPECT_THAT(toHex(card.contents.at("file-DF71-D001.bin")), StartsWith("8004000112233445"));
    const Card other = make("acos-a03", "A B", "no hex");
    EXPECT_THAT(toHex(other.contents.at("file-DF71-D001.bin")), StartsWith("6E6F206865780000"));
}
