// SPDX-License-Identifier: MIT
#include "tests/e2e/Answer.h"

#include <memory>

#include <X11/Xlib.h>

#include "tests/e2e/Desktop.h"

namespace desktop {

namespace {

using Connection = std::unique_ptr<Display, int (*)(Display*)>;

/// A window may be gone by the time that it is asked.
int PassOver(Display*, XErrorEvent*) {
    return 0;
}

XClientMessageEvent QuestionTo(Display* display, Window window) {
    static long number = 0;
    XClientMessageEvent question = {};
    question.type = ClientMessage;
    question.window = window;
    question.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    question.format = 32;
    question.data.l[0] = static_cast<long>(XInternAtom(display, "_NET_WM_PING", False));
    question.data.l[1] = ++number; // comes back with the answer
    question.data.l[2] = static_cast<long>(window);
    return question;
}

/// The answer is the same message, sent to the root window.
bool HasAnswered(Display* display, const XClientMessageEvent& question) {
    while (XPending(display) > 0) {
        XEvent event = {};
        XNextEvent(display, &event);
        if (event.type == ClientMessage && event.xclient.message_type == question.message_type &&
            event.xclient.data.l[0] == question.data.l[0] && event.xclient.data.l[1] == question.data.l[1]) {
            return true;
        }
    }
    return false;
}

} // namespace

bool WaitForAnswer(const std::string& window) {
    XSetErrorHandler(&PassOver);
    const Connection connection(XOpenDisplay(nullptr), &XCloseDisplay);
    Display* const display = connection.get();
    if (display == nullptr) {
        return false;
    }
    XSelectInput(display, DefaultRootWindow(display), SubstructureNotifyMask);
    XEvent event = {};
    event.xclient = QuestionTo(display, std::stoul(window));
    const XClientMessageEvent question = event.xclient;
    XSendEvent(display, question.window, False, NoEventMask, &event);
    XSync(display, False);
    return WaitFor([&] { return HasAnswered(display, question); }, 60);
}

} // namespace desktop
