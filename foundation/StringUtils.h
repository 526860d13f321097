// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_STRINGUTILS_H
#define ORSEL_FOUNDATION_STRINGUTILS_H

#include <string>

/// Small helpers for text and memory. Upper case, lower case and white space follow the C locale setting of
/// the process, the character tests know ASCII only.
namespace Velmor {

bool isdigit(char c);
bool IsDigit(char c);
bool isalpha(char c);
bool IsAlpha(char c);

/// Every text starts with the empty one.
bool StartsWith(const std::string& text, const std::string& prefix);
bool StringContainsChar(std::string text, char c);

/// A name of `len` letters and digits without 0; empty for a `len` below 1. For names, not for secrets: the
/// C library's generator is seeded with the time at each call, so two calls within one second give the same
/// text.
std::string GenerateRandomString(int len);
/// A name of 10 characters.
std::string GenerateRandomString();

/// Offset from `hay` of the first `needle` at or after `start`, or -1. A negative `start` counts as 0.
/// An empty needle is found where its first byte occurs, so `needle` must point at one.
long MyMemfind(char* hay, long hayLen, char* needle, long needleLen, long start);

/// Compares without regard to case, the first `n` characters for an `n` above 0. Result as of strcmp.
int nocase_cmp(const std::string& a, const std::string& b, int n);
/// Position of `what` at or after `pos` without regard to case, or std::string::npos.
std::string::size_type nocase_find(const std::string& text, const std::string& what, int pos);
bool nocase_StartsWith(const std::string& text, const std::string& prefix);
bool nocase_EndsWith(const std::string& text, const std::string& suffix);

std::string Str2Upper(std::string text);
std::string Str2Lower(std::string text);

/// Removes what stands before the first "<" and behind the last ">". A side without its sign stays.
std::string stripXMLRequest(std::string text);

/// A copy without white space at both ends. Throws std::out_of_range for an empty or all-blank text.
std::string TrimSpaces(std::string text);
/// Cuts white space at the end. Must not be given an empty or all-blank text: nothing guards its start.
void RemoveTrailingSpaces(std::string& text);

/// A copy with each `from` replaced, left to right; inserted text is not searched again.
/// `from` must not be empty.
std::string replaceAll(std::string text, std::string from, std::string to);

} // namespace Velmor

#endif
