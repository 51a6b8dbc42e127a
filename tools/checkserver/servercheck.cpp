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
#include "checkserver/freshness.h"
#include "console/wording.h"
#include "digest/sha256.h"
#include "gametree/address.h"
#include "gametree/filelist.h"
#include "gametree/layout.h"
#include "helpers/numbers.h"
#include "helpers/text.h"

namespace {
// As many at once as in the launcher.
constexpr std::size_t MaxRequests = 15;
// A manager opens no more than six connections to a server.
constexpr std::size_t ManagerCount = 3;
constexpr qint64 ReadBufferSize = 256 * 1024; // bytes, of each request
constexpr int LookInterval = 200;             // milliseconds

constexpr std::size_t ListItself = static_cast<std::size_t>(-1); // the place of the list

using Clock = std::chrono::steady_clock;

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
    QNetworkAccessManager* manager = nullptr; // not owned
    QNetworkReply* reply = nullptr;           // owned; null between two files
    std::size_t place = ListItself;           // of its file in the list
    std::int64_t received = 0;                // bytes of the body
    Sha256Context context;                    // of the body
};

QUrl ServerUrl(const std::string& address)
{
    return QUrl(QString::fromStdString("http://" + address), QUrl::StrictMode);
}

// Asks for the address, at the server `from` if that is not empty: there under the address's own host name,
// which a certificate has to prove too.
QNetworkRequest RequestFrom(const std::string& from, QUrl address)
{
    if (from.empty())
        return QNetworkRequest(address);
    const QUrl server = ServerUrl(from);
    const QString host = address.host();
    const QString hostAndPort = address.adjusted(QUrl::RemoveUserInfo).authority(QUrl::FullyEncoded);
    address.setHost(server.host());
    address.setPort(server.port(address.port()));
    QNetworkRequest request(address);
    request.setRawHeader("Host", hostAndPort.toLatin1());
#if QT_VERSION >= QT_VERSION_CHECK(5, 13, 0)
    request.setPeerVerifyName(host);
#endif
    return request;
}

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
        for (std::size_t i = 0; i < requests.size(); ++i)
            requests[i].manager = &managers[i % ManagerCount];
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &loop, [this] { Look(); });
        timer.start(LookInterval);
        Send(requests.front(), ListFileName, false);
        loop.exec();
        if (!result.ended)
            SayFreshness();
        return result;
    }

private:
    void Send(Request& request, const std::string& path, bool headOnly);
    void Read(Request& request);
    void Finish(Request& request);
    void Look();

    void CheckList(const Answer& answer);
    // Why this is no list to go by, or nothing; `type` is that of the content.
    std::string ReadList(const std::string& type, PublishedList& theirs);
    void SendNextFile(Request& request);
    std::vector<std::string> CheckFile(const Answer& answer, const Request& request) const;
    // Says the findings about a file, after those about all files before it.
    void Settle(std::size_t place, std::vector<std::string> reasons);
    void SayAll(const std::pair<const std::size_t, std::vector<std::string>>& reasons);
    void Say(const std::string& path, const std::string& reason);
    void SayFreshness();
    std::string Prefix() const;

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
    PublishedList serversList;
    const PublishedList* list = nullptr; // the one to go by: the server's own, or that of the options

    // What may stay in caches, by the list or its files and by the reason.
    struct Kept
    {
        std::size_t answers = 0;
        std::int64_t seconds = 0; // at most
    };
    std::map<std::pair<bool, std::string>, Kept> kept;
    std::size_t nextToSend = 0;
    std::size_t nextToSay = 0;
    std::map<std::size_t, std::vector<std::string>> settled; // not said yet, by the place in the list
};

void Check::Send(Request& request, const std::string& path, bool headOnly)
{
    request.received = 0;
    request.context.Reset();
    const QNetworkRequest wire = RequestFrom(options.from, RequestAddress(AddressText(options.base, path)));
    request.reply = headOnly ? request.manager->head(wire) : request.manager->get(wire);
    request.reply->setReadBufferSize(ReadBufferSize);
    QObject::connect(request.reply, &QNetworkReply::readyRead, &loop, [this, &request] { Read(request); });
    QObject::connect(request.reply, &QNetworkReply::finished, &loop, [this, &request] { Finish(request); });
}

