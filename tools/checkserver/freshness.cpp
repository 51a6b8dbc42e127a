#include "checkserver/freshness.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>

#include <QDateTime>
#include <QNetworkReply>

#include "console/wording.h"

namespace {
// Seconds. What caches guess for files that have just been changed is gone before anybody could notice it.
constexpr std::int64_t LeastGuess = 60;

using Directives = std::map<QByteArray, QByteArray>;

// The directives of Cache-Control with their values.
Directives ReadDirectives(const QNetworkReply& reply)
{
    Directives directives;
    for (const QByteArray& directive : reply.rawHeader("Cache-Control").toLower().split(',')) {
        const QByteArray name = directive.split('=').first();
        const QByteArray value = directive.mid(name.size() + 1).trimmed();
        // The first one counts.
        directives.emplace(name.trimmed(), QByteArray(value).replace('"', ""));
    }
    return directives;
}

// Seconds since 1970 of a date in the one form that servers send: "Sun, 06 Nov 1994 08:49:37 GMT". Qt's own
// reader takes longer than the request.
std::optional<std::int64_t> ReadDate(const QByteArray& header)
{
    static const QByteArray Months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    char month[4] = "";
    int day = 0;
    int year = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (std::sscanf(header.constData(), "%*3s, %2d %3s %4d %2d:%2d:%2d GMT", &day, month, &year, &hour,
                    &minute, &second) != 6)
        return std::nullopt;
    const QDateTime date(QDate(year, Months.indexOf(month) / 3 + 1, day), QTime(hour, minute, second),
                         Qt::UTC);
    return date.isValid() ? std::optional<std::int64_t>(date.toSecsSinceEpoch()) : std::nullopt;
}
} // namespace

Freshness FindFreshness(const QNetworkReply& reply)
{
    const Directives directives = ReadDirectives(reply);
    for (const char* forbids : {"no-store", "no-cache", "private"}) {
        if (directives.count(forbids) != 0)
            return {};
    }

    const std::int64_t age = reply.rawHeader("Age").toLongLong(); // that it has already spent in caches
    for (const char* name : {"s-maxage", "max-age"}) {
        const auto found = directives.find(name);
        if (found != directives.end())
            return {std::max<std::int64_t>(found->second.toLongLong() - age, 0),
                    (found->first + "=" + found->second).toStdString()};
    }

    const std::int64_t sent = ReadDate(reply.rawHeader("Date")).value_or(QDateTime::currentSecsSinceEpoch());
    if (reply.hasRawHeader("Expires")) {
        // What is no date has expired.
        const std::int64_t expires = ReadDate(reply.rawHeader("Expires")).value_or(sent);
        return {std::max<std::int64_t>(expires - sent - age, 0), "Expires"};
    }
    const std::int64_t guess = (sent - ReadDate(reply.rawHeader("Last-Modified")).value_or(sent)) / 10 - age;
    if (guess < LeastGuess)
        return {};
    return {guess, "no max-age and no Expires, so caches take a tenth of the time since the last change"};
}

std::string RoughDurationText(std::int64_t seconds)
{
    const std::pair<std::int64_t, const char*> units[] = {
        {365 * 86400, "year"}, {86400, "day"}, {3600, "hour"}, {60, "minute"}};
    for (const auto& [length, name] : units) {
        if (seconds >= 2 * length || seconds == length)
            return Count(static_cast<std::size_t>((seconds + length / 2) / length), name);
    }
    return Count(static_cast<std::size_t>(seconds), "second");
}
