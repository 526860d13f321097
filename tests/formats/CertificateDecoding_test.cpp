// SPDX-License-Identifier: MIT
// The small conversions where a certificate leaves a value out. What they make of values that are there, the
// tests of the certificate's getters tell.
#include "formats/CertificateDecoding.h"

#include <gtest/gtest.h>

#include "formats/OpenSslHandle.h"

using namespace Velmor;
using namespace Velmor::intern;

TEST(CertificateDecoding, MakesNothingOfAValueThatIsNotThere) {
    EXPECT_TRUE(BytesOf(nullptr).empty());
    EXPECT_EQ("", RawTextOf(nullptr));
    EXPECT_EQ("", Utf8Of(nullptr));
    EXPECT_EQ("", NumberOf(nullptr));
    EXPECT_EQ("", OidOf(nullptr).m_Dotted);
    EXPECT_EQ("", NameOf(nullptr).m_Text);
    EXPECT_TRUE(NamesOf(nullptr).empty());
    EXPECT_EQ("", DirectoryNameOf(nullptr));
}

TEST(CertificateDecoding, AnObjectIdentifierWithoutNumbersHasNoText) {
    const Asn1ObjectHandle object(ASN1_OBJECT_new());
    const CertificateOid oid = OidOf(object.get());
    EXPECT_EQ("", oid.m_Dotted);
    EXPECT_EQ(NID_undef, oid.m_Nid);
    EXPECT_EQ("", oid.m_ShortName);
}

TEST(CertificateDecoding, ADirectoryNameWithoutAttributesHasNoText) {
    const OpenSslHandle<X509_NAME, X509_NAME_free> name(X509_NAME_new());
    EXPECT_EQ("", DirectoryNameOf(name.get()));
}
