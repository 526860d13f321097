// SPDX-License-Identifier: MIT
#include "tokenlib/AttributeValues.h"

#include <gmock/gmock.h>

#include "tokenlib/Refusal.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using tokenlib::Bytes;
using tokenlib::TemplateOf;

TEST(ATemplate, IsAMapOfItsAttributes) {
    CK_OBJECT_CLASS kind = CKO_CERTIFICATE;
    char label[] = "Signatur";
    const CK_ATTRIBUTE attributes[] = {{CKA_CLASS, &kind, sizeof kind}, {CKA_LABEL, label, 4}};
    EXPECT_THAT(TemplateOf(attributes, 2),
                ElementsAre(Pair(CKA_CLASS, tokenlib::NumberValue(CKO_CERTIFICATE)),
                            Pair(CKA_LABEL, Bytes{'S', 'i', 'g', 'n'})));
}

TEST(ATemplate, MayBeEmptyAndHaveEmptyValues) {
    EXPECT_THAT(TemplateOf(nullptr, 0), IsEmpty());
    const CK_ATTRIBUTE attribute = {CKA_LABEL, nullptr, 0};
    EXPECT_THAT(TemplateOf(&attribute, 1), ElementsAre(Pair(CKA_LABEL, IsEmpty())));
}

TEST(ATemplate, ThatHasASizeAndNoValueIsRefused) {
    EXPECT_THROW(TemplateOf(nullptr, 1), tokenlib::Refusal);
    const CK_ATTRIBUTE attribute = {CKA_LABEL, nullptr, 8};
    EXPECT_THROW(TemplateOf(&attribute, 1), tokenlib::Refusal);
}
