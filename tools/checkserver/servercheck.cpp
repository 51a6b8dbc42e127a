#include "checkserver/servercheck.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <utility>
#include <vector>

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTimer>

#include "checkserver/answer.h"
#include "console/wording.h"
#include "digest/sha256.h"
#include "gametree/address.h"
#include "gametree/filelist.h"
#include "gametree/layout.h"
#include "helpers/text.h"
#include "helpers/wrapping.h"

namespace {
// As many at once as in the launcher.
constexpr std::size_t MaxRequests = 15;
// A manager opens no more than six connections to a server.
constexpr std::size_t ManagerCount = 3;
constexpr qint64 ReadBufferSize = 256 * 1024; // bytes, of each request
constexpr int LookInterval = 200;             // milliseconds

using Clock = std::chrono::steady_clock;

// The list keeps the low 32 bits of a size.
std::int64_t AddSize(std::int64_t sum, std::int32_t listedSize)
{
    return sum + static_cast<std::uint32_t>(listedSize);
}

// Gives the same connections as no proxy at all, but makes Qt give their sockets a buffer. Without one Qt
// reads the head of each answer byte by byte from the system, which takes half of the time for small files.
class BufferedSockets : public QNetworkProxyFactory
{
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& /*query*/) override
    {
        return {QNetworkProxy::DefaultProxy};
    }
};

// One of the requests that run side by side.
struct Request
{
    QNetworkReply* reply = nullptr; // owned; null between two files
    std::size_t place = 0;          // of its file in the list
    std::int64_t received = 0;      // bytes of the body
    Sha256Context context;          // of the body
};

class Check
{
public:
    Check(const CheckOptions& checkOptions, const FindingFunction& sayFinding,
          const ProgressFunction& showProgress)
        : options(checkOptions), say(sayFinding), progress(showProgress)
    {
    }

    CheckResult Run()
    {
        for (QNetworkAccessManager& manager : managers)
            manager.setProxyFactory(new BufferedSockets);
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &loop, [this] { Look(); });
        timer.start(LookInterval);
        Send(requests.front(), ListFileName, false);
        loop.exec();
        return result;
    }

private:
    void Send(Request& request, const std::string& path, bool headOnly);
    void Read(Request& request);
    void Finish(Request& request);
    void Look();

    void JudgeList(const Answer& answer);
    // Why there is no list to go by, or nothing; `type` is that of the content.
    std::string ReadList(const std::string& type);
    void SendNextFile(Request& request);
    std::vector<std::string> JudgeFile(const Answer& answer, const Request& request) const;
    // Says the findings about a file, after those about all files before it.
    void Settle(std::size_t place, std::vector<std::string> reasons);
    void SayAll(const std::pair<const std::size_t, std::vector<std::string>>& reasons);
    void Say(const std::string& path, const std::string& reason);

    const CheckOptions& options;
    const FindingFunction& say;
    const ProgressFunction& progress;
    CheckResult result;
    Progress state;

    QEventLoop loop;
    Clock::time_point lastByte = Clock::now();
    std::array<QNetworkAccessManager, ManagerCount> managers;
    std::array<Request, MaxRequests> requests;

    QByteArray listText; // until it is read
    ContentList list;
    std::size_t nextToSend = 0;
    std::size_t nextToSay = 0;
    std::map<std::size_t, std::vector<std::string>> settled; // not said yet, by the place in the list
};

void Check::Send(Request& request, const std::string& path, bool headOnly)
{
    request.received = 0;
    request.context.Reset();
    const QNetworkRequest wire(RequestAddress(AddressText(options.base, path)));
    QNetworkAccessManager& manager =
        managers[static_cast<std::size_t>(&request - requests.data()) % ManagerCount];
    request.reply = headOnly ? manager.head(wire) : manager.get(wire);
    request.reply->setReadBufferSize(ReadBufferSize);
    QObject::connect(request.reply, &QNetworkReply::readyRead, &loop, [this, &request] { Read(request); });
    QObject::connect(request.reply, &QNetworkReply::finished, &loop, [this, &request] { Finish(request); });
}

void Check::Read(Request& request)
{
    lastByte = Clock::now();
    std::array<char, 64 * 1024> piece;
    for (qint64 got; (got = request.reply->read(piece.data(), piece.size())) > 0; request.received += got) {
        if (result.files == 0) {
            listText.append(piece.data(), static_cast<int>(got));
        } else {
            request.context.Append(reinterpret_cast<const std::uint8_t*>(piece.data()),
                                   static_cast<std::uint64_t>(got));
            state.bytesDone += got;
        }
    }
}

void Check::Finish(Request& request)
{
    Read(request);
    Answer answer = ReadAnswer(*request.reply);
    answer.received = request.received;
    // Not deleted at once: this runs inside a signal of the reply.
    std::exchange(request.reply, nullptr)->deleteLater();

    if (result.files == 0) {
        JudgeList(answer);
        return;
    }
    ++result.checked;
    Settle(request.place, JudgeFile(answer, request));
    SendNextFile(request);
}

