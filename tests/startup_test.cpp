// How a start relays to a temporary copy, ends older launchers and opens the application. The processes are
// real.
#include <QApplication>
#include <QDir>
#include <QTimer>

#include "mainwindow/mainwindow.h"
#include "startup/application.h"
#include "startup/launchercontext.h"
#include "startup/strings.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
QStringList coloursSeen;
bool windowWasVisible = false;

// Qt calls this in the constructor of the application object.
void LookAtTheApplicationAndQuit()
{
    QTimer::singleShot(100, qApp, [] {
        const QPalette palette = QApplication::palette();
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            coloursSeen += palette.color(group, QPalette::Button).name() + " and " +
                           palette.color(group, QPalette::ButtonText).name();
        windowWasVisible = LauncherContext::Instance().window->isVisible();
        QCoreApplication::quit();
    });
}
} // namespace

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void theApplicationIsDarkAndIsTornDownWhole()
    {
        const TemporaryTree tree;
        const QString start = QDir::currentPath();
        const std::string folder = "Game/TessaloomLauncher/Release/" + tempFolderStem + "1/";
        QVERIFY(WriteTree(tree.Root(), {{folder, ""}}) && QDir::setCurrent(tree.Path(folder).c_str()));
        fileListUrl = "http://127.0.0.1:1/";
        patchNotesUrl = "about:blank";
        qAddPreRoutine(LookAtTheApplicationAndQuit);
        LauncherContext& context = LauncherContext::Instance();
        RunApplication(context);
        QDir::setCurrent(start);
        const QString enabled = "#353535 and #ffffff";
        QCOMPARE(coloursSeen, QStringList({enabled, enabled, "#787878 and #c8c8c8"}));
        QVERIFY(windowWasVisible && context.closing && !context.window && !context.application);
    }
};

// Without an application object, as the launcher starts.
QTEST_APPLESS_MAIN(StartupTest)
#include "startup_test.moc"
