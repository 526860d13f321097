// SPDX-License-Identifier: MIT
// Signatures of the simulated cards, in the eyes of the openssl command.
#include "card/tkPKCS11.h"

#include "formats/slCertificate.h"
#include "tests/card/OpenSslCommand.h"
#include "tests/card/TokenTest.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace Velmor;

namespace {

/// A hash and its name for the openssl command; without a name that has to take the hash as it is.
struct HashName {
    HashAlgorithm m_Hash;
    const char* m_Digest;
};

/// What signString takes.
const HashName EVERY_HASH[] = {
    {HASH_SHA1, "sha1"},     {HASH_RIPEMD160, "ripemd160"}, {HASH_SHA224, "sha224"},
    {HASH_SHA256, "sha256"}, {HASH_SHA512, "sha512"},       {HASH_MD5, "md5"},
    {HASH_MD4, ""},          {HASH_SHA384, "sha384"},
};
/// What Sign and Verify take, by the kind of the key.
const HashName RSA_HASHES[] = {
    {HASH_SHA1, "sha1"},     {HASH_RIPEMD160, "ripemd160"}, {HASH_SHA256, "sha256"},
    {HASH_SHA384, "sha384"}, {HASH_SHA512, "sha512"},       {HASH_RAW, ""},
};
const HashName EC_HASHES[] = {{HASH_SHA1, "sha1"}, {HASH_RAW, ""}};

std::vector<HashName> HashesOf(SignKey key) {
    return key == KEY_RSA ? std::vector<HashName>(std::begin(RSA_HASHES), std::end(RSA_HASHES))
                          : std::vector<HashName>(std::begin(EC_HASHES), std::end(EC_HASHES));
}

/// Both keys of a card.
struct KeyNames {
    bool m_SigKey;
    const char* m_PrivateKey;
    const char* m_PublicKey;
    const char* m_Certificate;
    const char* m_Pin;
};
const KeyNames KEYS[] = {{true, "SK.CH.SIG", "PK.CH.SIG", "C.CH.SIG", "123456"},
                         {false, "SK.CH.EKEY", "PK.CH.EKEY", "C.CH.EKEY", "1234"}};

/// Hashes that an RSA signature has no name for are signed as they are.
bool IsSignedBare(SignKey key, HashAlgorithm hash) {
    return hash == HASH_MD4 || (key == KEY_RSA && (hash == HASH_SHA224 || hash == HASH_MD5));
}

} // namespace

/// A test of every card kind.
class SignaturesOf : public TokenTest, public testing::WithParamInterface<std::string> {
protected:
    SignaturesOf() : m_Command(m_Deck.Folder()) {}

    SignKey KindOf(const KeyNames& key) {
        SignKey kind = KEY_RSA;
        EXPECT_TRUE(Card().GetSignKeyType(kind, key.m_SigKey));
        return kind;
    }
    bool SignString(const KeyNames& key, HashAlgorithm hash, Bytes& signature) {
        signature.assign(512, 0);
        unsigned long length = signature.size();
        SignKey kind = KEY_RSA;
        m_Deck.AnswerPins({key.m_Pin});
        const bool isSigned = Card().signString(m_Data.data(), m_Data.size(), signature.data(), length, kind,
                                                key.m_SigKey, hash);
        EXPECT_EQ(kind, KindOf(key));
        signature.resize(length);
        return isSigned;
    }
    /// The data as the command has to see it when the card has signed its hash as it is.
    Bytes BareHash(HashAlgorithm hash) {
        Bytes digest;
        EXPECT_TRUE(Card().hashString(m_Data.data(), m_Data.size(), digest, hash, false));
        return digest;
    }
    Bytes Certificate(const KeyNames& key) const { return m_Deck.ObjectContent(m_Name, key.m_Certificate); }

    const OpenSslCommand m_Command;
    Bytes m_Data = Bytes(1000, 0xA5); ///< more than any key signs as it is
    const Bytes m_Short = Bytes(20, 0x5A);
};

TEST_P(SignaturesOf, ThisKindAreGoodForEveryHash) {
    PutIn(GetParam());
    for (const KeyNames& key : KEYS) {
        for (const auto& [hash, digest] : EVERY_HASH) {
            SCOPED_TRACE(testing::Message() << key.m_PrivateKey << ", hash " << hash);
            Bytes signature;
            ASSERT_TRUE(SignString(key, hash, signature));
            const bool isBare = IsSignedBare(KindOf(key), hash);
            const Bytes data = isBare ? BareHash(hash) : m_Data;
            EXPECT_TRUE(m_Command.Verifies(Certificate(key), isBare ? "" : digest, data, signature));
        }
    }
}

