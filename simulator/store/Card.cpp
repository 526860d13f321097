// SPDX-License-Identifier: MIT
#include "simulator/store/Card.h"

#include "simulator/store/Files.h"

namespace orselsim {

std::string RecordPath(const std::string& directory) {
    return JoinPath(directory, RECORD_FILE_NAME);
}

Card LoadCard(const std::string& directory) {
    Card card;
    card.m_Record = ParseCardRecord(ReadFile(RecordPath(directory)));
    const auto load = [&](const std::string& file) {
        if (card.m_Contents.count(file) == 0) {
            card.m_Contents[file] = ReadFile(JoinPath(directory, file));
        }
    };
    for (const ObjectRecord& object : card.m_Record.m_Objects) {
        load(object.m_File);
    }
    for (const CardFileRecord& file : card.m_Record.m_Files) {
        load(file.m_File);
    }
    for (const auto& [name, file] : card.m_Record.m_Properties) {
        load(file);
    }
    return card;
}

void SaveCard(const std::string& directory, const Card& card) {
    for (const auto& [file, content] : card.m_Contents) {
        ReplaceFile(JoinPath(directory, file), content);
    }
    ReplaceFile(RecordPath(directory), PrintCardRecord(card.m_Record));
}

void SaveChanges(const std::string& directory, const Card& before, const Card& after) {
    bool isChanged = false;
    for (const auto& [file, content] : after.m_Contents) {
        const auto old = before.m_Contents.find(file);
        if (old != before.m_Contents.end() && old->second == content) {
            continue;
        }
        ReplaceFile(JoinPath(directory, file), content);
        isChanged = true;
    }
    const Bytes record = PrintCardRecord(after.m_Record);
    if (isChanged || record != PrintCardRecord(before.m_Record)) {
        ReplaceFile(RecordPath(directory), record);
    }
}

} // namespace orselsim
