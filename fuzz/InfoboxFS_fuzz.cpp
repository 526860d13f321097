// SPDX-License-Identifier: MIT
// Reads a container, writes it and reads it again.
#include "formats/InfoboxFS.h"

#include "fuzz/FuzzInput.h"

using Velmor::ByteArray;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteArray file(data, size);
    LibInfobox::InfoboxFS infobox;
    infobox.ParseInfoboxData(file);

    ByteArray written;
    Require(infobox.GetCompleteFile(written));
    written.push_back(0); // else an empty last entry is dropped
    LibInfobox::InfoboxFS again;
    Require(again.ParseInfoboxData(written));
    Require(again.GetTagList() == infobox.GetTagList());

    for (const unsigned char tag : infobox.GetTagList()) {
        unsigned char attributes = 0;
        ByteArray content;
        Require(infobox.GetEntry(tag, attributes, content));
        Require(infobox.HasEntry(tag));
        infobox.HasEntry(infobox.TagToLabel(tag));
        const int count = infobox.GetEntryCount();
        infobox.AddEntry(tag, attributes, content);
        Require(infobox.GetEntryCount() == count);
    }
    infobox.LabelToTag(TextOf(data, size));
    if (size > 0) {
        LibInfobox::InfoboxFS fields;
        fields.ReadDataField(file, data[0]);
    }
    return 0;
}
