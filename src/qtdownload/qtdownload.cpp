#include "qtdownload/qtdownload.h"

#include <utility>

#include <QFile>
#include <QNetworkReply>
#include <QNetworkRequest>

#include "gametree/address.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"
#include "startup/launchercontext.h"

namespace {
// Qt now and then reports a body that broke off before its announced length as complete.
bool IsCutShort(QNetworkReply& reply)
{
    const QVariant announced = reply.header(QNetworkRequest::ContentLengthHeader);
    return announced.isValid() && reply.bytesAvailable() < announced.toLongLong();
}
} // namespace

QtDownload::QtDownload()
{
    connect(&manager, SIGNAL(finished(QNetworkReply*)), this, SLOT(downloadFinished(QNetworkReply*)));
}

QtDownload::~QtDownload()
{
    // Destroying a running request can end it, which must not be reported any more.
    manager.disconnect(this);
    if (reply) {
        reply->disconnect(this);
        delete reply;
        reply = nullptr;
    }
}

void QtDownload::setTransfer(const std::string& address, const std::string& path)
{
    lastReceived = 0;
    url = address.c_str();
    target = NativePath(path).c_str();
    filePath = path;
}

void QtDownload::download()
{
    reply = manager.get(QNetworkRequest(RequestAddress(url.toLocal8Bit())));
    connect(reply, SIGNAL(downloadProgress(qint64,qint64)), this, SLOT(downloadProgress(qint64,qint64)));
}

void QtDownload::downloadFinished(QNetworkReply* data)
{
    MainWindow& window = *LauncherContext::Instance().window;
    if (data != reply)
        window.Log("ERROR: QtDownload::downloadFinished, not same as reply");

    int error = reply->error();
    if (error == QNetworkReply::NoError && IsCutShort(*data))
        error = QNetworkReply::RemoteHostClosedError;
    if (error == QNetworkReply::NoError) {
        QFile file(target);
        if (file.open(QIODevice::WriteOnly)) {
            // A short write does not fail the transfer. The next start finds it by the file's digest.
            const QByteArray body = data->readAll();
            writtenShort = file.write(body) != body.size() || !file.flush();
            file.close();
        } else {
            window.Log("ERROR: Could not save the file, admin permission might be needed: " + filePath);
            error = QNetworkReply::UnknownContentError;
        }
    }

    // Not deleted at once: this slot runs inside a signal of the reply's manager.
    std::exchange(reply, nullptr)->deleteLater();
    window.TransferFinished(this, error);
}

void QtDownload::downloadProgress(qint64 recieved, qint64)
{
    LauncherContext::Instance().window->TransferProgress(recieved, this);
}
