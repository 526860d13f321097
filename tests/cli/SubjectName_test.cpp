// SPDX-License-Identifier: MIT
#include "cli/SubjectName.h"

#include <memory>

#include "formats/slCertificate.h"
#include "tests/cli/CliTest.h"

using orselcli::SubjectCommonName;
using orseltest::CardOptions;

namespace {

class TheHolder : public CliTest {
protected:
    void SetUp() override {
        m_Der = m_Deck.ObjectContent(m_Deck.Add("ecard-g2", CardOptions().Holder("Käthe Grünbichler")),
                                     "C.CH.EKEY");
    }

    /// From a copy of exactly this size, so that a read beyond it is found out.
    static std::string NameIn(const orselsim::Bytes& der) {
        const auto copy = std::make_unique<unsigned char[]>(der.size());
        std::copy(der.begin(), der.end(), copy.get());
        return SubjectCommonName(copy.get(), der.size());
    }

    orselsim::Bytes m_Der;
};

} // namespace

TEST_F(TheHolder, IsTheOneOfTheWholeCertificate) {
    Velmor::slCertificate certificate;
    ASSERT_TRUE(certificate.LoadFromBuffer(m_Der));
    EXPECT_EQ(NameIn(m_Der), certificate.GetSubjectCN());
    EXPECT_EQ(NameIn(m_Der), "Käthe Grünbichler");
}

TEST_F(TheHolder, IsNobodyInACertificateThatIsCutOff) {
    for (size_t size = 0; size < m_Der.size(); ++size) {
        EXPECT_EQ(NameIn({m_Der.begin(), m_Der.begin() + static_cast<std::ptrdiff_t>(size)}), "") << size;
    }
    m_Der.push_back(0);
    EXPECT_EQ(NameIn(m_Der), "");
}

TEST_F(TheHolder, IsReadWithinTheBytesWhateverTheySay) {
    for (size_t position = 0; position < m_Der.size(); ++position) {
        for (const unsigned char value : orselsim::Bytes{0x00, 0x30, 0x7F, 0x80, 0x84, 0xFF}) {
            orselsim::Bytes damaged = m_Der;
            damaged[position] = value;
            NameIn(damaged); // ends, and AddressSanitizer has nothing to say
        }
    }
}
