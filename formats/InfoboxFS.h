// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_INFOBOXFS_H
#define ORSEL_FORMATS_INFOBOXFS_H

#include <memory>
#include <string>
#include <vector>

#include "formats/InfoboxFsEntry.h"
#include "formats/Uncopyable.h"

namespace LibInfobox {

/// Tags of the entries that have a label.
inline constexpr unsigned char PERSONENBINDUNG_INDEX = 1;
inline constexpr unsigned char RFU1_INDEX = 2;
inline constexpr unsigned char RFU2_INDEX = 3;

/// The labels of these entries.
inline constexpr char IDENTITY_LINK_LABEL[] = "PERSONENBINDUNG";
inline constexpr char RFU1_LABEL[] = "RFU1";
inline constexpr char RFU2_LABEL[] = "RFU2";

/// Attribute: the data object of the entry is stored encrypted.
inline constexpr unsigned char INFOBOX_ATTR_ENCRYPTED = 1;

/// The directory of a card's infobox area in memory: tagged entries in the order of the file.
///
/// A file is "VIK", a version byte, and the entries, each of a tag, an attribute byte, two bytes of length,
/// least significant first, and the data. A tag of 0 ends it.
///
/// Not for several threads at once.
class InfoboxFS : public Uncopyable {
public:
    InfoboxFS() = default;
    ~InfoboxFS() override = default;

    void Clear();
    int GetEntryCount() const;
    /// Position of the first entry with this tag. If there is none, `id` is the number of entries.
    bool GetEntryId(unsigned char tag, unsigned int& id) const;
    bool HasEntry(unsigned char tag) const;
    bool HasEntry(std::string label) const;
    /// Replaces both outputs with those of the first entry with this tag. If there is none, both stay
    /// untouched.
    bool GetEntry(unsigned char tag, unsigned char& attributes, Velmor::ByteArray& data) const;

    /// 1 for "PERSONENBINDUNG", 2 for "RFU", 0 for everything else, "RFU1" and "RFU2" included.
    int LabelToTag(std::string label) const;
    /// "PERSONENBINDUNG" for 1, "RFU1" for 2, "RFU2" for everything else.
    std::string TagToLabel(unsigned char tag) const;

    /// Appends the entries of a file to those that are there: clear before. False for a file that is not of
    /// this format or version, and for an entry that overruns it: the entries before that one stay.
    bool ParseInfoboxData(Velmor::ByteArray& file);
    /// The same from a position in the file on, without its head.
    bool ReadDataField(Velmor::ByteArray& file, unsigned long position);
    /// Tags of all entries, in order, as often as they occur.
    std::vector<unsigned char> GetTagList() const;
    /// Appends the file to `out`. Data of more than 65535 bytes makes it unreadable. Always true.
    bool GetCompleteFile(Velmor::ByteArray& out) const;
    /// Replaces the first entry with this tag in its place, or appends one. Always true.
    bool AddEntry(unsigned char tag, unsigned char attributes, Velmor::ByteArray& data);

protected:
    std::vector<std::shared_ptr<InfoboxFSEntry>> m_Entries; ///< empty pointers are passed over
};

} // namespace LibInfobox

#endif
