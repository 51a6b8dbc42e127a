// What the bar, the taskbar's button and the line beside them show of the progress.
#include <cmath>

#include "mainwindow/speedmeter.h"
#include "qtdownload/qtdownload.h"
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

class ProgressTest : public QObject
{
    Q_OBJECT

private slots:
    void barAndTaskbarShowTheSameFraction()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        RecordingTaskbar taskbar;
        window.taskbar = &taskbar;
        for (const float fraction : {0.7f, 0.00005f, 0.0f, 1.5f, 1e30f, -1e30f, NAN, 1.0f})
            window.SetProgress(fraction);
        QCOMPARE(window.ui->ProgressBar->value(), 10000);
        LauncherContext::Instance().closing = true;
        window.SetProgress(0.5f);
        const QStringList expected = {
            "6999 of 10000",       "0 of 10000",           "0 of 10000", "state 0",       "15000 of 10000",
            "2147483647 of 10000", "-2147483648 of 10000", "0 of 10000", "10000 of 10000"};
        QCOMPARE(taskbar.calls, expected);
    }

    void hashingShowsAHundredSteps()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        RecordingTaskbar taskbar;
        window.taskbar = &taskbar;
        std::string list;
        for (int i = 0; i < 1002; ++i)
            list += "F#absent#1#\n"; // without a digest: nothing differs
        QVERIFY(test.Process(list));
        QCOMPARE(test.Shows()[1], QString("percentage: 1 001 / 1 002 files checked   99%"));
        QCOMPARE(taskbar.calls.mid(4, 2),
                 QStringList({"109 of 10000", "219 of 10000"})); // every eleventh file
        QCOMPARE(taskbar.calls.mid(94), QStringList({"9990 of 10000", "0 of 10000", "state 0"}));
    }

    void aTransferShowsAmountSpeedAndPercentage_data()
    {
        QTest::addColumn<int>("totalBytes");
        QTest::addColumn<int>("rateKB");
        QTest::addColumn<QList<qint64>>("reports"); // by two transfers in turn
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, int total, int rate, const QList<qint64>& reports,
                            const char* text) { QTest::newRow(name) << total << rate << reports << text; };
        row("grouped digits", 1234 * MB, 850, {12 * MB}, "12 / 1 234 MB downloaded (850 KB/s)   0%");
        row("truncated", 2 * MB, 1023, {MB - 1}, "0 / 2 MB downloaded (1 023 KB/s)   49%");
        row("a whole MB", 2 * MB, 1024, {1, 0, 2 * MB}, "2 / 2 MB downloaded (1 MB/s)   100%");
        row("fewer than before", 8 * MB, 1280, {3 * MB, 2 * MB, MB}, "3 / 8 MB downloaded (1.2 MB/s)   37%");
        row("no total", 0, 0, {3 * MB}, "3 / 0 MB downloaded (0 KB/s)   0%");
        row("beyond 4 GiB", 2 * MB, 0, {4097LL * MB}, "1 / 2 MB downloaded (0 KB/s)   50%");
    }
    void aTransferShowsAmountSpeedAndPercentage()
    {
        QFETCH(const int, totalBytes);
        QFETCH(const int, rateKB);
        QFETCH(const QList<qint64>, reports);
        QFETCH(const QString, text);
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        QtDownload transfers[2];
        window.TransferProgress(MB, &transfers[0]); // of the list, for which there is no meter
        window.speedMeter = new SpeedMeter;
        window.speedMeter->rateKB = rateKB;
        window.totalBytes = totalBytes;
        updateState = UpdateState::DownloadingFiles;
        for (int i = 0; i < reports.size(); ++i)
            window.TransferProgress(reports[i], &transfers[i % 2]);
        updateState = UpdateState::Offline; // from then on the display stands still
        window.TransferProgress(5 * MB, &transfers[1]);
        QCOMPARE(window.ui->PercentageText->text(), text);
    }

    void theRateIsThatOfTheLastTwoSeconds()
    {
        SpeedMeter meter;
        meter.Book(4 * MB + 1023);
        for (const QDeadlineTimer busy(50); !busy.hasExpired();) // ticks come faster than the meter ages
            meter.Tick();
        QList<int> rates = {meter.rateKB};
        for (const double pause : {0.7, 1.1, 0.3, 0.6}) { // seconds, by moving the last tick into the past
            meter.Book(1023);                             // less than a KB counts as nothing
            meter.lastTick -= pause;
            meter.Tick();
            rates += meter.rateKB;
        }
        QCOMPARE(rates, QList<int>({2048, 2048, 2048, 2048, 0}));
    }

    void theTickDrivesTheMeterAndNothingOfTheBarIsLeft()
    {
        WindowUnderTest test;
        test.Publish({{"first.dat", std::string(2 * MB, 'x')}, {"last.dat", std::string(MB, 'x')}});
        test.server.scripts["first.dat"].pieceSize = 2000; // takes longer than the rate's half a second
        test.server.scripts["last.dat"].delay = 200;
        MainWindow& window = test.OpenStill();
        const auto colourInTheBar = [&] {
            const QRect bar = window.ui->ProgressBar->geometry();
            const QPixmap screen = window.screen()->grabWindow(window.winId());
            return screen.toImage().pixelColor(bar.left() + bar.width() / 4, bar.center().y());
        };
        window.updateTimer.start();
        QTRY_VERIFY(test.Shows()[1].contains(" KB/s)") && !test.Shows()[1].contains("(0 KB/s)"));
        QTRY_VERIFY(colourInTheBar().saturation() > 100); // blue among greys
        QTRY_VERIFY_WITH_TIMEOUT(updateState == UpdateState::UpToDate, 30000);
        QTRY_COMPARE(colourInTheBar(), window.palette().color(QPalette::Window));
    }
};

QTEST_MAIN(ProgressTest)
#include "progress_test.moc"
