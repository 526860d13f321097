// SPDX-License-Identifier: MIT
#include "foundation/StringUtils.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace Velmor {

namespace {

/// Without the digit 0, which looks like the letter.
constexpr char NAME_ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz123456789";
constexpr int NAME_ALPHABET_SIZE = sizeof(NAME_ALPHABET) - 1;

bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

} // namespace

bool isdigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsDigit(char c) {
    return Velmor::isdigit(c);
}

bool isalpha(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsAlpha(char c) {
    return Velmor::isalpha(c);
}

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool StringContainsChar(std::string text, char c) {
    return text.find(c) != std::string::npos;
}

std::string GenerateRandomString(int len) {
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    std::string name;
    for (int index = 0; index < len; ++index) {
        name += NAME_ALPHABET[std::rand() % NAME_ALPHABET_SIZE];
    }
    return name;
}

std::string GenerateRandomString() {
    return GenerateRandomString(10);
}

long MyMemfind(char* hay, long hayLen, char* needle, long needleLen, long start) {
    const long from = std::max(start, 0L);
    if (hayLen < 0 || needleLen < 0 || from >= hayLen || needleLen > hayLen - from) {
        return -1;
    }
    const char* const end = hay + hayLen;
    const char* position = hay + from;
    for (;; ++position) {
        position = static_cast<const char*>(
            std::memchr(position, *needle, static_cast<std::size_t>(end - position)));
        if (position == nullptr || end - position < needleLen) {
            return -1;
        }
        if (std::memcmp(position, needle, static_cast<std::size_t>(needleLen)) == 0) {
            return position - hay;
        }
    }
}

int nocase_cmp(const std::string& a, const std::string& b, int n) {
    const std::string lowerA = Str2Lower(a);
    const std::string lowerB = Str2Lower(b);
    return n > 0 ? std::strncmp(lowerA.c_str(), lowerB.c_str(), static_cast<std::size_t>(n))
                 : std::strcmp(lowerA.c_str(), lowerB.c_str());
}

std::string::size_type nocase_find(const std::string& text, const std::string& what, int pos) {
    return Str2Lower(text).find(Str2Lower(what), static_cast<std::string::size_type>(pos));
}

bool nocase_StartsWith(const std::string& text, const std::string& prefix) {
    return prefix.size() <= text.size() && Str2Lower(text.substr(0, prefix.size())) == Str2Lower(prefix);
}

bool nocase_EndsWith(const std::string& text, const std::string& suffix) {
    return suffix.size() <= text.size() &&
           Str2Lower(text.substr(text.size() - suffix.size())) == Str2Lower(suffix);
}

std::string Str2Upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string Str2Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string stripXMLRequest(std::string text) {
    const std::size_t first = text.find('<');
    if (first != std::string::npos) {
        text.erase(0, first);
    }
    const std::size_t last = text.rfind('>');
    if (last != std::string::npos) {
        text.erase(last + 1);
    }
    return text;
}

std::string TrimSpaces(std::string text) {
    std::size_t first = 0;
    while (IsSpace(text.at(first))) {
        ++first;
    }
    RemoveTrailingSpaces(text);
    return text.substr(first);
}

void RemoveTrailingSpaces(std::string& text) {
    while (IsSpace(text.back())) {
        text.pop_back();
    }
}

std::string replaceAll(std::string text, std::string from, std::string to) {
    std::size_t position = 0;
    while ((position = text.find(from, position)) != std::string::npos) {
        text.replace(position, from.size(), to);
        position += to.size();
    }
    return text;
}

} // namespace Velmor
