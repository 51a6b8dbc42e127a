// The window and its update cycle: which updates it refuses, its log and its tick, and how the program ends.
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
        QList<QMessageBox::Icon> boxes;
        QTimer looking;
        connect(&looking, &QTimer::timeout, [&] {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                if (auto* const box = qobject_cast<QMessageBox*>(widget)) {
                    boxes += box->icon();
                    QMetaObject::invokeMethod(box, "accept", Qt::QueuedConnection);
                    QMetaObject::invokeMethod(test.window, "Update"); // opens no second one
                }
            }
        });
        looking.start(200);
        const QDeadlineTimer limit(10000); // a second box would have nobody to close it
        test.window->updateTimer.start();
        QVERIFY(ProgramQuits() && !limit.hasExpired());
        QCOMPARE(boxes, {QMessageBox::Critical});
    }

    void anotherRootIsRefusedBeforeAnyRequest()
    {
        const char* const home = IsWindows ? "USERPROFILE" : "HOME";
        const QByteArray realHome = qgetenv(home);
        for (const QString reason : {"the launcher stands in ", "the folder \"ROOT\""}) {
            WindowUnderTest test;
            test.OpenStill();
            if (reason.contains("stands"))
                QVERIFY(QDir().mkpath("Backup") && QDir::setCurrent("Backup"));
            else
                qputenv(home, test.tree.Root().c_str());
            const bool ended = test.Update({});
            qputenv(home, realHome);
            QVERIFY(ended && test.Shows().last().startsWith("Refusing to update: " + reason));
            COMPARE_ALL(test.Shows().mid(0, 5) + test.server.requests,
                        Offline("Refusing to update this folder"));
        }
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
