// SPDX-License-Identifier: MIT
#include "simulator/token/CardFileSystem.h"

#include <algorithm>
#include <optional>

namespace orselsim {

namespace {

constexpr std::uint16_t rootId = 0x3F00;

constexpr std::uint16_t swOk = 0x9000;
constexpr std::uint16_t swEndReached = 0x6282; ///< fewer bytes than asked for
constexpr std::uint16_t swWrongLength = 0x6700;
constexpr std::uint16_t swNoFileSelected = 0x6986;
constexpr std::uint16_t swNoSuchFile = 0x6A82;
constexpr std::uint16_t swWrongParameters = 0x6A86;
constexpr std::uint16_t swWrongOffset = 0x6B00;
constexpr std::uint16_t swNoSuchInstruction = 0x6D00;
constexpr std::uint16_t swNoSuchClass = 0x6E00;

Bytes answer(Bytes data, std::uint16_t statusWord) {
    data.push_back(static_cast<unsigned char>(statusWord >> 8));
    data.push_back(static_cast<unsigned char>(statusWord & 0xFF));
    return data;
}

Bytes status(std::uint16_t statusWord) {
    return answer({}, statusWord);
}

Bytes slice(const Bytes& content, std::size_t offset, std::size_t size) {
    const auto begin = content.begin() + static_cast<std::ptrdiff_t>(offset);
    return Bytes(begin, begin + static_cast<std::ptrdiff_t>(std::min(size, content.size() - offset)));
}

bool startsWith(const std::vector<std::uint16_t>& path, const std::vector<std::uint16_t>& start) {
    return path.size() >= start.size() && std::equal(start.begin(), start.end(), path.begin());
}

} // namespace

/// A short command taken apart.
struct CardFileSystem::Command {
    unsigned char cla = 0;
    unsigned char ins = 0;
    unsigned char p1 = 0;
    unsigned char p2 = 0;
    Bytes data;
    std::optional<unsigned char> le; ///< nothing: no answer wanted

    /// A length byte of zero asks for as much as there is, up to 256 bytes.
    std::size_t expected() const { return le.value_or(0) == 0 ? 256 : *le; }

    /// The proprietary command that reads the number of the chip.
    bool asksForChipId() const { return cla == 0x80 && ins == 0xF6 && p1 == 0 && p2 == 0 && data.empty(); }

    /// Nothing when the length bytes do not fit the number of bytes.
    static std::optional<Command> parse(const Bytes& apdu);
};

std::optional<CardFileSystem::Command> CardFileSystem::Command::parse(const Bytes& apdu) {
    if (apdu.size() < 4)
        return std::nullopt;
    Command command;
    command.cla = apdu[0];
    command.ins = apdu[1];
    command.p1 = apdu[2];
    command.p2 = apdu[3];
    if (apdu.size() == 5)
        command.le = apdu[4];
    if (apdu.size() <= 5)
        return command;
    const std::size_t size = apdu[4];
    const std::size_t end = 5 + size;
    if (size == 0 || (apdu.size() != end && apdu.size() != end + 1))
        return std::nullopt;
    command.data = slice(apdu, 5, size);
    if (apdu.size() > end)
        command.le = apdu[end];
    return command;
}

void CardFileSystem::reset() {
    m_directory.clear();
    m_file.clear();
}

Bytes CardFileSystem::transmit(const Card& card, const Bytes& apdu) {
    const auto command = Command::parse(apdu);
    if (!command)
        return status(swWrongLength);
    if (!card.record.chipId.empty() && command->asksForChipId())
        return answer(slice(card.record.chipId, 0, command->expected()), swOk);
    if (command->cla != 0x00)
        return status(swNoSuchClass);
    switch (command->ins) {
    case 0xA4:
        return select(card, *command);
    case 0xB0:
        return readBinary(card, *command);
    default:
        return status(swNoSuchInstruction);
    }
}

// By file id, without a description of the file in the answer: the only form in use. An id is
// looked for in the selected directory first and then beside it, as the standard has it.
Bytes CardFileSystem::select(const Card& card, const Command& command) {
    if (command.p1 != 0x00 || command.p2 != 0x0C)
        return status(swWrongParameters);
    if (command.data.size() != 2)
        return status(swWrongLength);
    const auto id = static_cast<std::uint16_t>(command.data[0] << 8 | command.data[1]);
    if (id == rootId) {
        reset();
        return status(swOk);
    }
    Path child = m_directory;
    child.push_back(id);
    if (enter(card, child))
        return status(swOk);
    if (!m_directory.empty()) {
        Path sibling(m_directory.begin(), m_directory.end() - 1);
        sibling.push_back(id);
        if (enter(card, sibling))
            return status(swOk);
    }
    return status(swNoSuchFile);
}

bool CardFileSystem::enter(const Card& card, const Path& path) {
    for (const CardFileRecord& file : card.record.files) {
        if (!startsWith(file.path, path))
            continue;
        const bool isFile = file.path.size() == path.size();
        m_directory = isFile ? Path(path.begin(), path.end() - 1) : path;
        m_file = isFile ? path : Path();
        return true;
    }
    return false;
}

Bytes CardFileSystem::readBinary(const Card& card, const Command& command) const {
    if ((command.p1 & 0x80) != 0) // short file ids are not in use on these cards
        return status(swWrongParameters);
    if (!command.data.empty() || !command.le)
        return status(swWrongLength);
    const auto file = std::find_if(card.record.files.begin(), card.record.files.end(),
                                   [this](const CardFileRecord& record) { return record.path == m_file; });
    if (m_file.empty() || file == card.record.files.end())
        return status(swNoFileSelected);
    const Bytes& content = card.content(file->file);
    const std::size_t offset = static_cast<std::size_t>(command.p1 << 8 | command.p2);
    if (offset > content.size())
        return status(swWrongOffset);
    const Bytes data = slice(content, offset, command.expected());
    const bool isShort = *command.le != 0 && data.size() < command.expected();
    return answer(data, isShort ? swEndReached : swOk);
}

} // namespace orselsim
