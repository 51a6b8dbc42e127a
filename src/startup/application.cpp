#include "startup/application.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

#include "helpers/files.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"
#include "startup/launchercontext.h"
#include "startup/startclaim.h"

namespace {
QPalette DarkPalette()
{
    QPalette palette;
    palette.setColor(QPalette::All, QPalette::Window, QColor(53, 53, 53));
    palette.setColor(QPalette::All, QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::All, QPalette::Base, QColor(25, 25, 25));
    palette.setColor(QPalette::All, QPalette::AlternateBase, QColor(53, 53, 53));
    palette.setColor(QPalette::All, QPalette::ToolTipBase, Qt::white);
    palette.setColor(QPalette::All, QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::All, QPalette::Text, Qt::white);
    palette.setColor(QPalette::All, QPalette::BrightText, Qt::red);
    palette.setColor(QPalette::All, QPalette::Link, QColor(42, 130, 218));
    palette.setColor(QPalette::All, QPalette::Highlight, QColor(42, 130, 218));
    palette.setColor(QPalette::All, QPalette::HighlightedText, Qt::black);
    palette.setColor(QPalette::All, QPalette::Button, QColor(53, 53, 53));
    palette.setColor(QPalette::All, QPalette::ButtonText, Qt::white);
    // After the lines for all groups, which set this group too.
    palette.setColor(QPalette::Disabled, QPalette::Button, QColor(120, 120, 120));
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(200, 200, 200));
    return palette;
}

// Other programs set Qt's variables for the whole system, and the folders that they name hold the plugins of
// another Qt. The launcher's own stand in the temporary folder, which is the current directory.
QApplication* NewApplication(int& argumentCount)
{
    // Before those that QT_PLUGIN_PATH names.
    QCoreApplication::addLibraryPath(QString::fromLocal8Bit(NativePath(CurrentDirectory()).c_str()));
    // The folder that this one names would come before all others. Only the construction reads it.
    constexpr char variable[] = "QT_QPA_PLATFORM_PLUGIN_PATH";
    const QByteArray foreign = qgetenv(variable);
    qunsetenv(variable);
    auto* const application = new QApplication(argumentCount, nullptr);
    // The game and the next launcher inherit what the player's system says.
    if (!foreign.isNull())
        qputenv(variable, foreign);
    return application;
}
} // namespace

void RunApplication(LauncherContext& context)
{
    // Qt keeps a reference to the count, so it outlives the application. No command line reaches Qt.
    int argumentCount = 0;
    context.application = NewApplication(argumentCount);
    FixTextConventions();
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(DarkPalette());
    context.application->setStyleSheet(
        "QToolTip { color: #ffffff; background-color: #2a82da; border: 1px solid white; } "
        "QProgressBar::chunk { width: 1.0px; }");

    WaitForRefusedStarts();
    context.window = new MainWindow;
    context.window->show();
    // The window has moved the current directory to the installed launcher's folder.
    EndStartClaim(CurrentDirectory());
    QApplication::exec();

    // The order matters: the flag is set before the window's destructor runs, and the window is deleted
    // before the application.
    context.closing = true;
    delete context.window;
    context.window = nullptr;
    delete context.application;
    context.application = nullptr;
}