void Check::Read(Request& request)
{
    lastByte = Clock::now();
    std::array<char, 64 * 1024> piece;
    const auto readPiece = [&] { return request.reply->read(piece.data(), piece.size()); };
    for (qint64 got = readPiece(); got > 0; got = readPiece()) {
        request.received += got;
        if (request.place == ListItself) {
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
    const bool isList = request.place == ListItself;
    const Freshness freshness = FindFreshness(*request.reply);
    if (answer.status == 200 && freshness.seconds > 0) {
        Kept& same = kept[{!isList, freshness.reason}];
        ++same.answers;
        same.seconds = std::max(same.seconds, freshness.seconds);
    }
    // Not deleted at once: this runs inside a signal of the reply.
    std::exchange(request.reply, nullptr)->deleteLater();

    if (isList) {
        CheckList(answer);
        return;
    }
    ++result.checked;
    Settle(request.place, CheckFile(answer, request));
    SendNextFile(request);
}

void Check::CheckList(const Answer& answer)
{
    std::string fault = FindFault(answer, false);
    if (fault.empty())
        fault = ReadList(answer.type, serversList);
    if (!fault.empty()) {
        Say(ListFileName, fault);
    } else {
        const std::string lostLength = FindLostLength(answer);
        // Of a packed list that counts its records, the launcher notices what is cut off.
        if (!lostLength.empty() && !(serversList.countsRecords && !answer.packing.empty()))
            Say(ListFileName, lostLength);
        if (!serversList.countsRecords)
            Say(ListFileName,
                "without its number of records: the launcher can't tell a part of it from the complete list");
        if (options.published != nullptr && !HaveSameRecords(serversList, *options.published))
            Say(ListFileName, "the server gives out another list than " + options.publishedName + ", of " +
                                  Count(serversList.sizes.size(), "file") +
                                  ": an older version, or a cache before it");
        list = &serversList;
    }
    if (options.published != nullptr)
        list = options.published;
    if (list == nullptr)
        result.whyNothing = "there is no list to go by";
    else if (answer.status == 0)
        result.whyNothing = "the server does not answer";
    if (!result.whyNothing.empty()) {
        loop.quit();
        return;
    }

    result.files = state.files = list->sizes.size();
    if (!options.quick)
        state.bytes = std::accumulate(list->sizes.begin(), list->sizes.end(), std::int64_t{0});
    for (Request& request : requests)
        SendNextFile(request);
}

std::string Check::ReadList(const std::string& type, PublishedList& theirs)
{
    std::string fault;
    if (ParsePublishedList(SplitLines(std::exchange(listText, {}).toStdString()), theirs, fault))
        return "";
    const bool hasRecords = !theirs.content.directories.empty() || !theirs.content.fileNames.empty();
    return hasRecords ? "an invalid list (" + fault + "): every launcher refuses it"
                      : "no list but something else (" + type + "): every launcher refuses it";
}

void Check::SendNextFile(Request& request)
{
    while (nextToSend < list->content.fileNames.size()) {
        const std::size_t place = nextToSend++;
        const std::string& path = list->content.fileNames[place];
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

std::vector<std::string> Check::CheckFile(const Answer& answer, const Request& request) const
{
    const std::string& path = list->content.fileNames[request.place];
    std::vector<std::string> reasons;
    std::string fault = FindFault(answer, options.quick);
    if (fault.empty()) {
        const std::int64_t size = options.quick ? answer.announced : answer.received;
        const std::int64_t listedSize = list->sizes[request.place];
        if (size >= 0 && size != listedSize)
            fault = "other size: " + std::to_string(size) + " bytes instead of " + std::to_string(listedSize);
        else if (!options.quick &&
                 !Equals(request.context.Finish(), list->content.fileDigests[request.place]))
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
        if (request.place == ListItself)
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
        Say(list->content.fileNames[reasons.first], reason);
}

void Check::Say(const std::string& path, const std::string& reason)
{
    ++result.findings;
    say(Prefix() + Remark(path, reason));
}

void Check::SayFreshness()
{
    for (const auto& [kind, same] : kept) {
        const auto& [areFiles, reason] = kind;
        const std::string time = " in caches for " + RoughDurationText(same.seconds) + " (" + reason + ")";
        say(Prefix() + (areFiles
                            ? Count(same.answers, "file") + " may stay" + time +
                                  ": after the next version is on line, players may get these of the old one"
                            : Remark(ListFileName,
                                     "may stay" + time + ": so long, players may not see the next version")));
    }
}

std::string Check::Prefix() const
{
    return options.from.empty() ? "" : "from " + options.from + ": ";
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

bool IsServerAddress(const std::string& address)
{
    const QUrl url = ServerUrl(address);
    return !url.host().isEmpty() && url.adjusted(QUrl::RemovePort) == QUrl("http://" + url.host()) &&
           url.port(1) != 0;
}

CheckResult CheckServer(const CheckOptions& options, const FindingFunction& say,
                        const ProgressFunction& progress)
{
    return Check(options, say, progress).Run();
}

std::string SummaryText(const CheckOptions& options, const CheckResult& result)
{
    const std::string start =
        "check-server: " + options.base + (options.from.empty() ? "" : " from " + options.from) + ": ";
    const std::string findings = Count(result.findings, "finding");
    if (result.ended)
        return start + "ended, since the server sent nothing for " +
               Count(static_cast<std::size_t>(options.patience.count()), "second") + ": " +
               GroupDigits(std::to_string(result.checked)) + " of " + Count(result.files, "file") +
               " checked, " + findings;
    if (!result.whyNothing.empty())
        return start + "no file checked, since " + result.whyNothing;
    return start + Count(result.files, "file") + " checked" + (options.quick ? " by length" : "") + ", " +
           (result.findings > 0 ? findings : "all as the list says");
}
