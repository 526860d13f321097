// SPDX-License-Identifier: MIT
#include "simulator/deck/DerWriter.h"

#include <gmock/gmock.h>

using orselsim::Bytes;
using orselsim::ToHex;
namespace der = orselsim::der;

TEST(ADerElement, HasTheShortestLengthForm) {
    const std::pair<std::size_t, const char*> cases[] = {
        {0, "0400"},     {1, "0401"},       {127, "047F"},        {128, "048180"},
        {255, "0481FF"}, {256, "04820100"}, {0x1234, "04821234"},
    };
    for (const auto& [size, head] : cases) {
        const Bytes element = der::Element(0x04, Bytes(size, 0xAB));
        EXPECT_EQ(head, ToHex(element).substr(0, (element.size() - size) * 2)) << size;
    }
}

TEST(ADerElement, HasTheTagOfItsKind) {
    EXPECT_EQ("30020500", ToHex(der::Sequence({0x05, 0x00})));
    EXPECT_EQ("02017F", ToHex(der::Integer(127)));
    EXPECT_EQ("0C02C3A4", ToHex(der::Utf8("ä")));
    EXPECT_EQ("030300AABB", ToHex(der::BitString({0xAA, 0xBB})));
    EXPECT_EQ("A200", ToHex(der::Context(2, {})));
}
