// SPDX-License-Identifier: MIT
#include "foundation/XmlNesting.h"

#include <cstring>

namespace Velmor {

namespace {

constexpr char WHITE_SPACE[] = " \t\n\r";
constexpr char ENDS_ELEMENT_NAME[] = " \t\n\r/>?";
constexpr char ENDS_ATTRIBUTE_NAME[] = " \t\n\r/<>=?!";

enum class Tag { OPENS, STANDS_ALONE, MALFORMED };

/// Walks over a text with the parser's own idea of where each piece of markup ends: text in comments,
/// sections and attribute values must neither count nor hide anything.
class Scanner {
public:
    explicit Scanner(const std::string& text) : m_Text(text) {}

    bool FindMarkup() {
        m_Position = m_Text.find('<', m_Position);
        return m_Position != std::string::npos;
    }

    /// Moves behind `token` if it stands here.
    bool Take(const char* token) {
        const std::size_t length = std::strlen(token);
        if (m_Text.compare(m_Position, length, token) != 0) {
            return false;
        }
        m_Position += length;
        return true;
    }

    /// The start of a document type, which is one only with white space behind it.
    bool TakeDocumentType() {
        for (const char* const start : {"<!DOCTYPE ", "<!DOCTYPE\t", "<!DOCTYPE\n", "<!DOCTYPE\r"}) {
            if (Take(start)) {
                return true;
            }
        }
        return false;
    }

    void SkipBehind(const char* token) {
        const std::size_t found = m_Text.find(token, m_Position);
        m_Position = found == std::string::npos ? m_Text.size() : found + std::strlen(token);
    }

    /// Moves behind the end of a document type, whose brackets may hold any sign.
    void SkipDocumentType() {
        for (int brackets = 0; m_Position < m_Text.size(); ++m_Position) {
            const char c = m_Text[m_Position];
            brackets += c == '[' ? 1 : c == ']' && brackets > 0 ? -1 : 0;
            if (c == '>' && brackets == 0) {
                break;
            }
        }
    }

    /// Moves behind a tag whose "<" is taken.
    Tag TakeTag() {
        Skip(ENDS_ELEMENT_NAME, false);
        Skip(WHITE_SPACE, true);
        while (m_Position < m_Text.size() &&
               std::strchr(ENDS_ATTRIBUTE_NAME, m_Text[m_Position]) == nullptr) {
            if (!TakeAttribute()) {
                return Tag::MALFORMED;
            }
        }
        return Take("/>") ? Tag::STANDS_ALONE : Take(">") ? Tag::OPENS : Tag::MALFORMED;
    }

private:
    /// Moves over all characters that are in `set`, or over all that are not.
    void Skip(const char* set, bool inSet) {
        const std::size_t end =
            inSet ? m_Text.find_first_not_of(set, m_Position) : m_Text.find_first_of(set, m_Position);
        m_Position = end == std::string::npos ? m_Text.size() : end;
    }

    bool TakeAttribute() {
        Skip(ENDS_ATTRIBUTE_NAME, false);
        Skip(WHITE_SPACE, true);
        if (!Take("=")) {
            return false;
        }
        Skip(WHITE_SPACE, true);
        const char* const quote = Take("\"") ? "\"" : "'";
        if (*quote == '\'' && !Take(quote)) {
            return false;
        }
        SkipBehind(quote);
        Skip(WHITE_SPACE, true);
        return true;
    }

    const std::string& m_Text;
    std::size_t m_Position = 0;
};

/// Moves behind anything that is no tag.
bool TakeOtherMarkup(Scanner& scanner) {
    if (scanner.Take("<!--")) {
        scanner.SkipBehind("-->");
    } else if (scanner.Take("<![CDATA[")) {
        scanner.SkipBehind("]]>");
    } else if (scanner.TakeDocumentType()) {
        scanner.SkipDocumentType();
    } else if (scanner.Take("<!")) {
        scanner.SkipBehind(">");
    } else if (scanner.Take("<?")) {
        scanner.SkipBehind("?>");
    } else {
        return false;
    }
    return true;
}

} // namespace

bool XmlNestsDeeperThan(int levels, const std::string& text) {
    Scanner scanner(text);
    int depth = 0;
    while (scanner.FindMarkup()) {
        if (TakeOtherMarkup(scanner)) {
            continue;
        }
        if (scanner.Take("</")) {
            scanner.SkipBehind(">");
            --depth;
            continue;
        }
        scanner.Take("<");
        const Tag tag = scanner.TakeTag();
        if (tag == Tag::MALFORMED) {
            return false;
        }
        if (depth == levels) {
            return true;
        }
        depth += tag == Tag::OPENS ? 1 : 0;
    }
    return false;
}

} // namespace Velmor
