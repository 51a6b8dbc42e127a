// The running record on the "Log" tab: in memory only, newest line on top.
#include <algorithm>
#include <cmath>

#include <QFontMetricsF>
#include <QListView>
#include <QStringListModel>

#include "helpers/numbers.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"
#include "startup/launchercontext.h"
#include "startup/steadyclock.h"

namespace {
constexpr double SecondsBetweenFlushes = 0.2;

std::string TwoDigits(std::int32_t value)
{
    const std::string digits = IntText(value);
    return digits.size() < 2 ? "0" + digits : digits;
}

// The width in pixels of the widest of the first `count` lines. A line counts as the sum of the widths of its
// characters. Its text layout would be slightly narrower, because of kerning, and take fifty times as long.
int WidestLine(const QStringList& lines, int count, const QFont& font)
{
    const QFontMetricsF metrics(font);
    std::vector<float> widths(0x10000); // by character; 0 means not measured yet
    float widest = 0.0f;
    for (int i = 0; i < count; ++i) {
        float sum = 0.0f;
        for (const QChar character : lines[i]) {
            float& width = widths[character.unicode()];
            if (width == 0.0f)
                width = static_cast<float>(metrics.horizontalAdvance(character));
            sum += width;
        }
        widest = std::max(widest, sum);
    }
    return static_cast<int>(std::ceil(widest));
}
} // namespace

std::string TimeOfDayText()
{
    const __time64_t now = _time64(nullptr);
    std::tm local = {};
    _localtime64_s(&local, &now);
    return TwoDigits(local.tm_hour) + ":" + TwoDigits(local.tm_min) + ":" + TwoDigits(local.tm_sec);
}

void MainWindow::Log(std::string message)
{
    pendingLogLines.push_back("[" + TimeOfDayText() + "] " + message);
}

void MainWindow::FlushLog(bool force)
{
    const SteadyClock& clock = SteadyClock::Instance();
    if (lastLogCheck == 0.0)
        lastLogCheck = clock.Seconds();
    const double now = clock.Seconds();
    logElapsed += now - lastLogCheck;
    lastLogCheck = now;
    if (!(logElapsed > SecondsBetweenFlushes) && !force)
        return;

    // All rows at once and then their texts, newest on top: a row at a time costs the view twice as much.
    const auto count = static_cast<int>(pendingLogLines.size());
    if (count > 0)
        logModel->insertRows(0, count, QModelIndex());
    for (int row = 0; row < count; ++row) {
        const std::string& line = pendingLogLines[static_cast<std::size_t>(count - 1 - row)];
        logModel->setData(logModel->index(row, 0, QModelIndex()), QVariant(QString(line.c_str())),
                          Qt::EditRole);
    }
    if (count > 0) {
        // The view measures no line: the grid makes room for the widest, and for the margins around it.
        QListView& view = *LauncherContext::Instance().LogListView;
        const int height = view.sizeHintForRow(0);
        const int width = WidestLine(logModel->stringList(), count, view.font()) + height;
        view.setGridSize(view.gridSize().expandedTo(QSize(width, height)));
    }
    pendingLogLines.clear();
    logElapsed = 0.0;
}
