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
    int m_X;
    int m_Y;
};

/// What the screen shows, three bytes a pixel.
class Screen {
public:
    /// Photographs the whole display.
    static Screen Capture();

    /// Places of a picture, their upper left corners from top to bottom. Nearly all of its visible pixels
    /// must be there: the frame around a selected row covers a few.
    std::vector<Point> Find(const char* const* xpm) const;

    /// Whether a rectangle looks the same on another picture of the display, but for a hundredth of it.
    bool LooksLike(const Screen& other, Point upperLeft, Point lowerRight) const;

    int Width() const { return m_Width; }
    int Height() const { return m_Height; }

private:
    bool Shows(const struct Pixel& pixel, int x, int y) const;
    bool Matches(const std::vector<struct Pixel>& picture, int x, int y) const;

    int m_Width = 0;
    int m_Height = 0;
    std::vector<unsigned char> m_Bytes;
};

/// Moves the pointer there and presses its left button.
void Click(Point point);
void RightClick(Point point);
void DoubleClick(Point point);

/// Moves the pointer there.
void PointAt(Point point);

/// Presses keys by their X names, such as "ctrl+c".
void Press(const std::string& keys);

/// Ids of the visible windows whose title matches a regular expression.
std::vector<std::string> Windows(const std::string& title);

/// Upper left corner of a visible window's content on the display, if there is one whose title matches.
std::optional<Point> PlaceOf(const std::string& title);

/// What was copied last.
std::string Clipboard();
void EmptyClipboard();

/// Asks a window to close, as a person does with Alt and F4. A window that is busy may not hear it.
void Close(const std::string& window);

/// Asks all windows of a title to close, and those that stay once more, until there is none. False when
/// nothing helps.
bool CloseAll(const std::string& title);

/// Output of a shell command without its last line end.
std::string OutputOf(const std::string& command);

/// Waits until the condition holds; false after that many seconds without it. A number in the environment's
/// ORSEL_PATIENCE makes each wait that many times as long, for a tool that slows the program down.
bool WaitFor(const std::function<bool()>& condition, int seconds = 20);

/// Acts and waits until the effect shows. A press is lost on a window that is busy at that moment: when the
/// program has answered behind it and there is no effect, it acts again. `window` is one of the program's.
/// False when nothing helps.
bool ActUntil(const std::string& window, const std::function<void()>& act,
              const std::function<bool()>& hasEffect);

} // namespace desktop

#endif
