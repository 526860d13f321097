// SPDX-License-Identifier: MIT
// From the start of the certificate viewer until the window manager has its window, on certificates beyond
// all reason beside an ordinary one: one extension of 10 MB, and 10,000 alternative names. The limit is twice
// the time. Needs a display with a window manager.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "bench/Comparison.h"
#include "bench/WindowClock.h"
#include "formats/slCertificate.h"
#include "tests/support/CertificateBuilder.h"

namespace {

constexpr int RUNS = 15;
constexpr double LIMIT = 2;

std::string Write(const std::filesystem::path& path, const CertificateBuilder& builder) {
    const auto der = builder.Der();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(der.data()), static_cast<std::streamsize>(der.size()));
    return path.string();
}

std::string TenThousandNames() {
    std::string names;
    for (int i = 0; i < 10000; ++i) {
        names += (i == 0 ? "DNS:n" : ",DNS:n") + std::to_string(i) + ".example";
    }
    return names;
}

void Measure(Desktop& desktop, const char* what, const std::string& ordinary, const std::string& large) {
    std::vector<double> ordinaryTimes;
    std::vector<double> largeTimes;
    MillisecondsToTheWindow(desktop, CERTVIEWER, ordinary); // both warm
    MillisecondsToTheWindow(desktop, CERTVIEWER, large);
    for (int run = 0; run < RUNS; ++run) {
        ordinaryTimes.push_back(MillisecondsToTheWindow(desktop, CERTVIEWER, ordinary));
        largeTimes.push_back(MillisecondsToTheWindow(desktop, CERTVIEWER, large));
    }
    const double few = Median(ordinaryTimes);
    const double many = Median(largeTimes);
    PrintRow(
        {what, Number(few, 1) + " ms", Number(many, 1) + " ms", Number(many / few, 2), Number(LIMIT, 1)});
}

} // namespace

int main() {
    const auto folder = std::filesystem::temp_directory_path() / "orsel_viewer_bench";
    std::filesystem::create_directories(folder);
    setenv("HOME", folder.c_str(), 1);
    int result = 0;
    try {
        Desktop desktop;
        PrintHead({"What", "Ordinary certificate", "This one", "Ratio", "Limit"});
        const std::string ordinary = Write(folder / "ordinary.der", CertificateBuilder());
        const std::vector<unsigned char> tenMegabytes(10UL * 1024 * 1024, 0xab);
        Measure(desktop, "extension of 10 MB", ordinary,
                Write(folder / "large.der", CertificateBuilder().RawExtension("1.2.3.4", tenMegabytes)));
        Measure(desktop, "10,000 names", ordinary,
                Write(folder / "names.der",
                      CertificateBuilder().Extension("subjectAltName", TenThousandNames())));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Viewer_bench: %s\n", error.what());
        result = 1;
    }
    std::filesystem::remove_all(folder);
    return result;
}
