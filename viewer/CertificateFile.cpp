// SPDX-License-Identifier: MIT
#include "viewer/CertificateFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/I18N.h"
#include "foundation/StringUtils.h"
#include "viewer/VisibleText.h"

namespace viewer {

namespace {

/// A descriptor that is closed with its object.
class Descriptor {
public:
    explicit Descriptor(int number) : m_Number(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete; // one descriptor, one owner
    Descriptor& operator=(const Descriptor&) = delete;

    int Number() const { return m_Number; }
    bool IsOpen() const { return m_Number != -1; }
    /// Whether everything has reached the file.
    bool Close() {
        const int number = m_Number;
        m_Number = -1;
        return number == -1 || close(number) == 0;
    }

private:
    int m_Number;
};

wxString About(const wxString& sentence, const std::string& path) {
    return wxString::Format(sentence, VisiblePath(path));
}

wxString WithReason(const wxString& sentence, const std::string& path, int error) {
    return wxString::Format(sentence, VisiblePath(path), FromUtf8(VisibleText(std::strerror(error))));
}

/// Whether everything could be read; one byte more than the limit is enough to know that it is too much.
bool ReadAll(int descriptor, std::string& content) {
    constexpr std::size_t BLOCK = 1024UL * 1024;
    std::size_t size = 0;
    while (size <= LARGEST_FILE) {
        content.resize(size + BLOCK);
        const ssize_t count = read(descriptor, &content[size], BLOCK);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            content.resize(size);
            return count == 0;
        }
        size += static_cast<std::size_t>(count);
    }
    return true;
}

wxString ReadFile(const std::string& path, std::string& content) {
    // Opening a pipe that nobody writes to would wait forever.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat info {};
    if (!file.IsOpen() || fstat(file.Number(), &info) != 0) {
        return errno == ENOENT ? About(Translate("Die Datei „%s“ gibt es nicht."), path)
                               : WithReason(Translate("Die Datei „%s“ ist nicht lesbar: %s"), path, errno);
    }
    if (!S_ISREG(info.st_mode)) {
        return About(Translate("„%s“ ist keine gewöhnliche Datei."), path);
    }
    if (!ReadAll(file.Number(), content)) {
        return WithReason(Translate("Die Datei „%s“ ist nicht lesbar: %s"), path, errno);
    }
    if (content.size() > LARGEST_FILE) {
        return About(Translate("Die Datei „%s“ ist zu groß für ein Zertifikat."), path);
    }
    return content.empty() ? About(Translate("Die Datei „%s“ ist leer."), path) : wxString();
}

bool Parse(const std::string& content, Velmor::slCertificate& out) {
    constexpr char SEQUENCE =
        0x30; // every DER certificate begins with it; so does a text that begins with "0"
    if (content.front() == SEQUENCE) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(content.data());
        if (out.LoadFromBuffer(bytes, static_cast<unsigned int>(content.size()))) {
            return true;
        }
    }
    return out.LoadFromB64(content);
}

bool WriteAll(int descriptor, const std::string& content) {
    for (std::size_t done = 0; done < content.size();) {
        const ssize_t count = write(descriptor, &content[done], content.size() - done);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return true;
}

/// What a new file of this process may be read and written by.
mode_t NewFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

/// By way of a file beside it, so that an old one is lost only when the new one is whole.
bool ReplaceFile(const std::string& path, const std::string& content) {
    std::string beside = path + ".XXXXXX";
    Descriptor file(mkstemp(beside.data()));
    if (!file.IsOpen()) {
        return false;
    }
    if (WriteAll(file.Number(), content) && fchmod(file.Number(), NewFileMode()) == 0 && file.Close() &&
        rename(beside.c_str(), path.c_str()) == 0) {
        return true;
    }
    const int error = errno;
    unlink(beside.c_str());
    errno = error;
    return false;
}

/// A path that is the ending alone has no name before it.
bool EndsIn(const std::string& path, const std::string& ending) {
    return path.size() > ending.size() && Velmor::nocase_EndsWith(path, ending);
}

} // namespace

wxString LoadCertificate(const std::string& path, Velmor::slCertificate& out) {
    std::string content;
    const wxString failure = ReadFile(path, content);
    if (!failure.empty()) {
        return failure;
    }
    return Parse(content, out)
               ? wxString()
               : About(Translate("Die Datei „%s“ enthält kein Zertifikat, oder nicht das ganze."), path);
}

FileForm FormOf(const std::string& path, FileForm chosen) {
    if (EndsIn(path, ".pem")) {
        return FileForm::PEM;
    }
    return EndsIn(path, ".der") ? FileForm::DER : chosen;
}

wxString SaveCertificate(const std::string& path, FileForm form, const Velmor::slCertificate& certificate) {
    const std::vector<unsigned char> der = certificate.ToBin();
    const std::string content =
        form == FileForm::PEM ? certificate.ToPem() : std::string(der.begin(), der.end());
    return ReplaceFile(path, content)
               ? wxString()
               : WithReason(Translate("Die Datei „%s“ kann nicht geschrieben werden: %s"), path, errno);
}

wxString VisiblePath(const std::string& path) {
    return FromUtf8(CutText(VisibleText(path), 300));
}

} // namespace viewer
