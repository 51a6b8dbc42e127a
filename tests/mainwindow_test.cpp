// The window and its update cycle: which updates it refuses, its log and its tick, what it shows of the
// progress, and how the program ends.
#include <QMetaEnum>
#include <QTextCodec>
#include <QWebEnginePage>

#include "mainwindow/speedmeter.h"
#include "qtdownload/qtdownload.h"
#include "support/childprocess.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
constexpr std::int32_t MB = 1024 * 1024;

// Notes down what the button in the taskbar is told.
struct RecordingTaskbar : ITaskbarList3
{
    HRESULT SetProgressValue(HWND, ULONGLONG completed, ULONGLONG total) override
    {
        calls += QString("%1 of %2").arg(static_cast<int>(completed)).arg(total);
        return 0;
    }
    HRESULT SetProgressState(HWND, TBPFLAG flags) override
    {
        calls += QString("state %1").arg(flags);
        return 0;
    }
    QStringList calls;
};
} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
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
            if (auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                boxes += box->icon() == QMessageBox::Critical ? box->text() : "no error icon";
                QMetaObject::invokeMethod(box, "accept", Qt::QueuedConnection);
                QMetaObject::invokeMethod(test.window, "Update"); // opens no second one
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
        QTest::newRow("folder") << "the launcher stands in \"ROOT\\Backup\" and not in ";
        QTest::newRow("code page") << "the path \"ROOT\" holds letters that this system does not read";
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
            QVERIFY(WriteTree(test.tree.Root(), Files({"Backup/"})) &&
                    QDir::setCurrent(test.tree.Path("Backup").c_str()));
        else if (row == "code page")
            QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
        else
            qputenv(home, test.tree.Root().c_str());
        const bool ended = test.Update({});
        qputenv(home, realHome);
        FixTextConventions();
        QVERIFY(ended && test.Shows().last().startsWith("Refusing to update: " + reason));
        COMPARE_ALL(test.Shows().mid(0, 5) + test.server.requests, Offline("Refusing to update this folder"));
    }

    void anErrorIsNamedInTheLog()
    {
        WindowUnderTest test;
        test.OpenStill();
        const auto errors = QMetaEnum::fromType<QNetworkReply::NetworkError>();
        QStringList unnamed;
        for (int i = 1; i < errors.keyCount(); ++i) { // the first one is no error
            test.window->TransferFinished(nullptr, errors.value(i));
            unnamed += test.Shows().contains(errors.key(i)) ? QStringList() : QStringList(errors.key(i));
        }
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

    void theFirstTickConnectsWithAFineTimerUntilTheCycleEnds()
    {
        WindowUnderTest test;
        QMetaObject::invokeMethod(&test.OpenStill(), "Update");
        QVERIFY(test.window->size() == QSize(733, 451) && timerIsFine);
        COMPARE_ALL(test.Shows().mid(0, 5), QStringList({"status: Connecting to server...", "percentage: ",
                                                         "Play, disabled", "no bar, at 0", "patch notes"}));
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
        test.Publish({{test.launcherFolder + "/TessaloomLauncher.exe", ReadFile(TEST_CHILD)}});
        test.OpenStill().updateTimer.start();
        QVERIFY(ProgramQuits());
        qunsetenv(ReportVariable);
        QCOMPARE(test.Shows().last(),
                 QString("Restarting launcher since the .exe file was updated: ") + LauncherFileName);
        const QString folder = QDir::toNativeSeparators(test.tree.Path(test.launcherFolder).c_str());
        QTRY_COMPARE(QString(ReadFile(report).c_str()), folder + "\n0 arguments");
    }

    void barAndTaskbarShowTheSameFraction()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        RecordingTaskbar taskbar;
        window.taskbar = &taskbar;
        for (const float fraction : {0.7f, 0.0f, 1e30f, NAN, 1.0f})
            window.SetProgress(fraction);
        LauncherContext::Instance().closing = true; // the bar may be gone already
        window.SetProgress(0.5f);
        QCOMPARE(window.ui->ProgressBar->value(), 10000);
        QCOMPARE(taskbar.calls, QStringList({"6999 of 10000", "0 of 10000", "state 0", "2147483647 of 10000",
                                             "0 of 10000", "10000 of 10000"}));
    }

    void aTransferShowsAmountSpeedAndPercentage()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        window.speedMeter = new SpeedMeter;
        window.totalBytes = 1234 * MB;
        updateState = UpdateState::DownloadingFiles;
        QtDownload transfers[2];
        const auto shown = [&](std::int32_t rateKB, qint64 received, int transfer) {
            window.speedMeter->rateKB = rateKB;
            window.TransferProgress(received, &transfers[transfer]);
            return window.ui->PercentageText->text();
        };
        QCOMPARE(shown(1023, 617 * MB - 1024, 0), QString("616 / 1 234 MB downloaded (1 023 KB/s)   49%"));
        QCOMPARE(shown(1280, 123 * MB, 0), QString("123 / 1 234 MB downloaded (1.2 MB/s)   9%"));
        QCOMPARE(shown(850, (4096 + 617LL) * MB, 0), QString("617 / 1 234 MB downloaded (850 KB/s)   50%"));
        const QString all = "1 234 / 1 234 MB downloaded (1 MB/s)   100%";
        QCOMPARE(shown(1024, 617 * MB, 1), all);
        updateState = UpdateState::Offline; // from then on the display stands still
        QCOMPARE(shown(0, 0, 1), all);
    }

    void theRateIsThatOfTheLastTwoSeconds()
    {
        SpeedMeter meter;
        meter.Book(4 * MB + 1023);
        for (const QDeadlineTimer busy(50); !busy.hasExpired();) // ticks come faster than the meter ages
            meter.Tick();
        QList<int> rates = {meter.rateKB};
        // Seconds, by moving the last tick into the past. Less than a KB counts as nothing.
        for (const double pause : {0.7, 1.1, 0.3, 0.6, 0.6}) {
            meter.Book(pause == 0.6 ? MB : 1023);
            meter.lastTick -= pause;
            meter.Tick();
            rates += meter.rateKB;
        }
        QCOMPARE(rates, QList<int>({2048, 2048, 2048, 2048, 512, 1024}));
    }
};

QTEST_MAIN(MainWindowTest)
#include "mainwindow_test.moc"