TEST_P(SignaturesOf, ThisKindAreGoodInThePlainForms) {
    PutIn(GetParam());
    for (const KeyNames& key : KEYS) {
        Bytes signature(512);
        unsigned long length = signature.size();
        m_Deck.AnswerPins({key.m_Pin});
        ASSERT_TRUE(Card().signString(m_Data.data(), m_Data.size(), signature.data(), length, key.m_SigKey));
        signature.resize(length);
        EXPECT_TRUE(m_Command.Verifies(Certificate(key), "sha1", m_Data, signature)) << key.m_PrivateKey;
        signature.clear();
        m_Deck.AnswerPins({key.m_Pin});
        ASSERT_TRUE(Card().Sign(key.m_PrivateKey, m_Data, signature));
        EXPECT_TRUE(m_Command.Verifies(Certificate(key), "sha1", m_Data, signature)) << key.m_PrivateKey;
    }
}

TEST_P(SignaturesOf, ThisKindByLabelAreGoodForEveryMechanism) {
    PutIn(GetParam());
    for (const KeyNames& key : KEYS) {
        for (const auto& [hash, digest] : HashesOf(KindOf(key))) {
            SCOPED_TRACE(testing::Message() << key.m_PrivateKey << ", hash " << hash);
            Bytes data = hash == HASH_RAW ? m_Short : m_Data;
            Bytes signature;
            m_Deck.AnswerPins({key.m_Pin});
            ASSERT_TRUE(Card().Sign(key.m_PrivateKey, data, signature, hash));
            EXPECT_TRUE(m_Command.Verifies(Certificate(key), digest, data, signature));
            EXPECT_TRUE(Card().Verify(key.m_PublicKey, signature, data, hash));
            data[0] ^= 1;
            EXPECT_FALSE(m_Command.Verifies(Certificate(key), digest, data, signature));
            EXPECT_FALSE(Card().Verify(key.m_PublicKey, signature, data, hash));
        }
    }
}

TEST_P(SignaturesOf, ThisKindMadeElsewhereAreVerifiedOnTheCard) {
    PutIn(GetParam());
    for (const KeyNames& key : KEYS) {
        const Bytes keyFile = m_Deck.ObjectContent(m_Name, key.m_PrivateKey);
        for (const auto& [hash, digest] : HashesOf(KindOf(key))) {
            SCOPED_TRACE(testing::Message() << key.m_PublicKey << ", hash " << hash);
            Bytes data = hash == HASH_RAW ? m_Short : m_Data;
            Bytes signature = m_Command.Sign(keyFile, digest, data);
            ASSERT_THAT(signature, testing::Not(IsEmpty()));
            EXPECT_TRUE(Card().Verify(key.m_PublicKey, signature, data, hash));
            signature.back() ^= 1;
            EXPECT_FALSE(Card().Verify(key.m_PublicKey, signature, data, hash));
        }
    }
}

TEST_P(SignaturesOf, ThisKindDoNotTakeAnotherHash) {
    PutIn(GetParam());
    for (const KeyNames& key : KEYS) {
        const std::vector<HashName> offered = HashesOf(KindOf(key));
        for (int hash = 0; hash <= 10; ++hash) {
            const bool isOffered = std::any_of(offered.begin(), offered.end(),
                                               [hash](const HashName& name) { return name.m_Hash == hash; });
            if (isOffered) {
                continue;
            }
            Bytes signature;
            EXPECT_FALSE(Card().Sign(key.m_PrivateKey, m_Data, signature, static_cast<HashAlgorithm>(hash)));
            EXPECT_THAT(signature, IsEmpty());
        }
    }
    EXPECT_THAT(m_Deck.GetTrace("C_SignInit"), IsEmpty());
}

TEST_P(SignaturesOf, ThisKindNeedThePin) {
    PutIn(GetParam());
    for (const KeyNames& key : KEYS) {
        Bytes signature = {1};
        m_Deck.AnswerPins({"cancel", "99999999"});
        const LogCapture log;
        EXPECT_FALSE(Card().Sign(key.m_PrivateKey, m_Short, signature));
        EXPECT_FALSE(Card().Sign(key.m_PrivateKey, m_Short, signature));
        EXPECT_THAT(signature, ElementsAre(1));
        EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 Proc_C_Sign0x50", "PKCS11 Proc_C_Sign0xa0"));
        m_Deck.AnswerPins({key.m_Pin});
        EXPECT_TRUE(Card().Sign(key.m_PrivateKey, m_Short, signature)); // and go on after a failure
    }
}

