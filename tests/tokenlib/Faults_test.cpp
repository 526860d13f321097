// SPDX-License-Identifier: MIT
// The rest of what faults can do is tested through the simulated library.
#include "tokenlib/Faults.h"

#include <gmock/gmock.h>

#include "tests/support/TempDir.h"

using tokenlib::CallFacts;
using tokenlib::FaultEffect;
using tokenlib::Faults;

namespace {

FaultEffect EffectOn(const std::string& plan, const CallFacts& call) {
    const TempDir folder;
    Faults faults(folder.File("faults", plan));
    return faults.Meet(call);
}

} // namespace

TEST(AFault, IsForTheCallsThatItNames) {
    const std::string plan = "C_GetAttributeValue attribute=CKA_VALUE slot=2 rv=0x30\n";
    EXPECT_EQ(CKR_DEVICE_ERROR,
              EffectOn(plan, {"C_GetAttributeValue", 2, {CKA_LABEL, CKA_VALUE}, ""}).m_Result);
    EXPECT_EQ(std::nullopt, EffectOn(plan, {"C_GetAttributeValue", 2, {CKA_LABEL}, ""}).m_Result);
    EXPECT_EQ(std::nullopt, EffectOn(plan, {"C_GetAttributeValue", 1, {CKA_VALUE}, ""}).m_Result);
    EXPECT_EQ(std::nullopt, EffectOn(plan, {"C_SetAttributeValue", 2, {CKA_VALUE}, ""}).m_Result);
}

TEST(AFault, MayDelayAndBendALengthAsWell) {
    const FaultEffect effect = EffectOn("C_CardAttribute name=ATR delay=5 length=99\n",
                                        {"C_CardAttribute", std::nullopt, {}, "ATR"});
    EXPECT_EQ(5U, effect.m_DelayMs);
    EXPECT_EQ(99U, effect.m_Length);
}

TEST(AFault, ThatIsNotPlannedDoesNothing) {
    Faults none("");
    const FaultEffect effect = none.Meet({"C_Sign", std::nullopt, {}, ""});
    EXPECT_EQ(std::nullopt, effect.m_Result);
    EXPECT_EQ(0U, effect.m_DelayMs);
}
