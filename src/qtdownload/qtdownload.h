// One transfer: one HTTP GET of one URL into one local file.
#pragma once

#include <cstdint>
#include <string>

#include <QNetworkAccessManager>
#include <QObject>
#include <QString>

class QNetworkReply;

// Owned by the window's `transfers`, from its start until the tick after its end. Reports its end exactly
// once, by the window's TransferFinished; a transfer that is destroyed while it runs never reports. Carries
// one transfer and is not reused. The body is held in memory until the end. Reaches the window through
// LauncherContext.
class QtDownload : public QObject
{
    Q_OBJECT

public:
    QtDownload();
    ~QtDownload() override;

    // What to fetch and where to put it; to be called once, before download.
    void setTransfer(const std::string& address, const std::string& path);

public slots:
    // Starts the request and returns at once.
    void download();
    void downloadFinished(QNetworkReply* data);
    void downloadProgress(qint64 recieved, qint64 total);

public:
    std::int32_t lastReceived = 0; // bytes that the meter has booked, low 32 bits
    std::string filePath;          // the local file, for messages and for the test whether it arrived
    QNetworkAccessManager manager; // one each: a shared one would open no more than six connections to a host
    QNetworkReply* reply = nullptr; // owned; set while the request runs
    QString target;                 // the local file, for Qt
    QString url;
    bool writtenShort = false; // the reply was complete, but not all of it could be written
};
