// SPDX-License-Identifier: MIT
#include "cli/CommandLine.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <memory>

#include <CLI/CLI.hpp>

#include "cli/Words.h"

namespace orselcli {

namespace {

/// One command: how it is written, and what its words are.
struct CommandRow {
    const char* m_Name;
    const char* m_Synopsis;
    const char* m_Description;
    std::vector<std::string> m_Keywords; ///< what may stand first behind the card
    bool m_KeywordNeeded;
    size_t m_Least; ///< words behind the card, the keyword included, once there are any
    size_t m_Most;
};

constexpr size_t ANY_NUMBER = 1000000;

const CommandRow ROWS[] = {
    {"list", "list", ORSEL_WORD("List every card."), {}, false, 0, 0},
    {"show",
     "show [CARD]",
     ORSEL_WORD("Show all of a card that can be read without a PIN."),
     {},
     false,
     0,
     0},
    {"certificate",
     "certificate [CARD] signature|encryption",
     ORSEL_WORD("Print a certificate of the card."),
     {"signature", "encryption"},
     true,
     1,
     1},
    {"pin",
     "pin [CARD] [change|unblock signature|encryption|identity-link]",
     ORSEL_WORD("Show the state of the PINs, change or unblock one."),
     {"change", "unblock"},
     false,
     2,
     2},
    {"sign",
     "sign [CARD] signature|encryption [FILE]",
     ORSEL_WORD("Sign a file, or standard input, with a key of the card."),
     {"signature", "encryption"},
     true,
     1,
     2},
    {"verify",
     "verify [CARD] signature|encryption [FILE] --signature FILE",
     ORSEL_WORD("Verify a signature of a file, or of standard input."),
     {"signature", "encryption"},
     true,
     1,
     2},
    {"infobox",
     "infobox [CARD] [read|protect|unprotect TAG]",
     ORSEL_WORD("List the card's infobox area, read or protect an entry."),
     {"read", "protect", "unprotect"},
     false,
     2,
     2},
    {"identity-link", "identity-link [CARD]", ORSEL_WORD("Show the card's identity link."), {}, false, 0, 0},
    {"insurance",
     "insurance [CARD]",
     ORSEL_WORD("Show the health insurance data of an e-card."),
     {},
     false,
     0,
     0},
    {"update",
     "update [CARD] identity-link|certificate FILE",
     ORSEL_WORD("Write a new identity link or a renewed certificate to the card."),
     {"identity-link", "certificate"},
     true,
     2,
     2},
    {"apdu",
     "apdu [CARD] HEX...",
     ORSEL_WORD("Send commands to the card and print its answers."),
     {},
     false,
     1,
     ANY_NUMBER},
    {"doctor", "doctor", ORSEL_WORD("Tell what is found and what is missing."), {}, false, 0, 0},
};

const CommandRow& RowOf(const std::string& name) {
    return *std::find_if(std::begin(ROWS), std::end(ROWS),
                         [&name](const CommandRow& row) { return name == row.m_Name; });
}

constexpr const char* HASH_NAMES[] = {"sha1", "ripemd160", "sha256", "sha384", "sha512", "raw"};

/// The help in the person's language, with the usage as the table above has it.
class HelpWriter : public CLI::Formatter {
public:
    HelpWriter() {
        label("REQUIRED", "(" + Tr("needed") + ")");
        label("Excludes", Tr("not with"));
        column_width(34);
    }
    std::string make_usage(const CLI::App* app, std::string /*name*/) const override {
        const std::string form =
            app->get_parent() == nullptr ? Tr("COMMAND") : RowOf(app->get_name()).m_Synopsis;
        return Tr("Usage:") + " orselcards-cli " + form + " [" + Tr("OPTIONS") + "]\n";
    }
    std::string make_positionals(const CLI::App* app) const override {
        const std::string form = app->get_parent() == nullptr ? "" : RowOf(app->get_name()).m_Synopsis;
        if (form.find("[CARD]") == std::string::npos) {
            return "";
        }
        return "\n" +
               Tr("CARD is a card's number, an unambiguous beginning of one, or its position, such as\n"
                  "@3. It may be left out when there is one card.") +
               "\n";
    }
};

/// Options of all commands together; each knows which of them it belongs to.
void AddOptionsOf(CLI::App& command, const std::string& name, Request& request) {
    const auto isOneOf = [&name](std::initializer_list<const char*> names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    if (isOneOf({"sign", "verify"})) {
        command
            .add_option("--hash", request.m_Hash,
                        Tr("sha1, ripemd160, sha256, sha384, sha512 or raw; otherwise what the card needs."))
            ->type_name("HASH")
            ->check(CLI::IsMember(std::vector<std::string>(std::begin(HASH_NAMES), std::end(HASH_NAMES)))
                        .description(""));
        command.add_flag("--base64", request.m_Base64, Tr("The signature is text in base64."));
    }
    if (isOneOf({"verify"})) {
        command.add_option("--signature", request.m_SignatureFile, Tr("File of the signature."))
            ->type_name("FILE")
            ->required();
        command.add_flag("--offline", request.m_Offline,
                         Tr("Verify with the certificate's key, not on the card."));
    }
    if (isOneOf({"certificate"})) {
        CLI::Option* der = command.add_flag("--der", request.m_Der, Tr("DER instead of PEM."));
        command.add_flag("--text", request.m_Text, Tr("In words instead of PEM."))->excludes(der);
    }
    if (isOneOf({"infobox"})) {
        command.add_flag("--hex", request.m_Hex, Tr("Content in hexadecimal digits."));
    }
    if (isOneOf({"infobox", "identity-link"})) {
        command.add_flag("--raw", request.m_Raw, Tr("Content as it is on the card."));
    }
    if (isOneOf({"certificate", "sign", "infobox", "identity-link"})) {
        command.add_option("-o,--out", request.m_Out, Tr("Write to this file, which is whole or not there."))
            ->type_name("FILE");
    }
    if (isOneOf({"update"})) {
        command.add_flag("-y,--yes", request.m_Yes, Tr("Do not ask whether to go on."));
    }
}

void AddCommonOptions(CLI::App& app, Request& request) {
    app.add_option("-c,--card", request.m_Card, Tr("The card, in place of the word CARD."))
        ->type_name("CARD");
    app.add_flag("--json", request.m_Json, Tr("Print JSON."));
    app.add_option("--wait", request.m_WaitSeconds, Tr("Wait so many seconds for a card."))
        ->type_name("SECONDS")
        ->check(CLI::Range(0U, 86400U).description(""));
    app.add_flag("-q,--quiet", request.m_Quiet, Tr("Print the result alone, without words around it."));
}

bool IsKeyword(const CommandRow& row, const std::string& word) {
    return std::find(row.m_Keywords.begin(), row.m_Keywords.end(), word) != row.m_Keywords.end();
}

std::string InWords(const std::vector<std::string>& words) {
    std::string list;
    for (const std::string& word : words) {
        list += (list.empty() ? "" : ", ") + word;
    }
    return list;
}

Outcome Senseless(const std::string& text) {
    return Outcome(Reason::USAGE, text);
}

/// Whether a word stands for a card rather than for the first of several commands to it: a position, or
/// digits that are too few for a command.
bool NamesCard(const std::string& word) {
    constexpr size_t SHORTEST_COMMAND = 8;
    return word[0] == '@' || word.size() < SHORTEST_COMMAND;
}

bool TakesCard(const CommandRow& row) {
    return std::string(row.m_Synopsis).find("CARD") != std::string::npos;
}

/// Splits the card off the front of the words.
Outcome Interpret(const CommandRow& row, std::vector<std::string> words, Request& request) {
    const bool isApdu = std::string(row.m_Name) == "apdu";
    const bool beginsWithCard =
        !words.empty() && !IsKeyword(row, words[0]) && (!isApdu || (words.size() > 1 && NamesCard(words[0])));
    if (!TakesCard(row) && !request.m_Card.empty()) {
        return Senseless(Filled(Tr("Unexpected word \"{}\"."), {request.m_Card}));
    }
    if (beginsWithCard) {
        if (!request.m_Card.empty() || !TakesCard(row)) {
            return Senseless(Filled(Tr("Unexpected word \"{}\"."), {words[0]}));
        }
        request.m_Card = words[0];
        words.erase(words.begin());
    }
    if (!words.empty() && !row.m_Keywords.empty() && !IsKeyword(row, words[0])) {
        return Senseless(Filled(Tr("\"{}\" stands where one of these is expected: {}."),
                                {words[0], InWords(row.m_Keywords)}));
    }
    if (words.empty() ? row.m_KeywordNeeded || isApdu : words.size() < row.m_Least) {
        return Senseless(Filled(Tr("Something is missing. Write: {}"), {row.m_Synopsis}));
    }
    if (words.size() > row.m_Most) {
        return Senseless(Filled(Tr("Unexpected word \"{}\"."), {words[row.m_Most]}));
    }
    request.m_Words = std::move(words);
    return {};
}

/// JSON has a form of its own and goes to standard output.
Outcome CheckJson(const Request& request) {
    const std::pair<const char*, bool> others[] = {
        {"--out", !request.m_Out.empty()}, {"--der", request.m_Der}, {"--text", request.m_Text},
        {"--hex", request.m_Hex},          {"--raw", request.m_Raw},
    };
    for (const auto& [option, isGiven] : others) {
        if (request.m_Json && isGiven) {
            return Senseless(Filled(Tr("--json and {} exclude each other."), {option}));
        }
    }
    return {};
}

/// The words that a command has of its own behind its keyword.
Outcome CheckWords(const Request& request) {
    static const std::vector<std::string> pins = {"signature", "encryption", "identity-link"};
    if (request.m_Command == "pin" && request.m_Words.size() == 2 &&
        std::find(pins.begin(), pins.end(), request.m_Words[1]) == pins.end()) {
        return Senseless(Filled(Tr("\"{}\" stands where one of these is expected: {}."),
                                {request.m_Words[1], InWords(pins)}));
    }
    if (request.m_Raw && request.m_Hex) {
        return Senseless(Tr("--hex and --raw exclude each other."));
    }
    const bool readsEntry = request.m_Command == "infobox" && request.Word(0) == "read";
    if (request.m_Command == "infobox" && !readsEntry &&
        (request.m_Raw || request.m_Hex || !request.m_Out.empty())) {
        return Senseless(Tr("--hex, --raw and --out are for \"infobox read\"."));
    }
    if (request.m_Command == "identity-link" && !request.m_Raw && !request.m_Out.empty()) {
        return Senseless(Tr("--out is for --raw here."));
    }
    return CheckJson(request);
}

/// The library's own words are English alone.
Outcome InOwnWords(const CLI::ParseError& error) {
    const std::string detail = error.what();
    const std::string option = detail.substr(0, detail.find(':'));
    const std::string name = error.get_name();
    if (name == "ExtrasError") {
        return Senseless(Filled(Tr("Unexpected word \"{}\"."), {detail.substr(detail.rfind(' ') + 1)}));
    }
    if (name == "RequiredError") {
        const bool isCommand = detail.find("ubcommand") != std::string::npos;
        return isCommand ? Senseless(Tr("This names no command."))
                         : Senseless(Filled(Tr("{} is missing."), {detail.substr(0, detail.find(' '))}));
    }
    if (name == "ArgumentMismatch") {
        return Senseless(Filled(Tr("{} wants a value."), {option}));
    }
    if (name == "ExcludesError") {
        return Senseless(Filled(Tr("These exclude each other: {}."), {"--der, --text"}));
    }
    return Senseless(Filled(Tr("{} has a value that makes no sense."), {option}));
}

} // namespace

std::vector<std::string> CommandLine::Commands() {
    std::vector<std::string> names;
    std::transform(std::begin(ROWS), std::end(ROWS), std::back_inserter(names),
                   [](const CommandRow& row) { return row.m_Name; });
    return names;
}

Outcome CommandLine::Parse(const std::vector<std::string>& arguments) {
    CLI::App app(Tr("Works with citizen smart cards: what the card manager's window does, and more."),
                 "orselcards-cli");
    app.formatter(std::make_shared<HelpWriter>());
    app.option_defaults()->group(Tr("Options"));
    app.set_help_flag("-h,--help", Tr("Print this help."));
    app.set_version_flag("--version", "orselcards-cli " ORSEL_VERSION, Tr("Print the version."));
    app.require_subcommand(1);
    app.fallthrough();
    AddCommonOptions(app, m_Request);
    std::vector<std::string> words;
    for (const CommandRow& row : ROWS) {
        CLI::App* command = app.add_subcommand(row.m_Name, Tr(row.m_Description));
        command->group(Tr("Commands"));
        command->set_help_flag("-h,--help", Tr("Print this help."));
        command->add_option("words", words)->group("");
        AddOptionsOf(*command, row.m_Name, m_Request);
    }
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        m_Answer = app.help();
        return {};
    } catch (const CLI::CallForVersion& version) {
        m_Answer = std::string(version.what()) + "\n";
        return {};
    } catch (const CLI::ParseError& error) {
        return InOwnWords(error);
    }
    m_Request.m_Command = app.get_subcommands().front()->get_name();
    const Outcome outcome = Interpret(RowOf(m_Request.m_Command), words, m_Request);
    return outcome.IsDone() ? CheckWords(m_Request) : outcome;
}

} // namespace orselcli
