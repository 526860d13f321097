// SPDX-License-Identifier: MIT
// What the built program leaves of the PINs that it has to do with, while another program asks for them:
// nothing.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/e2e/Person.h"
#include "tests/support/ProcessMemory.h"
#include "tests/support/TempDir.h"

namespace fs = std::filesystem;
using testing::IsEmpty;
using testing::Not;

namespace {

// Longer than what an allocator writes into memory that was given back, which would hide a short PIN there.
constexpr const char* PIN = "719364820517394628405163";
constexpr const char* NEW_PIN = "574839261048375920618437";
constexpr size_t LONGEST_PIN = 24;

/// A person whose answers to the questions for PINs come from a program, outside of all that the card manager
/// knows.
class APersonWhoIsAskedByAProgram : public APerson {
protected:
    void SetUp() override {
        APerson::SetUp();
        m_Asked.File("pinentry", "#!/bin/bash\n"
                                 "answers=$(dirname \"$0\")/answers\n"
                                 "echo OK\n"
                                 "while read -r line; do\n"
                                 "  if [ \"$line\" = GETPIN ]; then\n"
                                 "    mapfile -t left <\"$answers\"\n"
                                 "    echo \"D ${left[0]}\"\n"
                                 "    printf '%s\\n' \"${left[@]:1}\" >\"$answers\"\n"
                                 "  fi\n"
                                 "  echo OK\n"
                                 "done\n");
        m_Asked.File("answers", std::string(PIN) + "\n" + NEW_PIN + "\n" + NEW_PIN + "\n");
        fs::permissions(m_Asked.Path("pinentry"), fs::perms::owner_all);
    }

    /// Files below a folder that hold one of the PINs, and those whose name does.
    static std::vector<std::string> FilesWithAPin(const std::string& folder) {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            const std::string path = entry.path();
            if (HasAPin(path) || (entry.is_regular_file() && HasAPin(ContentOf(path)))) {
                found.push_back(path);
            }
        }
        return found;
    }
    static bool HasAPin(const std::string& bytes) {
        return bytes.find(PIN) != std::string::npos || bytes.find(NEW_PIN) != std::string::npos;
    }
    /// What stands there longest: memory is used again from its start.
    static std::string EndOf(const std::string& pin) { return pin.substr(pin.size() - 8); }
    std::string OfProcess(const char* name) const {
        return ContentOf("/proc/" + std::to_string(m_Program->Id()) + "/" + name);
    }

    const TempDir m_Asked; ///< not below the folder that is looked through
    const ScopedVariable m_NoScript{"ORSELSIM_PIN_SCRIPT", nullptr};
    const FolderOnPath m_WithPinentry{m_Asked.Path()};
};

} // namespace

TEST_F(APersonWhoIsAskedByAProgram, LeavesNoPinBehind) {
    const std::string card = m_Deck.Add("acos-a03");
    m_Deck.Change(card, [](orselsim::Card& changed) {
        orselsim::PinRecord& pin = changed.m_Record.m_Pins.at("signature");
        pin.m_Pin.m_Secret = orselsim::HashedSecret::Of(PIN);
        pin.m_MaxLength = LONGEST_PIN;
    });
    Start(1);
    Press(SIGNATURE, CHANGE_PIN);
    ASSERT_TRUE(WaitForCalls("C_SetAttributeValue", "CKR_OK", 1));
    EXPECT_TRUE(m_Deck.HasPin(card, "signature", NEW_PIN));

    EXPECT_THAT(FilesWithAPin(m_Deck.Folder()), IsEmpty());
    for (const char* name : {"cmdline", "environ"}) {
        EXPECT_NE(OfProcess(name), "");
        EXPECT_FALSE(HasAPin(OfProcess(name))) << name;
    }
    EXPECT_FALSE(HasAPin(m_Program->Output()));
    EXPECT_THAT(MemoryWith(m_Program->Id(), {EndOf(PIN), EndOf(NEW_PIN)}), IsEmpty());

    // The searches find what they are to find.
    EXPECT_THAT(MemoryWith(m_Program->Id(), {m_Deck.Folder()}), Not(IsEmpty()));
    std::ofstream(m_Deck.Folder() + "/log") << "the new PIN is " << NEW_PIN;
    EXPECT_THAT(FilesWithAPin(m_Deck.Folder()), testing::SizeIs(1));
}
