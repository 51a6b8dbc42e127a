// How long caches between server and player may give out an answer without asking again.
#pragma once

#include <cstdint>
#include <string>

class QNetworkReply;

struct Freshness
{
    std::int64_t seconds = 0; // from now on; 0: a cache has to ask again, or must not keep it at all
    std::string reason;       // the words of the answer from which this follows
};

// By the rules of HTTP (RFC 9111) for caches that many players share: the launcher itself has none.
Freshness FindFreshness(const QNetworkReply& reply);

// "3 hours", "90 minutes" or "1 second", to the nearest of the unit.
std::string RoughDurationText(std::int64_t seconds);
