// SPDX-License-Identifier: MIT
#include "images/Images.h"

#include <cstddef>
#include <iterator>
#include <map>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

struct Expected {
    const char* m_Name;
    const char* const* m_Rows;
    std::size_t m_RowCount;
    std::size_t m_Width;
    std::size_t m_Height;
    std::size_t m_Colours;
    std::size_t m_KeyLength;
    bool m_Transparent;
};

void PrintTo(const Expected& picture, std::ostream* out) {
    *out << picture.m_Name;
}

class AnImage : public testing::TestWithParam<Expected> {
protected:
    std::string Row(std::size_t number) const { return GetParam().m_Rows[number]; }
    std::string ColourRow(std::size_t number) const { return Row(1 + number); }
    std::string PixelRow(std::size_t number) const { return Row(1 + GetParam().m_Colours + number); }
    std::string KeyOf(const std::string& row, std::size_t place = 0) const {
        return row.substr(place * GetParam().m_KeyLength, GetParam().m_KeyLength);
    }

    std::vector<std::string> Keys() const {
        std::vector<std::string> keys;
        for (std::size_t i = 0; i < GetParam().m_Colours; ++i) {
            keys.push_back(KeyOf(ColourRow(i)));
        }
        return keys;
    }

    /// What stands behind the key: " c None" or " c #RRGGBB".
    std::vector<std::string> Colours() const {
        std::vector<std::string> colours;
        for (std::size_t i = 0; i < GetParam().m_Colours; ++i) {
            colours.push_back(ColourRow(i).substr(GetParam().m_KeyLength));
        }
        return colours;
    }

    std::set<std::string> UsedKeys() const {
        std::set<std::string> used;
        for (std::size_t y = 0; y < GetParam().m_Height; ++y) {
            for (std::size_t x = 0; x < GetParam().m_Width; ++x) {
                used.insert(KeyOf(PixelRow(y), x));
            }
        }
        return used;
    }
};

TEST_P(AnImage, StatesItsSizeColourCountAndKeyLengthInTheFirstRow) {
    std::istringstream header(Row(0));
    const std::vector<std::size_t> numbers{std::istream_iterator<std::size_t>(header), {}};
    EXPECT_TRUE(header.eof()) << "more than numbers in \"" << Row(0) << '"';
    EXPECT_THAT(numbers, ElementsAre(GetParam().m_Width, GetParam().m_Height, GetParam().m_Colours,
                                     GetParam().m_KeyLength));
}

TEST_P(AnImage, HasOneRowForTheHeaderForEachColourAndForEachLine) {
    EXPECT_EQ(GetParam().m_RowCount, 1 + GetParam().m_Colours + GetParam().m_Height);
    for (std::size_t i = 0; i < GetParam().m_RowCount; ++i) {
        ASSERT_NE(GetParam().m_Rows[i], nullptr) << "row " << i;
    }
}

TEST_P(AnImage, IsTransparentInItsFirstColourEntryOrNowhere) {
    const std::vector<std::string> colours = Colours();
    EXPECT_EQ(colours.front() == " c None", GetParam().m_Transparent) << colours.front();
    for (std::size_t i = GetParam().m_Transparent ? 1 : 0; i < colours.size(); ++i) {
        ASSERT_THAT(colours[i], MatchesRegex(" c #[0-9A-F]{6}")) << "colour " << i;
    }
}

TEST_P(AnImage, DeclaresEachKeyAndEachColourOnce) {
    const std::vector<std::string> keys = Keys();
    const std::vector<std::string> colours = Colours();
    EXPECT_THAT(std::set<std::string>(keys.begin(), keys.end()), SizeIs(GetParam().m_Colours));
    EXPECT_THAT(std::set<std::string>(colours.begin(), colours.end()), SizeIs(GetParam().m_Colours));
}

TEST_P(AnImage, HasLinesOfItsFullWidth) {
    for (std::size_t y = 0; y < GetParam().m_Height; ++y) {
        EXPECT_THAT(PixelRow(y), SizeIs(GetParam().m_Width * GetParam().m_KeyLength)) << "line " << y;
    }
}

TEST_P(AnImage, UsesEveryDeclaredColourAndNoOther) {
    const std::vector<std::string> keys = Keys();
    const bool same = UsedKeys() == std::set<std::string>(keys.begin(), keys.end());
    EXPECT_TRUE(same) << "a colour row without a pixel, or a pixel without a colour row";
}

#define PICTURE(name) #name, name, std::size(name)

INSTANTIATE_TEST_SUITE_P(OfTheProgram, AnImage,
                         testing::Values(Expected{PICTURE(VelmorBanner), 769, 170, 36758, 3, false},
                                         Expected{PICTURE(chip_small_xpm), 31, 22, 170, 2, true},
                                         Expected{PICTURE(chip_xpm), 32, 32, 204, 2, true},
                                         Expected{PICTURE(IconXpm), 32, 32, 29, 1, true},
                                         Expected{PICTURE(ButtonReload), 32, 32, 303, 2, true},
                                         Expected{PICTURE(ButtonCancel), 32, 32, 358, 2, true},
                                         Expected{PICTURE(ButtonOk), 32, 32, 265, 2, true}),
                         [](const testing::TestParamInfo<Expected>& given) {
                             return std::string(given.param.m_Name);
                         });

/// Colour parts of the opaque pixels, added up: tells which one rules a picture.
struct Tint {
    long m_Red = 0;
    long m_Green = 0;
    long m_Blue = 0;
};

Tint TintOf(const char* const* rows) {
    std::istringstream header(rows[0]);
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t colours = 0;
    std::size_t keyLength = 0;
    header >> width >> height >> colours >> keyLength;

    std::map<std::string, unsigned long> values;
    for (std::size_t i = 2; i <= colours; ++i) { // the first entry is the transparent one
        const std::string row = rows[i];
        values[row.substr(0, keyLength)] = std::stoul(row.substr(row.find('#') + 1), nullptr, 16);
    }
    Tint tint;
    for (std::size_t y = 0; y < height; ++y) {
        const std::string line = rows[1 + colours + y];
        for (std::size_t x = 0; x < width; ++x) {
            const auto found = values.find(line.substr(x * keyLength, keyLength));
            if (found == values.end()) {
                continue;
            }
            tint.m_Red += static_cast<long>(found->second >> 16 & 0xff);
            tint.m_Green += static_cast<long>(found->second >> 8 & 0xff);
            tint.m_Blue += static_cast<long>(found->second & 0xff);
        }
    }
    return tint;
}

TEST(TheReloadArrows, AreBlue) {
    const Tint tint = TintOf(ButtonReload);
    EXPECT_GT(tint.m_Blue, tint.m_Green + tint.m_Red / 2);
}

TEST(TheCross, IsRed) {
    const Tint tint = TintOf(ButtonCancel);
    EXPECT_GT(tint.m_Red, tint.m_Green + tint.m_Blue);
}

TEST(TheTick, IsGreen) {
    const Tint tint = TintOf(ButtonOk);
    EXPECT_GT(tint.m_Green, tint.m_Red + tint.m_Blue / 2);
}

TEST(TheChips, AreGolden) {
    for (const char* const* chip : {&chip_small_xpm[0], &chip_xpm[0]}) {
        const Tint tint = TintOf(chip);
        EXPECT_GT(tint.m_Red, tint.m_Green);
        EXPECT_GT(tint.m_Green, tint.m_Blue * 5 / 4);
    }
}

} // namespace
