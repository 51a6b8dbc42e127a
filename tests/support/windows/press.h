// Presses buttons in windows by the messages that a click sends, in Windows' own boxes too.
#pragma once

#include <QStringList>

#include "platform/platform.h"

// The visible window whose title begins so; null if there is none yet.
inline HWND FindTitled(const QString& title)
{
    for (HWND window = nullptr; (window = FindWindowExA(nullptr, window, nullptr, nullptr));) {
        char text[1000] = "";
        GetWindowTextA(window, text, sizeof(text));
        if (IsWindowVisible(window) && QString(text).startsWith(title))
            return window;
    }
    return nullptr;
}

// Press Play, or the only button of the box whose title begins so, in another program. False if there is none
// yet.
inline bool PressPlay()
{
    const HWND window = FindTitled("Tessaloom Launcher");
    return window && PostMessageA(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(686, 425)) &&
           PostMessageA(window, WM_LBUTTONUP, 0, MAKELPARAM(686, 425));
}
inline bool PressBox(const QString& title)
{
    const HWND box = FindTitled(title);
    return box && PostMessageA(box, WM_COMMAND, IDOK, 0);
}
