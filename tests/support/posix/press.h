// Presses buttons in windows: those of other programs by xdotool, this program's own box through its widget.
#pragma once

#include <QApplication>
#include <QMessageBox>
#include <QProcess>

// Lets xdotool do this to the visible window whose title begins so. False if there is none yet.
inline bool PressWindow(const QString& title, const QStringList& what)
{
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

// Title and text of the error box that this program shows; empty if there is none. The box closes at the next
// event.
inline QStringList CloseOwnBox()
{
    auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box || box->icon() != QMessageBox::Critical || box->textFormat() != Qt::PlainText)
        return {};
    QMetaObject::invokeMethod(box, "accept", Qt::QueuedConnection);
    return {box->windowTitle(), box->text()};
}
