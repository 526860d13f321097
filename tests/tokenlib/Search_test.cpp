// SPDX-License-Identifier: MIT
#include "tokenlib/Search.h"

#include <gmock/gmock.h>

#include "tokenlib/Refusal.h"

using testing::ElementsAre;
using testing::IsEmpty;
using tokenlib::Search;

namespace {

std::vector<CK_OBJECT_HANDLE> Next(Search& search, CK_ULONG capacity) {
    std::vector<CK_OBJECT_HANDLE> objects(8);
    CK_ULONG count = 99;
    search.HandOut(objects.data(), capacity, &count);
    objects.resize(count);
    return objects;
}

} // namespace

TEST(ASearch, HandsOutWhatItFoundInPieces) {
    Search search({11, 12, 13});
    EXPECT_THAT(Next(search, 0), IsEmpty());
    EXPECT_THAT(Next(search, 2), ElementsAre(11, 12));
    EXPECT_THAT(Next(search, 2), ElementsAre(13));
    EXPECT_THAT(Next(search, 2), IsEmpty());
}

TEST(ASearch, ThatFoundNothingIsNoFailure) {
    Search search({});
    EXPECT_THAT(Next(search, 8), IsEmpty());
}

TEST(ASearch, NeedsAPlaceForBoth) {
    Search search({11});
    CK_OBJECT_HANDLE object = 0;
    CK_ULONG count = 0;
    EXPECT_THROW(search.HandOut(nullptr, 1, &count), tokenlib::Refusal);
    EXPECT_THROW(search.HandOut(&object, 1, nullptr), tokenlib::Refusal);
    EXPECT_THAT(Next(search, 1), ElementsAre(11)); // a refusal hands nothing out
}

TEST(ASearch, IsAskedForOnlyAfterItsBeginning) {
    std::optional<Search> search;
    EXPECT_THROW(tokenlib::ActiveSearch(search), tokenlib::Refusal);
    search.emplace(std::vector<CK_OBJECT_HANDLE>{11});
    EXPECT_EQ(&tokenlib::ActiveSearch(search), &*search);
}
