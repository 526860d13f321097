// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <algorithm>
#include <climits>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>
#include <openssl/pem.h>

#include "formats/slCertLogging.h"
#include "tests/support/CertificateBuilder.h"
#include "tests/support/TempDir.h"

using Velmor::slCertificate;
using Velmor::X509Handle;
using Bytes = std::vector<unsigned char>;

namespace {

/// The certificate that stays good after the object has taken another one.
class KeptAlive {
public:
    explicit KeptAlive(slCertificate& certificate) : m_Certificate(certificate.GetX509()) {}
    /// Reads it: a freed one would end the test.
    std::string Serial() const {
        return std::to_string(ASN1_INTEGER_get(X509_get_serialNumber(m_Certificate.get())));
    }

private:
    X509Handle m_Certificate;
};

std::string Base64Of(const std::string& pem) {
    const std::size_t begin = pem.find('\n') + 1;
    std::string text = pem.substr(begin, pem.find("-----END") - begin);
    text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
    return text;
}

std::string AsString(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

std::vector<std::string> g_Debugged;

struct DebugListener {
    DebugListener() {
        g_Debugged.clear();
        Velmor::SLCERT_SetDebugLoggingFunc([](const char* text) { g_Debugged.push_back(text); });
    }
    DebugListener(const DebugListener&) = delete;
    DebugListener& operator=(const DebugListener&) = delete;
    ~DebugListener() { Velmor::SLCERT_SetDebugLoggingFunc(nullptr); }
};

} // namespace

static_assert(!std::is_polymorphic_v<slCertificate>);
static_assert(sizeof(slCertificate) == sizeof(X509*));

// --- Left to the next load --------------------------------------------------------------------------------

TEST(ACertificateLeftToTheNextLoad, GoesToTheFirstThatLoadsTheSameBytes) {
    const Bytes der = CertificateBuilder().Der();
    slCertificate first;
    ASSERT_TRUE(first.LoadFromBuffer(der));
    const X509* read = first.GetX509();
    first.LeaveToNextLoad(der);
    EXPECT_EQ(nullptr, first.GetX509());

    slCertificate second;
    slCertificate third;
    ASSERT_TRUE(second.LoadFromBuffer(der.data(), static_cast<unsigned int>(der.size())));
    ASSERT_TRUE(third.LoadFromBuffer(der));
    EXPECT_EQ(read, second.GetX509());
    EXPECT_FALSE(second == third);
    EXPECT_EQ(der, second.ToBin());
    EXPECT_EQ(der, third.ToBin());
}

TEST(ACertificateLeftToTheNextLoad, IsNotTakenForOtherBytes) {
    const Bytes der = CertificateBuilder().Der();
    slCertificate first;
    ASSERT_TRUE(first.LoadFromBuffer(der));
    first.LeaveToNextLoad(der);
    const Bytes shorter(der.begin(), der.end() - 1);

    slCertificate other;
    EXPECT_FALSE(other.LoadFromBuffer(shorter));
    EXPECT_FALSE(other.LoadFromBuffer(Bytes()));
    EXPECT_FALSE(other.LoadFromBuffer(nullptr, static_cast<unsigned int>(der.size())));
    const Bytes different = CertificateBuilder().Serial("1B").Der();
    ASSERT_TRUE(other.LoadFromBuffer(different));
    EXPECT_EQ(different, other.ToBin());
}

TEST(ACertificateLeftToTheNextLoad, StaysInItsThread) {
    const Bytes der = CertificateBuilder().Der();
    slCertificate first;
    ASSERT_TRUE(first.LoadFromBuffer(der));
    const X509* read = first.GetX509();
    first.LeaveToNextLoad(der);
    slCertificate elsewhere;
    std::thread([&] { elsewhere.LoadFromBuffer(der); }).join();
    EXPECT_NE(read, elsewhere.GetX509());
    EXPECT_EQ(der, elsewhere.ToBin());
}

// --- Copies -----------------------------------------------------------------------------------------------

TEST(SlCertificateCopies, ADuplicateIsAnObjectOfItsOwnWithTheSameBytes) {
    const X509Handle original = CertificateBuilder().Build();
    const X509Handle copy(Velmor::myX509_duplicate(original.get()));
    ASSERT_TRUE(copy);
    EXPECT_NE(original.get(), copy.get());
    EXPECT_EQ(DerOf(original.get()), DerOf(copy.get()));
}

TEST(SlCertificateCopies, TheDuplicateOfNothingIsNothing) {
    EXPECT_EQ(nullptr, Velmor::myX509_duplicate(nullptr));
}

TEST(SlCertificateCopies, ACertificateThatCannotBeWrittenHasNoDuplicate) {
    const X509Handle unfinished(X509_new());
    EXPECT_EQ(nullptr, Velmor::myX509_duplicate(unfinished.get()));
}

TEST(SlCertificateCopies, ANewObjectIsEmpty) {
    slCertificate certificate;
    EXPECT_EQ(nullptr, certificate.GetX509());
}

TEST(SlCertificateCopies, ConstructingFromACertificateDuplicatesIt) {
    const X509Handle original = CertificateBuilder().Build();
    slCertificate certificate(original.get());
    EXPECT_NE(original.get(), certificate.GetX509());
    EXPECT_EQ(DerOf(original.get()), certificate.ToBin());
}

TEST(SlCertificateCopies, ConstructingFromNothingGivesAnEmptyObject) {
    const X509* nothing = nullptr;
    slCertificate certificate(nothing);
    EXPECT_EQ(nullptr, certificate.GetX509());
}

TEST(SlCertificateCopies, ACopyOutlivesItsSource) {
    slCertificate copy;
    Bytes der;
    {
        slCertificate source = CertificateBuilder().Wrapped();
        der = source.ToBin();
        slCertificate constructed(source);
        EXPECT_NE(source.GetX509(), constructed.GetX509());
        copy = constructed;
        EXPECT_NE(constructed.GetX509(), copy.GetX509());
    }
    EXPECT_EQ(der, copy.ToBin());
}

TEST(SlCertificateCopies, CopyingAnEmptyObjectGivesAnEmptyObject) {
    const slCertificate empty;
    slCertificate copy(empty);
    EXPECT_EQ(nullptr, copy.GetX509());
}

TEST(SlCertificateCopies, AssignmentLeavesTheReplacedCertificateAlive) {
    slCertificate certificate = CertificateBuilder().Serial("07").Wrapped();
    const KeptAlive replaced(certificate);
    certificate = CertificateBuilder().Serial("08").Wrapped();
    EXPECT_EQ("7", replaced.Serial());
    EXPECT_EQ("0x08", certificate.GetSerialNumber());
}

TEST(SlCertificateCopies, AssigningAnEmptyObjectEmpties) {
    slCertificate certificate = CertificateBuilder().Serial("07").Wrapped();
    const KeptAlive replaced(certificate);
    certificate = slCertificate();
    EXPECT_EQ(nullptr, certificate.GetX509());
    EXPECT_EQ("7", replaced.Serial());
}

TEST(SlCertificateCopies, SelfAssignmentDoesNothing) {
    slCertificate certificate = CertificateBuilder().Wrapped();
    X509* before = certificate.GetX509();
    const slCertificate& itself = certificate;
    certificate = itself;
    EXPECT_EQ(before, certificate.GetX509());
}

TEST(SlCertificateCopies, EqualCertificatesInDifferentObjectsDiffer) {
    const slCertificate one = CertificateBuilder().Wrapped();
    const slCertificate same(one); // NOLINT(performance-unnecessary-copy-initialization): what is tested
    EXPECT_EQ(one.ToBin(), same.ToBin());
    EXPECT_FALSE(one == same);
    EXPECT_TRUE(one == one);
}

TEST(SlCertificateCopies, TwoEmptyObjectsAreEqual) {
    EXPECT_TRUE(slCertificate() == slCertificate());
    EXPECT_FALSE(slCertificate() == CertificateBuilder().Wrapped());
}

TEST(SlCertificateCopies, TheHandedOutCopyBelongsToTheCaller) {
    slCertificate certificate = CertificateBuilder().Wrapped();
    const X509Handle copy(certificate.GetX509Copy());
    EXPECT_NE(certificate.GetX509(), copy.get());
    EXPECT_EQ(certificate.ToBin(), DerOf(copy.get()));
    EXPECT_EQ(nullptr, slCertificate().GetX509Copy());
}

// --- Loading ----------------------------------------------------------------------------------------------

TEST(SlCertificateLoading, ReadsDerFromABuffer) {
    const Bytes der = CertificateBuilder().Der();
    slCertificate fromPointer;
    EXPECT_TRUE(fromPointer.LoadFromBuffer(der.data(), static_cast<unsigned int>(der.size())));
    EXPECT_EQ(der, fromPointer.ToBin());
    slCertificate fromVector;
    EXPECT_TRUE(fromVector.LoadFromBuffer(der));
    EXPECT_EQ(der, fromVector.ToBin());
}

TEST(SlCertificateLoading, IgnoresWhatFollowsTheCertificateInABuffer) {
    const Bytes der = CertificateBuilder().Der();
    Bytes padded = der;
    padded.resize(5012);
    slCertificate certificate;
    EXPECT_TRUE(certificate.LoadFromBuffer(padded));
    EXPECT_EQ(der, certificate.ToBin());
}

TEST(SlCertificateLoading, ABadBufferEmptiesTheObjectAndLeavesTheReplacedCertificateAlive) {
    const Bytes der = CertificateBuilder().Der();
    const Bytes truncated(der.begin(), der.end() - 1);
    for (const Bytes& bad : {Bytes{}, Bytes{0x30}, Bytes{0x30, 0x82, 0xff, 0xff}, Bytes(100), truncated}) {
        slCertificate certificate = CertificateBuilder().Serial("07").Wrapped();
        const KeptAlive replaced(certificate);
        EXPECT_FALSE(certificate.LoadFromBuffer(bad));
        EXPECT_EQ(nullptr, certificate.GetX509());
        EXPECT_EQ("7", replaced.Serial());
    }
}

TEST(SlCertificateLoading, AGoodBufferLeavesTheReplacedCertificateAlive) {
    const Bytes der = CertificateBuilder().Serial("08").Der();
    slCertificate certificate = CertificateBuilder().Serial("07").Wrapped();
    const KeptAlive first(certificate);
    EXPECT_TRUE(certificate.LoadFromBuffer(der));
    EXPECT_EQ("7", first.Serial());
    const KeptAlive second(certificate);
    EXPECT_TRUE(certificate.LoadFromBuffer(der.data(), static_cast<unsigned int>(der.size())));
    EXPECT_EQ("8", second.Serial());
    EXPECT_EQ("0x08", certificate.GetSerialNumber());
}

TEST(SlCertificateLoading, ALengthAboveTheRangeOfIntIsNotTakenForAZeroTerminatedText) {
    const Bytes der = CertificateBuilder().Der();
    slCertificate certificate;
    EXPECT_FALSE(certificate.LoadFromBuffer(der.data(), UINT_MAX));
    EXPECT_FALSE(certificate.LoadFromBuffer(nullptr, 10));
}

TEST(SlCertificateLoading, TheGreatestIntIsStillALength) {
    const Bytes der = CertificateBuilder().Der();
    slCertificate certificate;
    EXPECT_TRUE(certificate.LoadFromBuffer(der.data(), INT_MAX)); // nothing behind the certificate is read
    EXPECT_EQ(der, certificate.ToBin());
}

TEST(SlCertificateLoading, ReadsBase64WithAndWithoutArmour) {
    const CertificateBuilder builder;
    const std::string pem = builder.Pem();
    const Bytes der = builder.Der();
    for (const std::string& text : {pem, "a comment\n" + pem, Base64Of(pem)}) {
        slCertificate certificate;
        EXPECT_TRUE(certificate.LoadFromB64(text)) << text;
        EXPECT_EQ(DerOf(certificate.GetX509()), certificate.ToBin());
        EXPECT_EQ(Base64Of(pem), certificate.ToB64());
    }
}

TEST(SlCertificateLoading, RefusesTextThatIsNoCertificate) {
    for (const std::string text : {"", "Kartenverwaltung", "QUJD", "-----BEGIN CERTIFICATE-----\n"}) {
        slCertificate certificate;
        EXPECT_FALSE(certificate.LoadFromB64(text)) << text;
        EXPECT_EQ(nullptr, certificate.GetX509());
    }
}

TEST(SlCertificateLoading, ArmouredTextReplacesTheCertificateHeld) {
    slCertificate certificate = CertificateBuilder().Serial("07").Wrapped();
    EXPECT_TRUE(certificate.LoadFromB64(CertificateBuilder().Serial("08").Pem()));
    EXPECT_EQ("0x08", certificate.GetSerialNumber());
}

TEST(SlCertificateLoading, AnEncryptedTextIsRefusedWithoutAskingForAPassword) {
    const std::string encrypted =
        "-----BEGIN CERTIFICATE-----\nProc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,"
        "00112233445566778899AABBCCDDEEFF\n\nQUJDREVGR0hJSktMTU5PUA==\n-----END CERTIFICATE-----\n";
    const TempDir dir;
    const std::string path = dir.File("encrypted.pem", encrypted);
    slCertificate certificate;
    testing::internal::CaptureStderr(); // where libcrypto asks if there is no terminal
    EXPECT_FALSE(certificate.LoadFromB64(encrypted));
    EXPECT_FALSE(certificate.LoadFromFile(path));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(SlCertificateLoading, ReadsPemAndDerFiles) {
    const TempDir dir;
    const CertificateBuilder builder;
    const std::string pem = builder.Pem();
    const Bytes der = builder.Der();
    slCertificate fromPem;
    EXPECT_TRUE(fromPem.LoadFromFile(dir.File("cert.pem", pem)));
    EXPECT_EQ(Base64Of(pem), fromPem.ToB64());
    slCertificate fromDer;
    EXPECT_TRUE(fromDer.LoadFromFile(dir.File("cert.der", AsString(der))));
    EXPECT_EQ(der, fromDer.ToBin());
}

TEST(SlCertificateLoading, AFileThatCannotBeOpenedLeavesTheObjectUntouched) {
    const TempDir dir;
    slCertificate certificate = CertificateBuilder().Serial("07").Wrapped();
    EXPECT_FALSE(certificate.LoadFromFile(dir.Path("missing.cer")));
    EXPECT_EQ("0x07", certificate.GetSerialNumber());
}

TEST(SlCertificateLoading, AFileThatIsNoCertificateEmptiesTheObject) {
    const TempDir dir;
    for (const std::string content : {"", "no certificate", "-----BEGIN CERTIFICATE-----\nQUJD\n"}) {
        slCertificate certificate = CertificateBuilder().Wrapped();
        EXPECT_FALSE(certificate.LoadFromFile(dir.File("bad.cer", content)));
        EXPECT_EQ(nullptr, certificate.GetX509());
    }
    slCertificate fromDirectory;
    EXPECT_FALSE(fromDirectory.LoadFromFile(dir.Path()));
}

TEST(SlCertificateLoading, LoadFromX509TakesADuplicateAndFreesTheCertificateHeld) {
    const X509Handle original = CertificateBuilder().Serial("08").Build();
    slCertificate certificate = CertificateBuilder().Serial("07").Wrapped();
    EXPECT_TRUE(certificate.LoadFromX509(original.get()));
    EXPECT_NE(original.get(), certificate.GetX509());
    EXPECT_EQ("0x08", certificate.GetSerialNumber());
    EXPECT_FALSE(certificate.LoadFromX509(nullptr));
    EXPECT_EQ(nullptr, certificate.GetX509());
}

TEST(SlCertificateLoading, LoadFromX509TakesItsOwnCertificate) {
    slCertificate certificate = CertificateBuilder().Serial("07").Wrapped();
    EXPECT_TRUE(certificate.LoadFromX509(certificate.GetX509()));
    EXPECT_EQ("0x07", certificate.GetSerialNumber());
}

// --- Saving -----------------------------------------------------------------------------------------------

TEST(SlCertificateSaving, WritesPemOverWhatTheFileHeld) {
    const TempDir dir;
    const std::string path = dir.File("cert.cer", std::string(10000, 'x'));
    slCertificate certificate = CertificateBuilder().Wrapped();
    EXPECT_TRUE(certificate.SaveCert(path));
    const std::string pem = ContentOf(path);
    EXPECT_EQ(0u, pem.find("-----BEGIN CERTIFICATE-----\n"));
    EXPECT_EQ(certificate.ToB64(), Base64Of(pem));
}

TEST(SlCertificateSaving, FailsWhereNoFileCanBeOpenedAndForAnEmptyObject) {
    const TempDir dir;
    EXPECT_FALSE(CertificateBuilder().Wrapped().SaveCert(dir.Path("no/such/directory.cer")));
    EXPECT_FALSE(slCertificate().SaveCert(dir.Path("empty.cer")));
}

TEST(SlCertificateSaving, AnEmptyObjectHasNoBytes) {
    EXPECT_TRUE(slCertificate().ToBin().empty());
    EXPECT_EQ("", slCertificate().ToB64());
}

// --- Serial number ----------------------------------------------------------------------------------------

TEST(SlCertificateSerial, IsShownInUpperCaseDigitsBehind0x) {
    const struct {
        std::string m_Given;
        std::string m_Text;
        long m_Number;
        Bytes m_Content;
    } table[] = {
        {"1A", "0x1A", 26, {0x1a}},
        {"0A", "0x0A", 10, {0x0a}},
        {"00", "0x0", 0, {0x00}},
        {"FF", "0xFF", 255, {0xff}},
        {"0ABCDE", "0x0ABCDE", 0xabcde, {0x0a, 0xbc, 0xde}},
        {"-1A", "0x-1A", 0, {0x1a}},
        {"FFEEDDCCBBAA99887766",
         "0xFFEEDDCCBBAA99887766",
         LONG_MAX,
         {0xff, 0xee, 0xdd, 0xcc, 0xbb, 0xaa, 0x99, 0x88, 0x77, 0x66}},
    };
    for (const auto& row : table) {
        const slCertificate certificate = CertificateBuilder().Serial(row.m_Given).Wrapped();
        EXPECT_EQ(row.m_Text, certificate.GetSerialNumber());
        EXPECT_EQ(row.m_Number, certificate.GetSerialNumberInt()) << row.m_Given;
        unsigned int size = 100;
        ASSERT_TRUE(certificate.GetSerialNumberDER(nullptr, size));
        Bytes content(size);
        ASSERT_TRUE(certificate.GetSerialNumberDER(content.data(), size));
        EXPECT_EQ(row.m_Content, content);
    }
}

TEST(SlCertificateSerial, TooSmallABufferFailsAndIsLeftAlone) {
    const slCertificate certificate = CertificateBuilder().Serial("0ABCDE").Wrapped();
    Bytes buffer = {1, 1, 1};
    unsigned int size = 2;
    EXPECT_FALSE(certificate.GetSerialNumberDER(buffer.data(), size));
    EXPECT_EQ((Bytes{1, 1, 1}), buffer);
    EXPECT_EQ(2u, size);
    size = 3;
    EXPECT_TRUE(certificate.GetSerialNumberDER(buffer.data(), size));
}

TEST(SlCertificateSerial, IsTheIntegerInsideTheCertificate) {
    slCertificate certificate = CertificateBuilder().Wrapped();
    EXPECT_EQ(X509_get_serialNumber(certificate.GetX509()), certificate.GetSerialNumberAsn1());
}

TEST(SlCertificateSerial, OfAnEmptyObjectIsEmpty) {
    const slCertificate empty;
    EXPECT_EQ(nullptr, empty.GetSerialNumberAsn1());
    EXPECT_EQ("", empty.GetSerialNumber());
    EXPECT_EQ(0, empty.GetSerialNumberInt());
    unsigned int size = 42;
    EXPECT_FALSE(empty.GetSerialNumberDER(nullptr, size));
    EXPECT_EQ(42u, size);
}

// --- Debug ------------------------------------------------------------------------------------------------

TEST(SlCertificateDebug, SendsTheMessageAndThePemText) {
    const DebugListener listener;
    const CertificateBuilder builder;
    slCertificate certificate = builder.Wrapped();
    EXPECT_TRUE(certificate.LogCertificate("signer"));
    ASSERT_EQ(1u, g_Debugged.size());
    EXPECT_EQ(0u, g_Debugged[0].find("signer: -----BEGIN CERTIFICATE-----\n"));
    EXPECT_EQ(certificate.ToB64(), Base64Of(g_Debugged[0]));
}

TEST(SlCertificateDebug, CutsThePemTextAt8000Bytes) {
    const DebugListener listener;
    const slCertificate large = CertificateBuilder().RawExtension("1.2.3.4", Bytes(10000)).Wrapped();
    EXPECT_TRUE(large.LogCertificate(""));
    ASSERT_EQ(1u, g_Debugged.size());
    EXPECT_EQ(8000u + 2u, g_Debugged[0].size());
}

TEST(SlCertificateDebug, SendsNothingForAnEmptyObject) {
    const DebugListener listener;
    EXPECT_FALSE(slCertificate().LogCertificate("signer"));
    EXPECT_TRUE(g_Debugged.empty());
}
