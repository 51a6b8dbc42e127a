// What a server answered to one request, and what that means to a player.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class QNetworkReply;

// An answer without its body. Sizes in bytes.
struct Answer
{
    int status = 0;              // of HTTP; 0 if no head came
    std::string phrase;          // the server's words for the status
    std::string failure;         // what the network layer reports; empty if the answer ended in order
    std::string location;        // where a redirect leads
    std::string type;            // of the content
    std::string packing;         // content encoding, such as gzip; the launcher's network layer unpacks it
    bool chunked = false;        // in chunks instead of under a length
    std::int64_t announced = -1; // length; -1: none was given, or it was that of the packed body
    std::int64_t received = 0;   // after unpacking
};

// Reads everything but `received`, which the reader of the body counts.
Answer ReadAnswer(QNetworkReply& reply);

// What keeps a player from getting a file of the announced length, as words to stand after its path; empty if
// nothing does. `headOnly`: no body was asked for.
std::string FindFault(const Answer& answer, bool headOnly);

// In the same way, why the launcher would not notice that a transfer breaks off.
std::string FindLostLength(const Answer& answer);
