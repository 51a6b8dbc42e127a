// Presses buttons in the windows of other programs, by xdotool.
#pragma once

#include <QProcess>
#include <QRegularExpression>

// Lets xdotool do this to the visible window whose title begins so. False if there is none yet.
inline bool PressWindow(QString title, const QStringList& what)
{
    title.replace(QRegularExpression("[^ 0-9A-Za-z]"), ".+"); // which is a regular expression
    const QStringList search = {"search", "--onlyvisible", "--name", "^" + title};
    return QProcess::execute("xdotool", search + what) == 0;
}

// Press Play, or the only button of the box whose title begins so, in another program. Results as above.
inline bool PressPlay()
{
    return PressWindow("Tessaloom Launcher", {"mousemove", "--window", "%1", "686", "425", "click", "1"});
}
inline bool PressBox(const QString& title)
{
    return PressWindow(title, {"windowfocus", "--sync", "%1", "key", "--window", "0", "Return"});
}
