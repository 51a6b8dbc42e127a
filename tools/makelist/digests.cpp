#include "makelist/digests.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <numeric>
#include <system_error>

#include <QDateTime>
#include <QFile>

#include "digest/sha256.h"
#include "digest/sha256_blocks.h"
#include "helpers/files.h"
#include "platform/platform.h"

namespace {
// Bytes; small enough to stay in a processor's own cache between reading and hashing.
constexpr std::size_t PieceSize = 256 * 1024;
constexpr auto ProgressInterval = std::chrono::milliseconds(100);

std::string LastError(const char* what)
{
    return std::string(what) + " (" + (errno != 0 ? std::generic_category().message(errno) : "not a file") +
           ")";
}

// Adds what it has read to `bytesDone` as it goes.
FileDigest TakeDigest(const std::string& tree, const TreeFile& file, std::vector<std::uint8_t>& piece,
                      std::atomic<std::int64_t>& bytesDone)
{
    errno = 0;
    const std::string path = tree + "\\" + file.path;
    const FileHandle stream(_fsopen(path.c_str(), "rb", _SH_DENYNO));
    if (stream == nullptr)
        return {"", LastError("can't be opened")};
    // Straight into the piece: the stream's own buffer would cost a copy.
    std::setvbuf(stream.get(), nullptr, _IONBF, 0);

    Sha256Context context;
    std::int64_t size = 0;
    std::size_t got = 0;
    do {
        got = std::fread(piece.data(), 1, piece.size(), stream.get());
        context.Append(piece.data(), got);
        size += static_cast<std::int64_t>(got);
        bytesDone += static_cast<std::int64_t>(got);
        // A file that grows for ever would be read for ever.
    } while (got == piece.size() && size <= file.size);
    if (std::ferror(stream.get()))
        return {"", LastError("can't be read")};

    TreeFile read;
    TakeState(stream.get(), read);
    if (size != file.size || read.size != file.size || read.changed != file.changed)
        return {"", "changed while the list was made"};
    return {context.Finish(), ""};
}
} // namespace

void TakeState(std::FILE* opened, TreeFile& file)
{
    QFile state;
    state.open(opened, QIODevice::ReadOnly); // does nothing that can fail
    file.size = state.size();
    file.changed = state.fileTime(QFileDevice::FileModificationTime).toMSecsSinceEpoch();
}

std::vector<FileDigest> TakeDigests(const std::string& tree, const std::vector<TreeFile>& files,
                                    unsigned threads, const ProgressFunction& progress)
{
    // The largest first. Otherwise one thread could still read a large file after the others have finished.
    std::vector<std::size_t> order(files.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return files[a].size > files[b].size; });

    std::vector<FileDigest> digests(files.size());
    std::atomic<std::size_t> next = 0;
    std::atomic<std::size_t> filesDone = 0;
    std::atomic<std::int64_t> bytesDone = 0;
    const auto work = [&] {
        std::vector<std::uint8_t> piece(PieceSize);
        for (std::size_t i = next++; i < order.size(); i = next++) {
            digests[order[i]] = TakeDigest(tree, files[order[i]], piece, bytesDone);
            ++filesDone;
        }
    };

    Progress now;
    now.files = files.size();
    for (const TreeFile& file : files)
        now.bytes += file.size;
    ChosenBlockFunction(); // found out once, before several threads want it
    std::vector<std::future<void>> workers;
    for (std::size_t count = std::min<std::size_t>(threads, files.size()); workers.size() < count;)
        // If the system can't start another thread, get() does the work.
        workers.push_back(std::async(std::launch::async | std::launch::deferred, work));
    for (std::future<void>& worker : workers) {
        while (worker.wait_for(ProgressInterval) == std::future_status::timeout) {
            now.filesDone = filesDone;
            now.bytesDone = bytesDone;
            progress(now);
        }
        worker.get();
    }
    return digests;
}
