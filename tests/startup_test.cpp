// How a start is claimed, and how the application opens. The rest of a start is seen on the whole road.
#include <future>

#include <QtWidgets>

#include "gametree/strings.h"
#include "mainwindow/mainwindow.h"
#include "processes/processtable.h"
#include "startup/application.h"
#include "startup/launchercontext.h"
#include "startup/startclaim.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

using namespace std::chrono_literals;

class StartupTest : public QObject
{
    Q_OBJECT

    static constexpr char foreignPlugins[] = "/somebody's/plugins";

    // What was seen while the application ran.
    static inline QStringList colours;
    static inline QString pluginFolder;
    static inline bool windowWasComplete = false;
    static inline std::future<QString> folderDuringTheWait;

private slots:
    // Runs the application once, beside a refused start that lasts. Qt calls the function in the constructor
    // of the application object.
    void initTestCase()
    {
        const TemporaryTree tree;
        const ChildProcess refused(tree.Path(ProcessName(GetCurrentProcessId())));
        const std::string folder = "Game/TessaloomLauncher/Release/" + tempFolderStem + "1/";
        QVERIFY(WriteTree(tree.Root(), {{folder, ""}}) && QDir::setCurrent(tree.Path(folder).c_str()));
        fileListUrl = "http://127.0.0.1:1/";
        patchNotesUrl = "about:blank";
        qputenv("QT_QPA_PLATFORM_PLUGIN_PATH", foreignPlugins);
        qAddPreRoutine([] {
            folderDuringTheWait = std::async(std::launch::async, [] {
                QThread::msleep(500);
                return QDir::current().dirName();
            });
            QTimer::singleShot(100, qApp, [] {
                const QPalette palette = QApplication::palette();
                for (const auto group : {QPalette::Active, QPalette::Disabled})
                    for (const auto role : {QPalette::Window, QPalette::Button, QPalette::ButtonText})
                        colours += palette.color(group, role).name();
                const MainWindow& window = *LauncherContext::Instance().window;
                windowWasComplete =
                    window.isVisible() && (IsWindows || !window.windowIcon().availableSizes().isEmpty());
                pluginFolder = QDir(QCoreApplication::libraryPaths().first()).dirName();
                QCoreApplication::quit();
            });
        });
        RunApplication(LauncherContext::Instance());
        QVERIFY(windowWasComplete);
    }

    // Until then they would count as a running game, and the window asks for that once.
    void theWindowComesAfterRefusedStartsHaveEnded()
    {
        QCOMPARE(folderDuringTheWait.get(), QString((tempFolderStem + "1").c_str()));
    }

    void theApplicationIsDark()
    {
        QCOMPARE(colours, QStringList({"#353535", "#353535", "#ffffff", "#353535", "#787878", "#c8c8c8"}));
    }

    // Another program has set the variable for the whole system. The game inherits it.
    void theLaunchersOwnPluginsAreUsed()
    {
        QCOMPARE(pluginFolder, QString((tempFolderStem + "1").c_str()));
        QCOMPARE(qgetenv("QT_QPA_PLATFORM_PLUGIN_PATH").constData(), foreignPlugins);
    }

    // The last one, since the temporary folder that it sets is deleted with it.
    void aYoungClaimRefusesAStartWhileAnotherInstanceRuns()
    {
        const TemporaryTree tree, temporary;
        ChildProcess other(tree.Path(ProcessName(GetCurrentProcessId())));
        qputenv(TemporaryFolderVariable, temporary.Root().c_str());
        const std::string launcherFolder = temporary.WindowsRoot();
        QVERIFY(ClaimStart(launcherFolder) && ClaimStart(launcherFolder + "\\x"));
        EndStartClaim(launcherFolder + "\\x\\");
        const QDir claims(temporary.Root().c_str(), {}, {}, QDir::Files);
        QCOMPARE(claims.count(), 1u);
        QFile claim(claims.filePath(claims[0]));
        const auto age = [&] { return QFileInfo(claim).lastModified().secsTo(QDateTime::currentDateTime()); };
        for (const int seconds : {32, -32, 28}) {
            claim.open(QIODevice::ReadWrite);
            claim.setFileTime(QDateTime::currentDateTime().addSecs(-seconds),
                              QFileDevice::FileModificationTime);
            claim.close();
            const bool isYoung = seconds == 28;
            QCOMPARE(ClaimStart(launcherFolder), !isYoung);
            QCOMPARE(qAbs(age()) < 20, !isYoung);
        }
        // The refused start keeps the claim open to its end. The next one waits for that, but not for ever.
        QElapsedTimer timer;
        timer.start();
        QVERIFY(ClaimStart(launcherFolder) && timer.elapsed() > 1500);

        auto waited = std::async(std::launch::async, WaitForRefusedStarts);
        QVERIFY(waited.wait_for(200ms) == std::future_status::timeout);
        other.kill();
        QVERIFY(other.waitForFinished(5000));
        QVERIFY(waited.wait_for(500ms) == std::future_status::ready); // not the complete second
    }
};

// Without an application object, as the launcher starts.
QTEST_APPLESS_MAIN(StartupTest)
#include "startup_test.moc"
