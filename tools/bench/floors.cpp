// The floors of ./bench: for each rule that the launcher keeps, a short program that keeps it and does
// nothing else. What the launcher takes above its floor is its own; what the floor takes above the peer is
// the rule's.
#include <cstring>
#include <filesystem>
#include <memory>

#include <QCoreApplication>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include "bench/measure.h"
#include "digest/sha256.h"
#include "digest/sha256_blocks.h"
#include "platform/platform.h"

namespace {
constexpr int TransfersAtOnce = 15;
constexpr std::size_t Padding = 128; // bytes, at most, after a file's content

// Every file is read whole, into one buffer that is large enough for all of them. The buffer's pages are
// there before the first file is read.
class WholeFileDigest
{
public:
    explicit WholeFileDigest(const std::string& folder)
    {
        std::uintmax_t largest = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (!entry.is_regular_file())
                continue;
            files.push_back(entry.path().string());
            largest = std::max(largest, entry.file_size());
        }
        size = largest + Padding;
        buffer = static_cast<std::uint8_t*>(_aligned_malloc(size, 64));
        std::memset(buffer, 0, size);
    }

    ~WholeFileDigest()
    {
        _aligned_free(buffer);
    }

    // The first word of the file's SHA-256.
    std::uint32_t Digest(const std::string& path)
    {
        std::FILE* const file = std::fopen(path.c_str(), "rb");
        std::setvbuf(file, nullptr, _IONBF, 0);
        const std::size_t length = std::fread(buffer, 1, size - Padding, file);
        std::fclose(file);

        const std::size_t blocks = (length + 8) / 64 + 1;
        std::memset(buffer + length, 0, blocks * 64 - length);
        buffer[length] = 0x80;
        for (std::size_t i = 0; i < 8; ++i)
            buffer[blocks * 64 - 1 - i] = static_cast<std::uint8_t>(length * 8 >> (8 * i));
        auto state = Sha256Context::InitialState;
        ChosenBlockFunction()(state.data(), buffer, blocks);
        return state[0];
    }

    std::vector<std::string> files;

private:
    std::size_t size;
    std::uint8_t* buffer;
};

// The launcher's tick without its work: a round of events, and 1 ms of sleep at every 21st.
void Tick()
{
    static int countdown = 0;
    QCoreApplication::processEvents();
    if (--countdown < 0) {
        Sleep(1);
        countdown = 20;
    }
}

int Digest(const std::string& folder)
{
    WholeFileDigest digest(folder);
    const Measurement measurement;
    for (const std::string& file : digest.files)
        digest.Digest(file);
    return 0;
}

// Three passes with a round of events at every tenth file, and after each file of the last one. Only that one
// reads the files. The tick comes in every round.
int List(const std::string& folder)
{
    WholeFileDigest digest(folder);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, Tick);
    timer.start(0);
    const Measurement measurement;
    for (int pass = 0; pass < 2; ++pass) {
        for (std::size_t i = 0; i < digest.files.size(); i += 10)
            QCoreApplication::processEvents();
    }
    for (std::size_t i = 0; i < digest.files.size(); ++i) {
        digest.Digest(digest.files[i]);
        QCoreApplication::processEvents();
        if (i % 10 == 0)
            QCoreApplication::processEvents();
    }
    return 0;
}

struct Transfer
{
    std::unique_ptr<QNetworkAccessManager> manager = std::make_unique<QNetworkAccessManager>();
    QNetworkReply* reply = nullptr;
    std::string file;

    void Start(const std::string& url)
    {
        reply = manager->get(QNetworkRequest(QUrl::fromEncoded(url.c_str())));
    }

    void Save()
    {
        QFile target(QString::fromStdString(file));
        if (reply->error() != QNetworkReply::NoError || !target.open(QIODevice::WriteOnly))
            std::exit(1);
        target.write(reply->readAll());
    }
};

// Every file is fetched by a manager of its own, which goes on the tick after, held whole and written when
// its reply has ended. `listed` names a file with a path below `url` a line.
int Transfers(const std::string& url, const std::string& listed, const std::string& folder)
{
    std::vector<std::string> waiting;
    std::ifstream lines(listed);
    for (std::string line; std::getline(lines, line);)
        waiting.push_back(line);

    std::vector<Transfer> running;
    WarmMemory();
    const Measurement measurement;
    do {
        for (std::size_t i = running.size(); i-- > 0;) {
            if (!running[i].reply->isFinished())
                continue;
            running[i].Save();
            running.erase(running.begin() + static_cast<std::ptrdiff_t>(i));
        }
        while (running.size() < TransfersAtOnce && !waiting.empty()) {
            running.emplace_back();
            running.back().file = folder + "/" + std::to_string(waiting.size());
            running.back().Start(url + waiting.back());
            waiting.pop_back();
        }
        Tick();
    } while (!running.empty());
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 2 ? argv[1] : "";
    if (command == "digest")
        return Digest(argv[2]);
    QCoreApplication application(argc, argv);
    if (command == "list")
        return List(argv[2]);
    if (command == "transfers" && argc > 4)
        return Transfers(argv[2], argv[3], argv[4]);
    std::fputs("bench_floors digest|list FOLDER, transfers URL LIST FOLDER\n", stderr);
    return 2;
}
