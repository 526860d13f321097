// SPDX-License-Identifier: MIT
#include "simulator/store/Card.h"

#include "simulator/store/Files.h"

namespace orselsim {

std::string recordPath(const std::string& directory) {
    return directory + "/" + recordFileName;
}

Card loadCard(const std::string& directory) {
    Card card;
    card.record = parseCardRecord(readFile(recordPath(directory)));
    const auto load = [&](const std::string& file) {
        if (card.contents.count(file) == 0)
            card.contents[file] = readFile(directory + "/" + file);
    };
    for (const ObjectRecord& object : card.record.objects)
        load(object.file);
    for (const CardFileRecord& file : card.record.files)
        load(file.file);
    for (const auto& [name, file] : card.record.properties)
        load(file);
    return card;
}

void saveRecord(const std::string& directory, const CardRecord& record) {
    replaceFile(recordPath(directory), printCardRecord(record));
}

void saveCard(const std::string& directory, const Card& card) {
    for (const auto& [file, content] : card.contents)
        replaceFile(directory + "/" + file, content);
    saveRecord(directory, card.record);
}

} // namespace orselsim
