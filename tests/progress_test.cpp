// What the bar, the taskbar's button and the line beside them show of the progress.
#include "mainwindow/speedmeter.h"
#include "qtdownload/qtdownload.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
constexpr std::int32_t MB = 1024 * 1024;

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

QTEST_MAIN(ProgressTest)
#include "progress_test.moc"
