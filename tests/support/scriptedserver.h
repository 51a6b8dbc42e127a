// A web server in the test process, on a loopback port, that can misbehave on purpose: a script per path.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <QTcpServer>

class QTcpSocket;

// What the server does with a GET of one path.
struct Script
{
    int status = 200; // 0: no head, so that it is no HTTP
    std::string body = {};
    std::vector<std::string> headers = {}; // further ones, "Name: value"
    int sendOnly = -1;          // bytes of the body after which the answer breaks off; -1: the whole body
    bool announceLength = true; // a Content-Length with the length of the whole body
    bool chunked = false;       // in chunks of `piece` bytes instead of under a Content-Length
    bool finishChunks = true;   // the closing chunk; false breaks off before it

    enum class End
    {
        Close, // the connection closes in order
        Reset, // the connection breaks with a reset
        Stall  // nothing follows, and the connection stays
    };
    End end = End::Close;

    int delay = 0; // milliseconds before the answer begins
    int piece = 0; // the body goes in pieces of so many bytes; 0: at once
    int pause = 0; // milliseconds between the pieces
};

// Single-threaded: works while the test's event loop runs. One request a connection.
class ScriptedServer : public QTcpServer
{
public:
    // On a free port if `port` is 0. Ends the program if the port is taken.
    explicit ScriptedServer(quint16 port = 0);

    // "http://127.0.0.1:port/LatestVersion/", the base of the paths below.
    std::string BaseUrl() const;

    std::map<std::string, Script> scripts; // by path below the base, as it comes over the wire or decoded
    Script fallback;                       // for all other paths; at first 404

    std::vector<std::string> requests; // paths in the order of their arrival
    int running = 0;                   // requests that have come and whose connection is still open
    int mostAtOnce = 0;

    int Requests(const std::string& path) const;

private:
    void Accept();
    void Read(QTcpSocket& socket);
    void Answer(QTcpSocket& socket, const Script& script);
};
