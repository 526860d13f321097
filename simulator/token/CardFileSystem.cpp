// SPDX-License-Identifier: MIT
#include "simulator/token/CardFileSystem.h"

#include <algorithm>
#include <optional>

namespace orselsim {

namespace {

constexpr std::uint16_t ROOT_ID = 0x3F00;

constexpr std::uint16_t SW_OK = 0x9000;
constexpr std::uint16_t SW_END_REACHED = 0x6282; ///< fewer bytes than asked for
constexpr std::uint16_t SW_WRONG_LENGTH = 0x6700;
constexpr std::uint16_t SW_NO_FILE_SELECTED = 0x6986;
constexpr std::uint16_t SW_NO_SUCH_FILE = 0x6A82;
constexpr std::uint16_t SW_WRONG_PARAMETERS = 0x6A86;
constexpr std::uint16_t SW_WRONG_OFFSET = 0x6B00;
constexpr std::uint16_t SW_NO_SUCH_INSTRUCTION = 0x6D00;
constexpr std::uint16_t SW_NO_SUCH_CLASS = 0x6E00;

Bytes Answer(Bytes data, std::uint16_t statusWord) {
    data.push_back(static_cast<unsigned char>(statusWord >> 8));
    data.push_back(static_cast<unsigned char>(statusWord & 0xFF));
    return data;
}

Bytes Status(std::uint16_t statusWord) {
    return Answer({}, statusWord);
}

Bytes Slice(const Bytes& content, std::size_t offset, std::size_t size) {
    const auto begin = content.begin() + static_cast<std::ptrdiff_t>(offset);
    return Bytes(begin, begin + static_cast<std::ptrdiff_t>(std::min(size, content.size() - offset)));
}

bool StartsWith(const std::vector<std::uint16_t>& path, const std::vector<std::uint16_t>& start) {
    return path.size() >= start.size() && std::equal(start.begin(), start.end(), path.begin());
}

} // namespace

/// A short command taken apart.
struct CardFileSystem::Command {
    unsigned char m_Cla = 0;
    unsigned char m_Ins = 0;
    unsigned char m_P1 = 0;
    unsigned char m_P2 = 0;
    Bytes m_Data;
    std::optional<unsigned char> m_Le; ///< nothing: no answer wanted

    /// A length byte of zero asks for as much as there is, up to 256 bytes.
    std::size_t Expected() const { return m_Le.value_or(0) == 0 ? 256 : *m_Le; }

    /// The proprietary command that reads the number of the chip.
    bool AsksForChipId() const {
        return m_Cla == 0x80 && m_Ins == 0xF6 && m_P1 == 0 && m_P2 == 0 && m_Data.empty();
    }

    /// Nothing when the length bytes do not fit the number of bytes.
    static std::optional<Command> Parse(const Bytes& apdu);
};

std::optional<CardFileSystem::Command> CardFileSystem::Command::Parse(const Bytes& apdu) {
    if (apdu.size() < 4) {
        return std::nullopt;
    }
    Command command;
    command.m_Cla = apdu[0];
    command.m_Ins = apdu[1];
    command.m_P1 = apdu[2];
    command.m_P2 = apdu[3];
    if (apdu.size() == 5) {
        command.m_Le = apdu[4];
    }
    if (apdu.size() <= 5) {
        return command;
    }
    const std::size_t size = apdu[4];
    const std::size_t end = 5 + size;
    if (size == 0 || (apdu.size() != end && apdu.size() != end + 1)) {
        return std::nullopt;
    }
    command.m_Data = Slice(apdu, 5, size);
    if (apdu.size() > end) {
        command.m_Le = apdu[end];
    }
    return command;
}

void CardFileSystem::Reset() {
    m_Directory.clear();
    m_File.clear();
}

Bytes CardFileSystem::Transmit(const Card& card, const Bytes& apdu) {
    const auto command = Command::Parse(apdu);
    if (!command) {
        return Status(SW_WRONG_LENGTH);
    }
    if (!card.m_Record.m_ChipId.empty() && command->AsksForChipId()) {
        return Answer(Slice(card.m_Record.m_ChipId, 0, command->Expected()), SW_OK);
    }
    if (command->m_Cla != 0x00) {
        return Status(SW_NO_SUCH_CLASS);
    }
    switch (command->m_Ins) {
    case 0xA4:
        return Select(card, *command);
    case 0xB0:
        return ReadBinary(card, *command);
    default:
        return Status(SW_NO_SUCH_INSTRUCTION);
    }
}

// By file id, without a description of the file in the answer: the only form in use. An id is
// looked for in the selected directory first and then beside it, as the standard has it.
Bytes CardFileSystem::Select(const Card& card, const Command& command) {
    if (command.m_P1 != 0x00 || command.m_P2 != 0x0C) {
        return Status(SW_WRONG_PARAMETERS);
    }
    if (command.m_Data.size() != 2) {
        return Status(SW_WRONG_LENGTH);
    }
    const auto id = static_cast<std::uint16_t>(command.m_Data[0] << 8 | command.m_Data[1]);
    if (id == ROOT_ID) {
        Reset();
        return Status(SW_OK);
    }
    Path child = m_Directory;
    child.push_back(id);
    if (Enter(card, child)) {
        return Status(SW_OK);
    }
    if (!m_Directory.empty()) {
        Path sibling(m_Directory.begin(), m_Directory.end() - 1);
        sibling.push_back(id);
        if (Enter(card, sibling)) {
            return Status(SW_OK);
        }
    }
    return Status(SW_NO_SUCH_FILE);
}

bool CardFileSystem::Enter(const Card& card, const Path& path) {
    for (const CardFileRecord& file : card.m_Record.m_Files) {
        if (!StartsWith(file.m_Path, path)) {
            continue;
        }
        const bool isFile = file.m_Path.size() == path.size();
        m_Directory = isFile ? Path(path.begin(), path.end() - 1) : path;
        m_File = isFile ? path : Path();
        return true;
    }
    return false;
}

Bytes CardFileSystem::ReadBinary(const Card& card, const Command& command) const {
    if ((command.m_P1 & 0x80) != 0) { // short file ids are not in use on these cards
        return Status(SW_WRONG_PARAMETERS);
    }
    if (!command.m_Data.empty() || !command.m_Le) {
        return Status(SW_WRONG_LENGTH);
    }
    const auto file = std::find_if(card.m_Record.m_Files.begin(), card.m_Record.m_Files.end(),
                                   [this](const CardFileRecord& record) { return record.m_Path == m_File; });
    if (m_File.empty() || file == card.m_Record.m_Files.end()) {
        return Status(SW_NO_FILE_SELECTED);
    }
    const Bytes& content = card.Content(file->m_File);
    const std::size_t offset = static_cast<std::size_t>(command.m_P1 << 8 | command.m_P2);
    if (offset > content.size()) {
        return Status(SW_WRONG_OFFSET);
    }
    const Bytes data = Slice(content, offset, command.Expected());
    const bool isShort = *command.m_Le != 0 && data.size() < command.Expected();
    return Answer(data, isShort ? SW_END_REACHED : SW_OK);
}

} // namespace orselsim
