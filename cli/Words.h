// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_WORDS_H
#define ORSEL_CLI_WORDS_H

#include <string>
#include <vector>

namespace orselcli {

/// Marks a word for the catalogue where it stands in a table; Tr() looks it up later.
#define ORSEL_WORD(text) text

/// Takes the person's locale for words and characters and binds the catalogue. Numbers stay in the classic
/// form.
void ChooseLanguage();

/// The text in the person's language, in UTF-8 whatever the locale's character set is.
std::string Tr(const char* text);
/// The same for a number of things.
std::string TrCount(const char* one, const char* many, unsigned long count);
/// Puts the arguments in for "{}", one after the other.
std::string Filled(std::string text, const std::vector<std::string>& arguments);

/// File of the catalogue in use; empty when the words stay as they are written in the source.
std::string CatalogueFile();
/// Directory that catalogues are looked for in.
std::string CatalogueDirectory();

/// UTF-8 text without what could steer a terminal: control characters, bytes that are no UTF-8 and marks that
/// turn the direction of writing become "?". For texts that come from a card.
std::string Harmless(const std::string& text);

/// Columns that UTF-8 text takes on a terminal.
size_t ColumnsOf(const std::string& text);
/// The text cut to so many columns, with an ellipsis where something is missing.
std::string CutTo(const std::string& text, size_t columns);

/// UTF-8 text in the character set of the locale; unchanged where that is UTF-8 or plain ASCII.
std::string InLocaleCharacters(const std::string& text);

} // namespace orselcli

#endif
