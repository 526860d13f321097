// SPDX-License-Identifier: MIT
#include "tests/e2e/Desktop.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "tests/e2e/Answer.h"

namespace desktop {

/// One visible pixel of a picture.
struct Pixel {
    int m_X;
    int m_Y;
    std::array<unsigned char, 3> m_Colour;
};

namespace {

std::array<unsigned char, 3> ColourOf(const std::string& text) {
    const unsigned long value = std::stoul(text.substr(1), nullptr, 16);
    return {static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8 & 0xFF),
            static_cast<unsigned char>(value & 0xFF)};
}

std::vector<Pixel> VisiblePixels(const char* const* xpm) {
    int width = 0;
    int height = 0;
    int colours = 0;
    size_t keyLength = 0;
    std::istringstream(xpm[0]) >> width >> height >> colours >> keyLength;
    std::map<std::string, std::array<unsigned char, 3>> palette;
    for (int i = 1; i <= colours; ++i) {
        const std::string row = xpm[i];
        const std::string colour = row.substr(row.rfind(' ') + 1);
        if (colour != "None") {
            palette[row.substr(0, keyLength)] = ColourOf(colour);
        }
    }
    std::vector<Pixel> pixels;
    for (int y = 0; y < height; ++y) {
        const std::string row = xpm[1 + colours + y];
        for (int x = 0; x < width; ++x) {
            const auto colour = palette.find(row.substr(static_cast<size_t>(x) * keyLength, keyLength));
            if (colour != palette.end()) {
                pixels.push_back({x, y, colour->second});
            }
        }
    }
    return pixels;
}

/// Near enough for an icon that has just begun to fade.
bool IsClose(const unsigned char* a, const unsigned char* b) {
    return std::abs(a[0] - b[0]) <= 24 && std::abs(a[1] - b[1]) <= 24 && std::abs(a[2] - b[2]) <= 24;
}

std::string At(Point point) {
    return "mousemove " + std::to_string(point.m_X) + " " + std::to_string(point.m_Y) + " ";
}

void Xdotool(const std::string& arguments) {
    OutputOf("timeout 5 xdotool " + arguments + " 2>/dev/null");
}

} // namespace

Screen Screen::Capture() {
    const std::string ppm = OutputOf("import -silent -window root -depth 8 ppm:-");
    Screen screen;
    std::istringstream in(ppm);
    std::string magic;
    int maximum = 0;
    in >> magic >> screen.m_Width >> screen.m_Height >> maximum;
    const auto start = static_cast<size_t>(in.tellg()) + 1;
    const size_t size = static_cast<size_t>(screen.m_Width) * static_cast<size_t>(screen.m_Height) * 3;
    if (magic != "P6" || ppm.size() < start + size) {
        throw std::runtime_error("no picture of the screen");
    }
    screen.m_Bytes.assign(ppm.begin() + static_cast<std::ptrdiff_t>(start),
                          ppm.begin() + static_cast<std::ptrdiff_t>(start + size));
    return screen;
}

bool Screen::Shows(const Pixel& pixel, int x, int y) const {
    const int column = x + pixel.m_X;
    const int row = y + pixel.m_Y;
    if (column >= m_Width || row >= m_Height) {
        return false;
    }
    const size_t offset =
        3 * (static_cast<size_t>(row) * static_cast<size_t>(m_Width) + static_cast<size_t>(column));
    return IsClose(&m_Bytes[offset], pixel.m_Colour.data());
}

/// A place where none of a few pixels out of all parts of the picture is right is passed over at once: most
/// are.
bool Screen::Matches(const std::vector<Pixel>& picture, int x, int y) const {
    const size_t stride = picture.size() / 5 + 1;
    bool isLikely = false;
    for (size_t i = stride / 2; i < picture.size() && !isLikely; i += stride) {
        isLikely = Shows(picture[i], x, y);
    }
    size_t misses = 0;
    for (size_t i = 0; i < picture.size() && isLikely; ++i) {
        if (!Shows(picture[i], x, y) && ++misses * 20 > picture.size()) {
            isLikely = false;
        }
    }
    return isLikely;
}

std::vector<Point> Screen::Find(const char* const* xpm) const {
    const std::vector<Pixel> picture = VisiblePixels(xpm);
    std::vector<Point> places;
    for (int y = 0; y < m_Height; ++y) {
        for (int x = 0; x < m_Width; ++x) {
            if (Matches(picture, x, y)) {
                places.push_back({x, y});
            }
        }
    }
    return places;
}

