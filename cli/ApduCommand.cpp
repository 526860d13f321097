// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/Names.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t SHORTEST_COMMAND = 4;
constexpr size_t STATUS_SIZE = 2;

struct StatusRow {
    unsigned m_Mask;
    unsigned m_Value;
    const char* m_Words;
};

/// Status words of ISO 7816-4, the narrow ones first.
constexpr StatusRow STATUSES[] = {
    {0xFFFF, 0x9000, ORSEL_WORD("done")},
    {0xFFFF, 0x6282, ORSEL_WORD("the file ended early")},
    {0xFFFF, 0x6283, ORSEL_WORD("the file is switched off")},
    {0xFFF0, 0x63C0, ORSEL_WORD("wrong PIN; the last digit tells the tries left")},
    {0xFFFF, 0x6700, ORSEL_WORD("wrong length")},
    {0xFFFF, 0x6881, ORSEL_WORD("channel not supported")},
    {0xFFFF, 0x6882, ORSEL_WORD("secure messaging not supported")},
    {0xFFFF, 0x6981, ORSEL_WORD("does not fit the kind of file")},
    {0xFFFF, 0x6982, ORSEL_WORD("not allowed without a PIN")},
    {0xFFFF, 0x6983, ORSEL_WORD("PIN blocked")},
    {0xFFFF, 0x6984, ORSEL_WORD("data not usable")},
    {0xFFFF, 0x6985, ORSEL_WORD("not possible now")},
    {0xFFFF, 0x6986, ORSEL_WORD("no file selected")},
    {0xFFFF, 0x6A80, ORSEL_WORD("wrong data")},
    {0xFFFF, 0x6A81, ORSEL_WORD("function not supported")},
    {0xFFFF, 0x6A82, ORSEL_WORD("file not found")},
    {0xFFFF, 0x6A83, ORSEL_WORD("record not found")},
    {0xFFFF, 0x6A84, ORSEL_WORD("no room in the file")},
    {0xFFFF, 0x6A86, ORSEL_WORD("wrong parameters")},
    {0xFFFF, 0x6A88, ORSEL_WORD("data not found")},
    {0xFFFF, 0x6B00, ORSEL_WORD("offset beyond the file")},
    {0xFF00, 0x6C00, ORSEL_WORD("wrong length; the second byte tells the right one")},
    {0xFFFF, 0x6D00, ORSEL_WORD("command not known")},
    {0xFFFF, 0x6E00, ORSEL_WORD("class of commands not known")},
    {0xFF00, 0x6100, ORSEL_WORD("done; more bytes are waiting")},
    {0x0000, 0x0000, ORSEL_WORD("a status of its own")},
};

std::string StatusInWords(unsigned status) {
    for (const StatusRow& row : STATUSES) {
        if ((status & row.m_Mask) == row.m_Value) {
            return Tr(row.m_Words);
        }
    }
    return "";
}

struct Answer {
    Bytes m_Command;
    Bytes m_Data;
    Bytes m_Status;

    std::string Words() const { return StatusInWords(static_cast<unsigned>(m_Status[0]) << 8 | m_Status[1]); }
};

Outcome ReadCommands(const Request& request, std::vector<Bytes>& commands) {
    for (const std::string& word : request.m_Words) {
        Bytes command;
        if (!BytesOfHex(word, command) || command.size() < SHORTEST_COMMAND) {
            return Outcome(Reason::BAD_HEX, word);
        }
        commands.push_back(command);
    }
    return {};
}

Outcome Send(Cards& cards, const Bytes& command, Answer& answer) {
    Bytes response;
    if (!cards.SendAPDU(command, response)) {
        return FailureOf(Reason::NOT_SUPPORTED, "C_CardTransmit");
    }
    if (response.size() < STATUS_SIZE) {
        return Outcome(Reason::ANSWER_BEYOND_REASON, "C_CardTransmit");
    }
    const auto status = response.end() - static_cast<std::ptrdiff_t>(STATUS_SIZE);
    answer = {command, Bytes(response.begin(), status), Bytes(status, response.end())};
    return {};
}

void PrintAnswers(Context& context, const CardRow& row, const std::vector<Answer>& answers) {
    if (!context.m_Request.m_Json) {
        for (const Answer& answer : answers) {
            const std::string data = HexOf(answer.m_Data);
            const std::string line = data + (data.empty() ? "" : " ") + HexOf(answer.m_Status);
            context.m_Console.Print(line + (context.m_Request.m_Quiet ? "" : "  " + answer.Words()) + "\n");
        }
        return;
    }
    Json list = Json::array();
    for (const Answer& answer : answers) {
        list.push_back({{"command", HexOf(answer.m_Command)},
                        {"data", HexOf(answer.m_Data)},
                        {"status", HexOf(answer.m_Status)},
                        {"words", answer.Words()}});
    }
    context.m_Console.PrintJson({{"card", row.m_Number}, {"answers", list}});
}

} // namespace

// A status word that tells of an error is an answer as any other.
Outcome RunApdu(Context& context) {
    std::vector<Bytes> commands;
    const Outcome read = ReadCommands(context.m_Request, commands);
    if (!read.IsDone()) {
        return read;
    }
    return WithSession(context, [&](const CardRow& row) {
        std::vector<Answer> answers;
        for (const Bytes& command : commands) {
            Answer answer;
            const Outcome outcome = Send(context.m_Cards, command, answer);
            if (!outcome.IsDone()) {
                PrintAnswers(context, row, answers);
                return outcome;
            }
            answers.push_back(answer);
        }
        PrintAnswers(context, row, answers);
        return Outcome();
    });
}

} // namespace orselcli
