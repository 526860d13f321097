// SPDX-License-Identifier: MIT
#include "simulator/store/Card.h"

#include "simulator/store/Files.h"

namespace orselsim {

std::string recordPath(const std::string& directory) {
    return joinPath(directory, recordFileName);
}

Card loadCard(const std::string& directory) {
    Card card;
    card.record = parseCardRecord(readFile(recordPath(directory)));
    const auto load = [&](const std::string& file) {
        if (card.contents.count(file) == 0)
            card.contents[file] = readFile(joinPath(directory, file));
    };
    for (const ObjectRecord& object : card.record.objects)
        load(object.file);
    for (const CardFileRecord& file : card.record.files)
        load(file.file);
    for (const auto& [name, file] : card.record.properties)
        load(file);
    return card;
}

void saveCard(const std::string& directory, const Card& card) {
    for (const auto& [file, content] : card.contents)
        replaceFile(joinPath(directory, file), content);
    replaceFile(recordPath(directory), printCardRecord(card.record));
}

void saveChanges(const std::string& directory, const Card& before, const Card& after) {
    bool isChanged = false;
    for (const auto& [file, content] : after.contents) {
        const auto old = before.contents.find(file);
        if (old != before.contents.end() && old->second == content)
            continue;
        replaceFile(joinPath(directory, file), content);
        isChanged = true;
    }
    const Bytes record = printCardRecord(after.record);
    if (isChanged || record != printCardRecord(before.record))
        replaceFile(recordPath(directory), record);
}

} // namespace orselsim