void Check::JudgeList(const Answer& answer)
{
    std::string fault = FindFault(answer, false);
    if (fault.empty()) {
        const std::string lostLength = FindLostLength(answer);
        if (!lostLength.empty())
            Say(ListFileName, lostLength);
        fault = ReadList(answer.type);
    }
    if (!fault.empty()) {
        Say(ListFileName, fault);
        loop.quit();
        return;
    }

    result.files = state.files = list.fileNames.size();
    if (!options.quick)
        state.bytes = std::accumulate(list.fileSizes.begin(), list.fileSizes.end(), std::int64_t{0}, AddSize);
    for (Request& request : requests)
        SendNextFile(request);
}

std::string Check::ReadList(const std::string& type)
{
    const std::vector<std::string> lines = SplitLines(std::exchange(listText, {}).toStdString());
    std::string listFault;
    if (!ParseFileList(lines, list, &listFault)) {
        const bool hasRecords = !list.directories.empty() || !list.fileNames.empty();
        return hasRecords ? "an invalid list (" + listFault + "): every launcher refuses it"
                          : "no list but something else (" + type + "): every launcher refuses it";
    }
    const std::string count = std::string("#") + RecordCountKey + "#";
    if (std::none_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return line.compare(0, count.size(), count) == 0; }))
        Say(ListFileName,
            "without its number of records: the launcher can't tell a part of it from the complete list");
    return "";
}

void Check::SendNextFile(Request& request)
{
    while (nextToSend < list.fileNames.size()) {
        const std::size_t place = nextToSend++;
        const std::string& path = list.fileNames[place];
        if (Contains(path, ListFileName)) {
            ++result.checked;
            Settle(place, {std::string("never fetched, since its path holds \"") + ListFileName + "\""});
            continue;
        }
        request.place = place;
        Send(request, path, options.quick);
        return;
    }
    if (result.checked == result.files)
        loop.quit();
}

std::vector<std::string> Check::JudgeFile(const Answer& answer, const Request& request) const
{
    const std::string& path = list.fileNames[request.place];
    std::vector<std::string> reasons;
    std::string fault = FindFault(answer, options.quick);
    if (fault.empty()) {
        const std::int64_t size = options.quick ? answer.announced : answer.received;
        const std::int32_t listedSize = list.fileSizes[request.place];
        if (size >= 0 && LowBits(size) != listedSize)
            fault = "other size: " + std::to_string(size) + " bytes instead of " +
                    std::to_string(AddSize(0, listedSize));
        else if (!options.quick && !Equals(request.context.Finish(), list.fileDigests[request.place]))
            fault = "other content: its digest is not that of the list";
        const std::string lostLength = FindLostLength(answer);
        if (!lostLength.empty())
            reasons.push_back(lostLength);
    }
    if (!AddressKeepsPath(options.base, path)) {
        const QUrl address = RequestAddress(AddressText(options.base, path));
        fault = "the launcher asks for \"" + address.path(QUrl::FullyDecoded).toStdString() + "\" instead" +
                (fault.empty() ? "" : ": " + fault);
    }
    if (!fault.empty())
        reasons.insert(reasons.begin(), fault);
    return reasons;
}

void Check::Settle(std::size_t place, std::vector<std::string> reasons)
{
    settled.emplace(place, std::move(reasons));
    for (auto it = settled.begin(); it != settled.end() && it->first == nextToSay;
         it = settled.erase(it), ++nextToSay)
        SayAll(*it);
}

void Check::Look()
{
    state.filesDone = result.checked;
    if (result.files > 0)
        progress(state);
    if (Clock::now() - lastByte < options.patience)
        return;

    result.ended = true;
    const std::string reason = "no answer for " + std::to_string(options.patience.count()) + " seconds";
    for (Request& request : requests) {
        if (request.reply == nullptr)
            continue;
        // Nobody waits for its end any more.
        request.reply->disconnect(&loop);
        std::exchange(request.reply, nullptr)->deleteLater();
        if (result.files == 0)
            Say(ListFileName, reason);
        else
            settled[request.place] = {reason};
    }
    for (const auto& reasons : settled)
        SayAll(reasons);
    loop.quit();
}

void Check::SayAll(const std::pair<const std::size_t, std::vector<std::string>>& reasons)
{
    for (const std::string& reason : reasons.second)
        Say(list.fileNames[reasons.first], reason);
}

void Check::Say(const std::string& path, const std::string& reason)
{
    ++result.findings;
    say(Remark(path, reason));
}
} // namespace

std::string ServerBase(std::string address)
{
    const std::string list = std::string("/") + ListFileName;
    if (address.size() > list.size() && address.compare(address.size() - list.size(), list.size(), list) == 0)
        address.resize(address.size() - list.size());
    if (!address.empty() && address.back() != '/')
        address += '/';
    const QUrl url = RequestAddress(QByteArray::fromStdString(address));
    const bool isHttp = url.scheme() == "http" || url.scheme() == "https";
    return isHttp && !url.host().isEmpty() && !url.hasQuery() && !url.hasFragment() ? address : "";
}

CheckResult CheckServer(const CheckOptions& options, const FindingFunction& say,
                        const ProgressFunction& progress)
{
    return Check(options, say, progress).Run();
}
