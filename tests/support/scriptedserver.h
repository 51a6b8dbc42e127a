// A web server in the test process, on a loopback port, that can misbehave on purpose: a script per path.
#pragma once

#include <algorithm>
#include <map>
#include <string>

#include <QtNetwork>

// What the server does with a GET of one path.
struct Script
{
    int status = 200; // 0: no head, so that it is no HTTP
    std::string body = {};
    std::string head = {}; // further lines of the head, each with its end
    int sendOnly = -1;     // bytes of the body after which the answer breaks off; -1: the whole body
    int delay = 0;         // milliseconds before the answer begins
    int pieceSize = 0;     // bytes that are sent at a time, a millisecond apart; 0: all at once
    bool stalls = false;   // the connection stays open after the answer
};

// Single-threaded: works while the test's event loop runs. One request per connection.
class ScriptedServer : public QTcpServer
{
public:
    // On a free port if `port` is 0. Ends the program if the port is taken.
    explicit ScriptedServer(quint16 port = 0)
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { Read(*socket); });
            }
        });
        if (!listen(QHostAddress::LocalHost, port))
            qFatal("no loopback port %d: %s", port, qPrintable(errorString()));
    }

    // The base of the paths below.
    std::string BaseUrl() const
    {
        return "http://127.0.0.1:" + std::to_string(serverPort()) + basePath.toStdString();
    }

    // Ends all connections, also those whose other end has been killed and that never notice it.
    void DropConnections()
    {
        for (QTcpSocket* socket : findChildren<QTcpSocket*>())
            socket->abort();
    }

    std::map<std::string, Script> scripts; // by decoded path below the base
    Script fallback = {404, "not here"};   // for all other paths

    QStringList requests;    // decoded paths in the order of their arrival
    QList<QByteArray> heads; // the same requests as they came over the wire
    int running = 0;         // requests whose connection is still open
    int mostAtOnce = 0;

private:
    void Read(QTcpSocket& socket)
    {
        const QByteArray head = socket.peek(65536);
        if (!head.contains("\r\n\r\n"))
            return;
        socket.readAll();
        mostAtOnce = std::max(mostAtOnce, ++running);
        connect(&socket, &QTcpSocket::disconnected, this, [this] { --running; });

        QString path = QByteArray::fromPercentEncoding(head.split(' ').value(1));
        path.remove(0, path.startsWith(basePath) ? basePath.size() : 0);
        requests += path;
        heads += head;
        const auto found = scripts.find(path.toStdString());
        Answer(socket, found != scripts.end() ? found->second : fallback, head.startsWith("HEAD "));
    }

    void Answer(QTcpSocket& socket, const Script& script, bool headOnly)
    {
        QByteArray rest = QByteArray::fromStdString(script.body).mid(0, headOnly ? 0 : script.sendOnly);
        if (script.status > 0) {
            const QByteArray length = QByteArray::number(static_cast<int>(script.body.size()));
            rest.prepend("HTTP/1.1 " + QByteArray::number(script.status) +
                         " Scripted\r\nConnection: close\r\n" + script.head.c_str() +
                         "Content-Length: " + length + "\r\n\r\n");
        }
        const int piece = script.pieceSize > 0 ? script.pieceSize : rest.size();
        auto* const timer = new QTimer(&socket);
        connect(timer, &QTimer::timeout, &socket,
                [&socket, timer, rest, piece, stalls = script.stalls]() mutable {
                    timer->setInterval(1);
                    if (!socket.isOpen()) // the other end may be gone
                        return timer->stop();
                    socket.write(rest.left(piece));
                    rest.remove(0, piece);
                    if (rest.isEmpty()) {
                        timer->stop();
                        stalls ? void() : socket.disconnectFromHost();
                    }
                });
        timer->start(script.delay);
    }

    const QString basePath = "/LatestVersion/";
};
