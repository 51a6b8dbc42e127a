// Shows how much has arrived, of how much, and how fast.
#include <QLabel>
#include <QProgressBar>
#include <QTimer>

#include "helpers/numbers.h"
#include "helpers/text.h"
#include "helpers/wrapping.h"
#include "mainwindow/cyclestate.h"
#include "mainwindow/mainwindow.h"
#include "mainwindow/speedmeter.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"

namespace {
constexpr std::int32_t BytesPerMegabyte = 1024 * 1024;
constexpr std::int32_t KilobytesPerMegabyte = 1024;
constexpr int PaintInterval = 16; // milliseconds, a picture of most screens

// Many reports arrive within one picture of the screen: the widget is painted once for all of them.
void PostponePainting(QWidget& widget)
{
    if (!widget.updatesEnabled())
        return;
    widget.setUpdatesEnabled(false);
    QTimer::singleShot(PaintInterval, &widget, [&widget] {
        widget.setUpdatesEnabled(true);
        // If it was hidden in the meantime, its last picture is still on the screen.
        widget.parentWidget()->update(widget.geometry());
    });
}

// "850 KB", or from 1 MB on with at most one decimal, truncated: "1.9 MB".
std::string SpeedText(std::int32_t rateKB)
{
    if (rateKB < KilobytesPerMegabyte)
        return GroupDigits(IntText(rateKB)) + " KB";

    std::string text = FloatText(static_cast<float>(static_cast<double>(rateKB) / KilobytesPerMegabyte));
    const std::size_t point = text.find_first_of(".,");
    if (point != std::string::npos) {
        text[point] = '.';
        text.resize(point + 2);
    }
    return text + " MB";
}

std::string MegabytesText(std::int32_t bytes)
{
    return GroupDigits(IntText(bytes / BytesPerMegabyte));
}
} // namespace

void MainWindow::TransferProgress(qint64 received, QtDownload* transfer)
{
    // There is no meter while the list arrives. After a failure the display does not change any more.
    if (!speedMeter || updateState == UpdateState::Offline)
        return;

    const std::int32_t delta = WrappingSubtract(LowBits(received), transfer->lastReceived);
    speedMeter->Book(delta);
    transfer->lastReceived = LowBits(received);
    receivedBytes = WrappingAdd(receivedBytes, delta);

    const double fraction = totalBytes != 0 ? static_cast<double>(receivedBytes) / totalBytes : 0.0;
    const std::string text = MegabytesText(speedMeter->meteredBytes) + " / " + MegabytesText(totalBytes) +
                             " MB downloaded (" + SpeedText(speedMeter->rateKB) + "/s)   " +
                             PercentText(fraction) + "%";
    const LauncherContext& context = LauncherContext::Instance();
    PostponePainting(*context.PercentageText);
    PostponePainting(*context.ProgressBar);
    context.PercentageText->setText(text.c_str());
    SetProgress(static_cast<float>(fraction));
}
