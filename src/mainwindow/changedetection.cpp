// Compares every listed file with the tree by digest, and queues the differences.
#include <cmath>
#include <utility>

#include <QLabel>
#include <QProgressBar>

#include "digest/filedigest.h"
#include "digest/readahead.h"
#include "gametree/filelist.h"
#include "gametree/layout.h"
#include "helpers/files.h"
#include "helpers/numbers.h"
#include "helpers/text.h"
#include "helpers/wrapping.h"
#include "mainwindow/mainwindow.h"
#include "startup/launchercontext.h"

namespace {
// The least step of the fraction that is shown.
constexpr double ShownStep = 0.01;
} // namespace

bool MainWindow::FindChanges(const std::string& treeRoot, const ContentList& content)
{
    const LauncherContext& context = LauncherContext::Instance();

    Log("Initializing files to download");
    FlushLog(true);
    context.StatusText->setText("Checking for file changes...");
    context.ProgressBar->setHidden(false);
    SetProgress(0.0f);

    const auto count = static_cast<std::int32_t>(content.fileNames.size());
    const std::string totalText = GroupDigits(IntText(count));
    double shownFraction = -1.0; // so that the first file always shows
    fileQueue.clear();
    ReadAheadWindow window;
    for (std::int32_t i = 0; i < count; ++i) {
        const FileEntry file = content.File(static_cast<std::size_t>(i));

        const double fraction = static_cast<double>(i) / count;
        if (std::fabs(shownFraction - fraction) >= ShownStep) {
            shownFraction = fraction;
            SetProgress(static_cast<float>(fraction));
            const std::string text = GroupDigits(IntText(i)) + " / " + totalText + " files checked" + "   " +
                                     PercentText(fraction) + "%";
            context.PercentageText->setText(text.c_str());
        }

        std::string digest;
        const std::string fullPath = treeRoot + "\\" + file.path;
        ReadAhead(treeRoot + "\\", content.fileNames, content.fileSizes, static_cast<std::size_t>(i), window);
        if (FileExists(fullPath)) {
            digest = FileSha256(fullPath);
            if (digest.empty())
                Log("Failed to open/get hash of file: " + file.path);
            ProcessWaitingEvents();
        }

        if (!Equals(file.digest, digest) && !Contains(file.path, ListFileName)) {
            if (gameProcessRunning)
                return false;
            std::string queued = file.path;
            ReplaceAll(queued, "\\", "/");
            fileQueue.push_back(std::move(queued));
            totalBytes = WrappingAdd(totalBytes, file.size);
        }
        ProcessWaitingEventsAt(static_cast<std::size_t>(i));
    }

    context.ProgressBar->setHidden(true);
    SetProgress(0.0f);
    return true;
}
