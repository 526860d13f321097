// SPDX-License-Identifier: MIT
#include "simulator/deck/Arguments.h"

#include <charconv>

namespace orselsim {

Arguments::Arguments(const std::vector<std::string>& words, const std::set<std::string>& optionsWithValue,
                     const std::set<std::string>& plainOptions) {
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (word->compare(0, 2, "--") != 0) {
            m_Places.push_back(*word);
            continue;
        }
        const bool takesValue = optionsWithValue.count(*word) != 0;
        if (!takesValue && plainOptions.count(*word) == 0) {
            throw UsageError("There is no option " + *word + " here.");
        }
        if (takesValue && word + 1 == words.end()) {
            throw UsageError("The option " + *word + " needs a value.");
        }
        const std::string option = *word;
        const std::string value = takesValue ? *++word : "";
        if (!m_Options.emplace(option, value).second) {
            throw UsageError("The option " + option + " is given twice.");
        }
    }
}

void Arguments::RequirePlaces(const std::vector<std::string>& names) const {
    if (m_Places.size() < names.size()) {
        throw UsageError(names[m_Places.size()] + " is missing.");
    }
    if (m_Places.size() > names.size()) {
        throw UsageError("\"" + m_Places[names.size()] + "\" is one word too many.");
    }
}

std::optional<std::string> Arguments::Value(const std::string& option) const {
    const auto found = m_Options.find(option);
    if (found == m_Options.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::optional<unsigned long> Arguments::Number(const std::string& option, unsigned long limit) const {
    const auto text = Value(option);
    if (!text) {
        return std::nullopt;
    }
    unsigned long number = 0;
    const char* end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, number);
    if (error != std::errc() || stop != end || number > limit) {
        throw UsageError("The option " + option + " needs a whole number from 0 to " + std::to_string(limit) +
                         ".");
    }
    return number;
}

} // namespace orselsim
