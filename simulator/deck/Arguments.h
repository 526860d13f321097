// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_ARGUMENTS_H
#define ORSEL_SIMULATOR_DECK_ARGUMENTS_H

#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace orselsim {

/// A command line that does not say what to do; what() is a sentence for the user.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The words behind a command, sorted into places, options with a value and plain options.
class Arguments {
public:
    /// Throws UsageError for an option that is in neither set, for one that comes twice and for a
    /// missing value.
    Arguments(const std::vector<std::string>& words, const std::set<std::string>& optionsWithValue,
              const std::set<std::string>& plainOptions);

    /// Throws UsageError unless there are exactly as many places as names.
    void RequirePlaces(const std::vector<std::string>& names) const;

    const std::string& Place(std::size_t index) const { return m_Places.at(index); }
    bool Has(const std::string& option) const { return m_Options.count(option) != 0; }
    std::optional<std::string> Value(const std::string& option) const;

    /// Throws UsageError for a value that is no whole number, or above the limit.
    std::optional<unsigned long> Number(const std::string& option, unsigned long limit) const;

private:
    std::vector<std::string> m_Places;
    std::map<std::string, std::string> m_Options;
};

} // namespace orselsim

#endif
