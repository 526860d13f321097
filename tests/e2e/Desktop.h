// SPDX-License-Identifier: MIT
// What a person sees and does: pictures found on the screen, real pointer and key events.
#ifndef ORSEL_TESTS_E2E_DESKTOP_H
#define ORSEL_TESTS_E2E_DESKTOP_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace desktop {

struct Point {
    int x;
    int y;
};

/// What the screen shows, three bytes a pixel.
class Screen {
public:
    /// Photographs the whole display.
    static Screen capture();

    /// Places of a picture, their upper left corners from top to bottom. Nearly all of its visible pixels
    /// must be there: the frame around a selected row covers a few.
    std::vector<Point> find(const char* const* xpm) const;

    /// Whether a rectangle looks the same on another picture of the display, but for a hundredth of it.
    bool looksLike(const Screen& other, Point upperLeft, Point lowerRight) const;

    int width() const { return m_width; }
    int height() const { return m_height; }

private:
    bool shows(const struct Pixel& pixel, int x, int y) const;
    bool matches(const std::vector<struct Pixel>& picture, int x, int y) const;

    int m_width = 0;
    int m_height = 0;
    std::vector<unsigned char> m_bytes;
};

/// Moves the pointer there and presses its left button.
void click(Point point);
void rightClick(Point point);
void doubleClick(Point point);

/// Moves the pointer there.
void pointAt(Point point);

/// Presses keys by their X names, such as "ctrl+c".
void press(const std::string& keys);

/// Ids of the visible windows whose title matches a regular expression.
std::vector<std::string> windows(const std::string& title);

/// Upper left corner of a visible window's content on the display, if there is one whose title matches.
std::optional<Point> placeOf(const std::string& title);

/// What was copied last.
std::string clipboard();
void emptyClipboard();

/// Asks a window to close, as a person does with Alt and F4. A window that is busy may not hear it.
void close(const std::string& window);

/// Asks all windows of a title to close, and those that stay once more, until there is none. False when
/// nothing helps.
bool closeAll(const std::string& title);

/// Output of a shell command without its last line end.
std::string outputOf(const std::string& command);

/// Waits until the condition holds; false after that many seconds without it.
bool waitFor(const std::function<bool()>& condition, int seconds = 20);

/// Acts and waits until the effect shows. A press is lost on a window that is busy at that moment: when the
/// program has answered behind it and there is no effect, it acts again. `window` is one of the program's.
/// False when nothing helps.
bool actUntil(const std::string& window, const std::function<void()>& act,
              const std::function<bool()>& hasEffect);

} // namespace desktop

#endif
