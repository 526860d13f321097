// SPDX-License-Identifier: MIT
#include "cli/Words.h"

#include <clocale>
#include <cwchar>
#include <filesystem>
#include <memory>

#include <iconv.h>
#include <langinfo.h>
#include <libintl.h>

namespace orselcli {

namespace {

constexpr const char* CATALOGUE = "orselcards-cli";
constexpr const char* ELLIPSIS = "\u2026";
constexpr char32_t NO_CHARACTER = 0xFFFFFFFF;

/// Takes one character off the front of UTF-8 text; NO_CHARACTER for a byte that begins none.
char32_t NextCharacter(const std::string& text, size_t& position) {
    const auto byteAt = [&text](size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = byteAt(position++);
    if (first < 0x80) {
        return first;
    }
    const int following = first >= 0xF0 && first < 0xF5   ? 3
                          : first >= 0xE0 && first < 0xF0 ? 2
                          : first >= 0xC2 && first < 0xE0 ? 1
                                                          : 0;
    if (following == 0 || position + static_cast<size_t>(following) > text.size()) {
        return NO_CHARACTER;
    }
    char32_t character = first & (0x3F >> following);
    for (int i = 0; i < following; ++i) {
        const unsigned char byte = byteAt(position + static_cast<size_t>(i));
        if ((byte & 0xC0) != 0x80) {
            return NO_CHARACTER;
        }
        character = (character << 6) | (byte & 0x3F);
    }
    constexpr char32_t SMALLEST[] = {0, 0x80, 0x800, 0x10000};
    if (character < SMALLEST[following] || character > 0x10FFFF ||
        (character >= 0xD800 && character < 0xE000)) {
        return NO_CHARACTER;
    }
    position += static_cast<size_t>(following);
    return character;
}

/// C0 and C1 controls, line and paragraph separators, marks of writing direction.
bool Steers(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
           (character >= 0x200B && character <= 0x200F) || (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069) || character == 0xFEFF;
}

size_t ColumnsOfCharacter(char32_t character) {
    const int columns = wcwidth(static_cast<wchar_t>(character));
    return columns >= 0 ? static_cast<size_t>(columns) : 1; // a locale without the character shows something
}

std::string DirectoryOfProgram() {
    std::error_code failure;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", failure);
    return failure ? "" : program.parent_path().string();
}

} // namespace

/// Beside an installed program, wherever its root is; else beside a built one.
std::string CatalogueDirectory() {
    const std::string program = DirectoryOfProgram();
    if (program.empty()) { // a system without /proc
        return "/usr/share/locale";
    }
    const std::string installed = program + "/../share/locale";
    std::error_code ignored;
    const std::string built = program + "/locale";
    return std::filesystem::is_directory(built, ignored) ? built
                                                         : installed; // systems have a program of that name
}

void ChooseLanguage() {
    std::setlocale(LC_CTYPE, "");
    std::setlocale(LC_MESSAGES, "");
    bindtextdomain(CATALOGUE, CatalogueDirectory().c_str());
    bind_textdomain_codeset(CATALOGUE, "UTF-8");
}

std::string Tr(const char* text) {
    return dgettext(CATALOGUE, text);
}

std::string TrCount(const char* one, const char* many, unsigned long count) {
    return dngettext(CATALOGUE, one, many, count);
}

std::string Filled(std::string text, const std::vector<std::string>& arguments) {
    size_t position = 0;
    for (const std::string& argument : arguments) {
        position = text.find("{}", position);
        if (position == std::string::npos) {
            break;
        }
        text.replace(position, 2, argument);
        position += argument.size();
    }
    return text;
}

// The catalogue's head, which is what an empty text has for a translation, tells its language.
std::string CatalogueFile() {
    const char* const nothing = "";
    const std::string head = Tr(nothing);
    const std::string mark = "Language: ";
    const size_t begin = head.find(mark);
    if (begin == std::string::npos) {
        return "";
    }
    const size_t from = begin + mark.size();
    const std::string language = head.substr(from, head.find('\n', from) - from);
    return CatalogueDirectory() + "/" + language + "/LC_MESSAGES/" + CATALOGUE + ".mo";
}

std::string Harmless(const std::string& text) {
    std::string result;
    for (size_t position = 0; position < text.size();) {
        const size_t begin = position;
        const char32_t character = NextCharacter(text, position);
        if (character == NO_CHARACTER || Steers(character)) {
            result += '?';
        } else {
            result.append(text, begin, position - begin);
        }
    }
    return result;
}

size_t ColumnsOf(const std::string& text) {
    size_t columns = 0;
    for (size_t position = 0; position < text.size();) {
        columns += ColumnsOfCharacter(NextCharacter(text, position));
    }
    return columns;
}

std::string CutTo(const std::string& text, size_t columns) {
    if (ColumnsOf(text) <= columns) {
        return text;
    }
    std::string result;
    size_t taken = 1; // the ellipsis
    for (size_t position = 0; position < text.size();) {
        const size_t begin = position;
        taken += ColumnsOfCharacter(NextCharacter(text, position));
        if (taken > columns) {
            break;
        }
        result.append(text, begin, position - begin);
    }
    return columns == 0 ? "" : result + ELLIPSIS;
}

std::string InLocaleCharacters(const std::string& text) {
    const std::string characters = nl_langinfo(CODESET);
    if (characters == "UTF-8" || characters == "ANSI_X3.4-1968" || characters == "US-ASCII") {
        return text;
    }
    const iconv_t handle = iconv_open((characters + "//TRANSLIT").c_str(), "UTF-8");
    if (handle == reinterpret_cast<iconv_t>(-1)) { // NOLINT(performance-no-int-to-ptr): what iconv_open says
        return text;
    }
    const auto close = [](void* opened) { iconv_close(opened); };
    const std::unique_ptr<void, decltype(close)> owner(handle, close);
    std::string source = text;
    std::string result(text.size() * 4 + 16, '\0');
    char* in = source.data();
    char* out = result.data();
    size_t inLeft = source.size();
    size_t outLeft = result.size();
    if (iconv(handle, &in, &inLeft, &out, &outLeft) == static_cast<size_t>(-1)) {
        return text;
    }
    result.resize(result.size() - outLeft);
    return result;
}

} // namespace orselcli
