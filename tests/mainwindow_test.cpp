// The window and its update cycle: which updates it refuses, its log and its tick, and how the program ends.
#include <QMetaEnum>
#include <QTextCodec>
#include <QWebEnginePage>

#include "support/childprocess.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    // The window would hang otherwise.
    void eventsAreProcessedWhileFilesAreChecked()
    {
        WindowUnderTest test;
        test.OpenStill();
        int rounds = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, [&] { ++rounds; });
        timer.start(0);
        QVERIFY(test.Process(QString("F#absent#1#x\n").repeated(300).toStdString()));
        QVERIFY(rounds > 20); // one for ten files
    }

    void aPageThatFailedShowsToo()
    {
        WindowUnderTest test;
        QWebEngineView& view = *test.OpenStill().ui->WebView;
        view.hide();
        emit view.page()->loadFinished(false);
        QVERIFY(view.isVisible());
    }

    void oneBoxWithAnErrorIconTellsThatAGameRuns()
    {
        if (IsWindows)
            QSKIP("The box is the system's own.");
        WindowUnderTest test;
        test.Publish({{"a.txt", "1"}});
        test.OpenStill().gameProcessRunning = true;
        QStringList boxes;
        QTimer looking;
        connect(&looking, &QTimer::timeout, [&] {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                if (auto* const box = qobject_cast<QMessageBox*>(widget)) {
                    boxes += box->icon() == QMessageBox::Critical ? box->text() : "no error icon";
                    QMetaObject::invokeMethod(box, "accept", Qt::QueuedConnection);
                    QMetaObject::invokeMethod(test.window, "Update"); // opens no second one
                }
            }
        });
        looking.start(200);
        const QDeadlineTimer limit(10000); // a second box would have nobody to close it
        test.window->updateTimer.start();
        QVERIFY(ProgramQuits() && !limit.hasExpired());
        QCOMPARE(boxes, {"An update was found but at least one Tessaloom process is already running.\n"
                         "Close all Tessaloom processes before starting the launcher again."});
    }

    void anotherRootIsRefusedBeforeAnyRequest_data()
    {
        QTest::addColumn<QString>("reason");
        QTest::newRow("folder") << "the launcher stands in \"ROOT\\Backup\" and not in "
                                   "\"\\Game\\TessaloomLauncher\\Release\"";
        QTest::newRow("code page")
            << "the path \"ROOT\" holds letters that this system does not read as UTF-8, "
               "so no new file could be written there. Before Windows 10 1903, use a path "
               "of plain English letters";
        QTest::newRow("home") << "the folder \"ROOT\" holds other things than the game, or can't be examined";
    }
    void anotherRootIsRefusedBeforeAnyRequest()
    {
        QFETCH(const QString, reason);
        const std::string row = QTest::currentDataTag();
        const char* const home = IsWindows ? "USERPROFILE" : "HOME";
        const QByteArray realHome = qgetenv(home);
        WindowUnderTest test;
        test.OpenStill();
        if (row == "folder")
            QVERIFY(QDir(test.tree.Root().c_str()).mkdir("Backup") &&
                    QDir::setCurrent(test.tree.Path("Backup").c_str()));
        else if (row == "code page")
            QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
        else
            qputenv(home, test.tree.Root().c_str());
        const bool ended = test.Update({});
        qputenv(home, realHome);
        FixTextConventions();
        QVERIFY(ended);
        QCOMPARE(test.Shows().last(), "Refusing to update: " + reason);
        COMPARE_ALL(test.Shows().mid(0, 5) + test.server.requests, Offline("Refusing to update this folder"));
    }

    void anErrorIsNamedInTheLog()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        const auto errors = QMetaEnum::fromType<QNetworkReply::NetworkError>();
        QStringList unnamed;
        for (int i = 1; i < errors.keyCount(); ++i) { // the first one is no error
            window.TransferFinished(nullptr, errors.value(i));
            if (!test.Shows().contains(errors.key(i)))
                unnamed += errors.key(i);
        }
        window.finishedTransfers.clear();
        QCOMPARE(unnamed, QStringList({"HostNotFoundError", "TooManyRedirectsError", "InsecureRedirectError",
                                       "ContentConflictError", "ContentGoneError", "InternalServerError",
                                       "OperationNotImplementedError", "ServiceUnavailableError",
                                       "UnknownServerError"}));
    }

    void logLinesShowAfterAFifthOfASecondNewestFirst()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        window.Log("first");
        window.Log("Grüße");
        QList<int> rows;
        for (const double pause : {0.0, 0.02, 0.19}) { // seconds, which add up
            window.lastLogCheck -= pause;
            window.FlushLog(false);
            rows += window.logModel->rowCount();
        }
        QCOMPARE(rows, QList<int>({0, 0, 3}));
        const QString newest = window.logModel->stringList().first();
        const QString hour = QTime::currentTime().toString("HH"); // in a zone that is far from Greenwich's
        QVERIFY2(newest.startsWith("[" + hour + ":") && newest.mid(11) == "Grüße", qPrintable(newest));
    }

    void newLogLinesLeaveTheReaderWhereHeIs()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        window.ui->TabControl->setCurrentIndex(1);
        const QListView& view = *window.ui->LogListView;
        for (int i = 0; i < 3000; ++i)
            window.Log("Downloading file");
        window.FlushLog(true);
        QTRY_VERIFY(view.verticalScrollBar()->maximum() > 2500);
        view.verticalScrollBar()->setValue(2250);
        window.Log("one more");
        window.FlushLog(true);
        QCoreApplication::processEvents();
        QCOMPARE(view.verticalScrollBar()->value(), 2250);
    }

    void theFirstTickSleepsAndEvery21stAfterIt()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        const QDeadlineTimer leastTime(50); // milliseconds, for a hundred sleeps of one
        for (int tick = 0; tick < 2100; ++tick) {
            QMetaObject::invokeMethod(&window, "Update");
            QCOMPARE(sleepCountdown, 20 - tick % 21); // set at each sleep
        }
        QVERIFY(leastTime.hasExpired());
    }

    void theFirstTickConnects()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        QMetaObject::invokeMethod(&window, "Update");
        QVERIFY(IsWindows || !window.windowIcon().isNull());
        COMPARE_ALL(test.Shows().mid(0, 5), QStringList({"status: Connecting to server...", "percentage: ",
                                                         "Play, disabled", "no bar, at 0", "patch notes"}));
    }

    // A fine timer costs power, and a window may stay open for hours.
    void theTimerIsFineUntilTheCycleEnds()
    {
        WindowUnderTest test;
        QMetaObject::invokeMethod(&test.OpenStill(), "Update");
        QVERIFY(timerIsFine);
        QVERIFY(test.Update({}));
        QTRY_VERIFY(!timerIsFine);
    }

    void playQuitsAfterAFailureAndWithoutAGame()
    {
        WindowUnderTest test;
        QPushButton& play = *test.OpenStill().ui->Play;
        QTimer pressing; // as an impatient player does; a disabled button starts nothing
        connect(&pressing, &QTimer::timeout, &play, &QPushButton::click);
        pressing.start(5);
        test.window->updateTimer.start();
        QVERIFY(ProgramQuits());
        COMPARE_ALL(test.Shows().mid(0, 5), notConnected);
        QCOMPARE(QDir::currentPath(), QDir(test.tree.Path(test.launcherFolder).c_str()).path());
    }

    void aChangedLauncherIsStartedAndThisOneQuits()
    {
        WindowUnderTest test;
        const std::string report = test.tree.Path("report");
        qputenv(ReportVariable, report.c_str());
        const std::string launcher = "Game/TessaloomLauncher/Release/TessaloomLauncher.exe";
        const std::string listed = "Game\\TessaloomLauncher\\Release";
        test.server.scripts["List.txt"].body =
            "D#" + listed + "\nF#" + listed + "\\" + LauncherFileName + "#8#0\n";
        test.server.scripts[launcher].body = ReadFile(TEST_CHILD);
        test.OpenStill().updateTimer.start();
        QVERIFY(ProgramQuits());
        qunsetenv(ReportVariable);
        QCOMPARE(test.Shows().last(),
                 QString("Restarting launcher since the .exe file was updated: ") + LauncherFileName);
        const QString folder = QDir::toNativeSeparators(test.tree.Path(test.launcherFolder).c_str());
        QTRY_COMPARE(QString(ReadFile(report).c_str()), folder + "\n0 arguments");
    }
};

QTEST_MAIN(MainWindowTest)
#include "mainwindow_test.moc"
