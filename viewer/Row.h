// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_ROW_H
#define ORSEL_VIEWER_ROW_H

#include <string>
#include <vector>

#include <wx/string.h>

namespace viewer {

/// One line of what a certificate says: a heading, or a label with a value. Values that are bytes are written
/// out only when somebody looks at them, and no further than he can see: an extension may have megabytes.
class Row {
public:
    static Row Heading(const wxString& label);
    /// `text` is UTF-8 that VisibleText has been through.
    static Row OfText(const wxString& label, const std::string& text);
    static Row OfBytes(const wxString& label, std::vector<unsigned char> bytes);

    const wxString& Label() const { return m_Label; }
    bool IsHeading() const { return m_IsHeading; }
    /// Bytes as "AB:CD"; "…" stands for what is beyond so many bytes of UTF-8.
    std::string Value(std::size_t limit = std::string::npos) const;
    /// Like Value, with a line end and this indentation behind every so many bytes of a value that is bytes.
    std::string WrappedValue(std::size_t bytesInALine, const std::string& indentation,
                             std::size_t limit) const;

private:
    Row(const wxString& label, const std::string& text, std::vector<unsigned char> bytes, bool isHeading);

    wxString m_Label;
    std::string m_Text;
    std::vector<unsigned char> m_Bytes; ///< stand instead of a text
    bool m_IsHeading;
};

} // namespace viewer

#endif