TEST_P(SignaturesOf, ThisKindAreMadeWithTheHashThatTheCardNeeds) {
    PutIn(GetParam());
    const std::string kind = GetParam();
    for (const KeyNames& key : KEYS) {
        const HashAlgorithm hash = Card().GetHashAlgorithm(KindOf(key));
        if (KindOf(key) == KEY_RSA) {
            EXPECT_EQ(hash, kind == "cardos-53" ? HASH_SHA256 : HASH_RIPEMD160);
        } else {
            EXPECT_EQ(hash, kind == "acos-a03" || kind == "ecard-g2" ? HASH_RIPEMD160 : HASH_SHA256);
        }
        Bytes signature;
        ASSERT_TRUE(SignString(key, hash, signature));
        EXPECT_TRUE(m_Command.Verifies(Certificate(key), hash == HASH_SHA256 ? "sha256" : "ripemd160", m_Data,
                                       signature));
    }
}

INSTANTIATE_TEST_SUITE_P(EveryKind, SignaturesOf, testing::ValuesIn(KnownKinds()),
                         [](const testing::TestParamInfo<std::string>& kind) {
                             std::string name = kind.param;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

// --- By certificate ----------------------------------------------------------------------------------------

class SignatureByCertificate : public TokenTest {
protected:
    SignatureByCertificate() : m_Command(m_Deck.Folder()) {}

    std::wstring ThumbprintOf(const std::string& card, const std::string& label) {
        slCertificate certificate;
        EXPECT_TRUE(certificate.LoadFromBuffer(m_Deck.ObjectContent(card, label)));
        return certificate.GetThumbprint();
    }
    const OpenSslCommand m_Command;
    const Bytes m_Data = Bytes(100, 0x11);
    slCertificate m_Certificate;
    Bytes m_Signature;
};

TEST_F(SignatureByCertificate, IsMadeOnWhicheverCardHoldsIt) {
    std::vector<std::string> cards;
    for (const std::string& kind : KnownKinds()) {
        cards.push_back(m_Deck.Add(kind));
    }
    for (const std::string& card : cards) {
        for (const KeyNames& key : KEYS) {
            slCertificate certificate; // one of its own: an assignment keeps what an object held
            Bytes signature;
            m_Deck.AnswerPins({key.m_Pin});
            ASSERT_TRUE(Card().Sign(ThumbprintOf(card, key.m_Certificate), m_Data, certificate, signature));
            EXPECT_EQ(certificate.ToBin(), m_Deck.ObjectContent(card, key.m_Certificate));
            EXPECT_TRUE(m_Command.Verifies(certificate.ToBin(), "sha1", m_Data, signature));
            EXPECT_EQ(OpenSessions(), 0U);
        }
    }
}

TEST_F(SignatureByCertificate, IsNotMadeForACertificateThatNoCardHolds) {
    const std::string gone = m_Deck.Add("acos-a03");
    m_Deck.Add("acos-a03");
    const std::wstring thumbprint = ThumbprintOf(gone, "C.CH.SIG");
    m_Deck.Remove(gone);
    EXPECT_FALSE(Card().Sign(thumbprint, m_Data, m_Certificate, m_Signature));
    EXPECT_EQ(m_Certificate.GetX509(), nullptr);
    EXPECT_THAT(m_Deck.GetTrace("C_SignInit"), IsEmpty());
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(SignatureByCertificate, IsNotMadeWhenTwoKeysShareTheId) {
    const std::string card = m_Deck.Add("acos-a03");
    m_Deck.Change(card, [](orselsim::Card& changed) {
        for (orselsim::ObjectRecord& object : changed.m_Record.m_Objects) {
            object.m_Id = object.m_Kind == orselsim::ObjectKind::DATA ? Bytes{} : Bytes{1};
        }
    });
    EXPECT_FALSE(Card().Sign(ThumbprintOf(card, "C.CH.SIG"), m_Data, m_Certificate, m_Signature));
    EXPECT_THAT(m_Deck.GetTrace("C_SignInit"), IsEmpty());
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(SignatureByCertificate, BindsTheLibraryAgainAfterItWasLetGo) {
    const std::string card = m_Deck.Add("ecard-g4");
    EXPECT_TRUE(Card().Destroy());
    m_Deck.AnswerPins({"123456"});
    EXPECT_TRUE(Card().Sign(ThumbprintOf(card, "C.CH.SIG"), m_Data, m_Certificate, m_Signature));
    EXPECT_THAT(m_Signature, SizeIs(64));
}
