// SPDX-License-Identifier: MIT
#include "tokenlib/Secret.h"

#include <gmock/gmock.h>

#include <new>
#include <string>
#include <utility>

using testing::HasSubstr;
using testing::Not;
using tokenlib::Secret;

namespace {

/// Memory in which a secret can be made, and looked at when it has gone.
class Room {
public:
    Secret* Make(const char* text) { return new (m_Bytes) Secret(text); }
    std::string Bytes() const { return {reinterpret_cast<const char*>(m_Bytes), sizeof m_Bytes}; }

private:
    alignas(Secret) unsigned char m_Bytes[sizeof(Secret)] = {};
};

} // namespace

TEST(ASecret, GoesFromHandToHand) {
    Secret first("1234");
    Secret second(std::move(first));
    EXPECT_EQ("1234", second.Text());
    Secret third("a longer text than fits into the object itself");
    third = std::move(second);
    EXPECT_EQ("1234", third.Text());
}

// A text this short lies in the object.
TEST(ASecret, LeavesNothingBehindWhenItGoes) {
    Room room;
    Secret* const secret = room.Make("1234567");
    EXPECT_THAT(room.Bytes(), HasSubstr("1234567"));
    secret->~Secret();
    EXPECT_THAT(room.Bytes(), Not(HasSubstr("234567")));
}

TEST(ASecret, LeavesNothingBehindWhenItHasBeenGivenAway) {
    Room room;
    Secret* const secret = room.Make("1234567");
    const Secret other(std::move(*secret));
    secret->~Secret();
    EXPECT_THAT(room.Bytes(), Not(HasSubstr("234567")));
}
