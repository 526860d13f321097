// SPDX-License-Identifier: MIT
#include "viewer/LongText.h"

#include <algorithm>

#include "app/I18N.h"
#include "viewer/VisibleText.h"

namespace viewer {

namespace {

constexpr std::size_t BYTES_IN_A_LINE = 16;
/// A fingerprint of 32 bytes stands on one line.
constexpr std::size_t LONGEST_ON_ONE_LINE = 3 * 32 - 1;
constexpr char INDENTATION[] = "    ";
constexpr char BELOW_LABEL[] = "        ";

} // namespace

std::string LongText(const std::vector<Row>& rows, std::size_t limit) {
    std::string text;
    for (const Row& row : rows) {
        if (text.size() >= limit) {
            return text + "\n" + ToUtf8(Translate("Hier gekürzt: es folgt noch mehr.")) + "\n";
        }
        if (row.IsHeading()) {
            text += (text.empty() ? "" : "\n") + ToUtf8(row.Label()) + "\n";
            continue;
        }
        const std::size_t room = limit - text.size();
        std::string value = row.Value(std::min(room, LONGEST_ON_ONE_LINE));
        if (value.size() > LONGEST_ON_ONE_LINE) {
            value = row.WrappedValue(BYTES_IN_A_LINE, BELOW_LABEL, room);
        }
        text += INDENTATION + ToUtf8(row.Label()) + ":";
        text += value.find('\n') == std::string::npos ? " " : std::string("\n") + BELOW_LABEL;
        text += value + "\n";
    }
    return text;
}

std::string RowText(const Row& row) {
    return row.IsHeading() ? ToUtf8(row.Label()) : ToUtf8(row.Label()) + ": " + row.Value();
}

} // namespace viewer