bool Screen::LooksLike(const Screen& other, Point upperLeft, Point lowerRight) const {
    if (m_Bytes.size() != other.m_Bytes.size()) {
        return false;
    }
    int differences = 0;
    for (int y = upperLeft.m_Y; y < lowerRight.m_Y; ++y) {
        for (int x = upperLeft.m_X; x < lowerRight.m_X; ++x) {
            const auto offset = 3 * static_cast<size_t>(y * m_Width + x);
            differences += IsClose(&m_Bytes[offset], &other.m_Bytes[offset]) ? 0 : 1;
        }
    }
    return differences * 100 < (lowerRight.m_X - upperLeft.m_X) * (lowerRight.m_Y - upperLeft.m_Y);
}

void PointAt(Point point) {
    Xdotool(At(point));
}

void Click(Point point) {
    Xdotool(At(point) + "sleep 0.1 click 1");
}

void RightClick(Point point) {
    Xdotool(At(point) + "sleep 0.1 click 3");
}

void DoubleClick(Point point) {
    Xdotool(At(point) + "sleep 0.1 click --repeat 2 --delay 60 1");
}

void Press(const std::string& keys) {
    Xdotool("key --clearmodifiers " + keys);
}

static std::vector<std::string> Search(const std::string& options) {
    std::istringstream ids(OutputOf("xdotool search " + options + " 2>/dev/null"));
    std::vector<std::string> found;
    std::string id;
    while (ids >> id) {
        found.push_back(id);
    }
    return found;
}

std::vector<std::string> Windows(const std::string& title) {
    return Search("--onlyvisible --name '" + title + "'");
}

std::optional<Point> PlaceOf(const std::string& title) {
    const std::vector<std::string> ids = Windows(title);
    if (ids.empty()) {
        return std::nullopt;
    }
    // The corner without the window manager's frame, which xdotool does not tell.
    std::istringstream words(OutputOf("xwininfo -id " + ids.front() +
                                      " 2>/dev/null | sed -n 's/.*Absolute upper-left [XY]: *//p'"));
    Point place = {};
    if (!(words >> place.m_X >> place.m_Y)) {
        return std::nullopt;
    }
    return place;
}

std::string Clipboard() {
    return OutputOf("timeout 5 xclip -out -selection clipboard 2>/dev/null");
}

void EmptyClipboard() {
    OutputOf("timeout 5 xclip -in -selection clipboard </dev/null >/dev/null 2>&1");
}

void Close(const std::string& window) {
    Xdotool("windowactivate --sync " + window + " key --clearmodifiers alt+F4");
}

// A window is off the screen for a moment while it is first shown: what was closed is there no more at all.
bool CloseAll(const std::string& title) {
    const auto areGone = [&title] { return Search("--name '" + title + "'").empty(); };
    for (int attempt = 0; attempt < 20; ++attempt) {
        for (const std::string& window : Windows(title)) {
            Close(window);
        }
        if (WaitFor(areGone, 3)) {
            return true;
        }
    }
    return false;
}

std::string OutputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run: " + command);
    }
    std::string output;
    std::array<char, 65536> block;
    size_t read = 0;
    while ((read = std::fread(block.data(), 1, block.size(), pipe.get())) > 0) {
        output.append(block.data(), read);
    }
    if (!output.empty() && output.back() == '\n') {
        output.pop_back();
    }
    return output;
}

bool WaitFor(const std::function<bool()>& condition, int seconds) {
    const char* const patience = std::getenv("ORSEL_PATIENCE");
    const auto time = std::chrono::seconds(seconds) * (patience != nullptr ? std::atoi(patience) : 1);
    const auto end = std::chrono::steady_clock::now() + time;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    return true;
}

bool ActUntil(const std::string& window, const std::function<void()>& act,
              const std::function<bool()>& hasEffect) {
    for (int attempt = 0; attempt < 4; ++attempt) {
        act();
        // By its first answer the program has read the press, by its second it has dealt with it.
        for (int answer = 0; answer < 2; ++answer) {
            if (!WaitForAnswer(window)) {
                return false;
            }
            if (WaitFor(hasEffect, 3)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace desktop
