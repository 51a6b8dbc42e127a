#include "support/scriptedserver.h"

#include <algorithm>

#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

namespace {
const std::string BasePath = "/LatestVersion/";

std::string Head(const Script& script)
{
    std::string head = "HTTP/1.1 " + std::to_string(script.status) + " Scripted\r\nConnection: close\r\n";
    if (script.chunked)
        head += "Transfer-Encoding: chunked\r\n";
    else if (script.announceLength)
        head += "Content-Length: " + std::to_string(script.body.size()) + "\r\n";
    for (const std::string& header : script.headers)
        head += header + "\r\n";
    return head + "\r\n";
}

std::string Chunk(const std::string& data)
{
    return QByteArray::number(static_cast<int>(data.size()), 16).toStdString() + "\r\n" + data + "\r\n";
}

// What goes over the wire, piece by piece; the head is part of the first.
std::vector<std::string> Pieces(const Script& script)
{
    const std::string body =
        script.sendOnly >= 0 ? script.body.substr(0, static_cast<std::size_t>(script.sendOnly)) : script.body;
    const std::size_t piece = script.piece > 0 ? static_cast<std::size_t>(script.piece) : body.size();

    std::vector<std::string> pieces = {script.status > 0 ? Head(script) : ""};
    for (std::size_t at = 0; at < body.size(); at += piece) {
        const std::string data = body.substr(at, piece);
        const std::string wire = script.chunked ? Chunk(data) : data;
        if (at == 0)
            pieces.back() += wire;
        else
            pieces.push_back(wire);
    }
    if (script.chunked && script.finishChunks && script.sendOnly < 0)
        pieces.back() += "0\r\n\r\n";
    return pieces;
}

void End(QTcpSocket& socket, Script::End end)
{
    switch (end) {
        case Script::End::Close: socket.disconnectFromHost(); break;
        case Script::End::Reset:
            // The last byte of the request still lies unread, so the system answers the close with a reset.
            socket.flush();
            socket.abort();
            break;
        case Script::End::Stall: break;
    }
}

void SendFrom(QPointer<QTcpSocket> socket, const Script& script, const std::vector<std::string>& pieces,
              std::size_t index)
{
    if (!socket || !socket->isOpen()) // the other end may be gone
        return;
    if (index == pieces.size()) {
        End(*socket, script.end);
        return;
    }
    socket->write(pieces[index].data(), static_cast<qint64>(pieces[index].size()));
    if (script.pause == 0) {
        SendFrom(socket, script, pieces, index + 1);
        return;
    }
    QTimer::singleShot(script.pause, socket.data(),
                       [socket, script, pieces, index] { SendFrom(socket, script, pieces, index + 1); });
}
} // namespace

ScriptedServer::ScriptedServer(quint16 port)
{
    fallback.status = 404;
    fallback.body = "not here";
    setMaxPendingConnections(1000);
    connect(this, &QTcpServer::newConnection, this, [this] { Accept(); });
    if (!listen(QHostAddress::LocalHost, port))
        qFatal("no loopback port %d: %s", port, qPrintable(errorString()));
}

std::string ScriptedServer::BaseUrl() const
{
    return "http://127.0.0.1:" + std::to_string(serverPort()) + BasePath;
}

int ScriptedServer::Requests(const std::string& path) const
{
    return static_cast<int>(std::count(requests.begin(), requests.end(), path));
}

void ScriptedServer::Accept()
{
    while (QTcpSocket* socket = nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { Read(*socket); });
    }
}

void ScriptedServer::Read(QTcpSocket& socket)
{
    const QByteArray request = socket.peek(65536);
    const int end = request.indexOf("\r\n\r\n");
    if (end < 0 || socket.property("answered").toBool())
        return;
    socket.setProperty("answered", true);

    std::string path = request.split(' ').value(1).toStdString();
    if (path.compare(0, BasePath.size(), BasePath) == 0)
        path.erase(0, BasePath.size());
    requests.push_back(path);
    mostAtOnce = std::max(mostAtOnce, ++running);
    connect(&socket, &QTcpSocket::disconnected, this, [this] { --running; });

    auto found = scripts.find(path);
    if (found == scripts.end())
        found = scripts.find(QByteArray::fromPercentEncoding(QByteArray::fromStdString(path)).toStdString());
    const Script script = found != scripts.end() ? found->second : fallback;
    if (script.end != Script::End::Reset)
        socket.readAll();
    if (script.delay == 0)
        Answer(socket, script);
    else
        QTimer::singleShot(script.delay, &socket, [this, &socket, script] { Answer(socket, script); });
}

void ScriptedServer::Answer(QTcpSocket& socket, const Script& script)
{
    SendFrom(&socket, script, Pieces(script), 0);
}
