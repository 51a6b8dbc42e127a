// The end of every transfer, and the report of what failed.
#include <QNetworkReply>
#include <QProgressBar>
#include <QWebEngineView>

#include "helpers/files.h"
#include "mainwindow/cyclestate.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"

namespace {
// The enumerator's name, or null for a value that gets no line of its own.
const char* NameOf(int error)
{
    switch (error) {
        case QNetworkReply::ConnectionRefusedError: return "ConnectionRefusedError";
        case QNetworkReply::RemoteHostClosedError: return "RemoteHostClosedError";
        case QNetworkReply::TimeoutError: return "TimeoutError";
        case QNetworkReply::OperationCanceledError: return "OperationCanceledError";
        case QNetworkReply::SslHandshakeFailedError: return "SslHandshakeFailedError";
        case QNetworkReply::TemporaryNetworkFailureError: return "TemporaryNetworkFailureError";
        case QNetworkReply::NetworkSessionFailedError: return "NetworkSessionFailedError";
        case QNetworkReply::BackgroundRequestNotAllowedError: return "BackgroundRequestNotAllowedError";
        case QNetworkReply::UnknownNetworkError: return "UnknownNetworkError";
        case QNetworkReply::ProxyConnectionRefusedError: return "ProxyConnectionRefusedError";
        case QNetworkReply::ProxyConnectionClosedError: return "ProxyConnectionClosedError";
        case QNetworkReply::ProxyNotFoundError: return "ProxyNotFoundError";
        case QNetworkReply::ProxyTimeoutError: return "ProxyTimeoutError";
        case QNetworkReply::ProxyAuthenticationRequiredError: return "ProxyAuthenticationRequiredError";
        case QNetworkReply::UnknownProxyError: return "UnknownProxyError";
        case QNetworkReply::ContentAccessDenied: return "ContentAccessDenied";
        case QNetworkReply::ContentOperationNotPermittedError: return "ContentOperationNotPermittedError";
        case QNetworkReply::ContentNotFoundError: return "ContentNotFoundError";
        case QNetworkReply::AuthenticationRequiredError: return "AuthenticationRequiredError";
        case QNetworkReply::ContentReSendError: return "ContentReSendError";
        case QNetworkReply::UnknownContentError: return "UnknownContentError";
        case QNetworkReply::ProtocolUnknownError: return "ProtocolUnknownError";
        case QNetworkReply::ProtocolInvalidOperationError: return "ProtocolInvalidOperationError";
        case QNetworkReply::ProtocolFailure: return "ProtocolFailure";
        default: return nullptr; // what Qt may report besides
    }
}

// The lines that lead a failed transfer's report.
void LogCause(MainWindow& window, int error)
{
    if (error == QNetworkReply::HostNotFoundError) {
        // The page came from the same dead network, or did not come. A later load shows the view again.
        LauncherContext::Instance().WebView->setHidden(true);
        window.Log("Can not locate host, your internet connection may be down");
    }
    if (error == QNetworkReply::ContentNotFoundError)
        window.Log("File not found on server");
    if (const char* name = NameOf(error))
        window.Log(name);
}
} // namespace

void MainWindow::TransferFinished(QtDownload* transfer, int error)
{
    finishedTransfers.push_back(transfer);
    if (error != 0) {
        LogCause(*this, error);
        Log("Failed to connect to the server");
        EndOffline("Failed to connect to server");
        return;
    }
    // The disk was full. An incomplete list would delete every file that it no longer names.
    const bool halfList = updateState == UpdateState::FetchingList && transfer->writtenShort;
    if (halfList)
        DeleteFileA(transfer->filePath.c_str());
    if (halfList || !FileExists(transfer->filePath)) {
        Log("Failed to write file");
        EndOffline("Failed to write file");
        return;
    }

    if (updateState == UpdateState::FetchingList) {
        // Processes events, so ticks run in it. None of them deletes `transfer`, whose slot is still on the
        // stack: nothing is drained in this state.
        const bool complete = ProcessFileList();
        if (updateState == UpdateState::Offline) // the list was refused
            return;
        updateState = UpdateState::DownloadingFiles;
        LauncherContext::Instance().ProgressBar->setHidden(false);
        SetProgress(0.0f);
        if (!complete) {
            updateState = UpdateState::ProcessesBlocking;
            return;
        }
    }
    // A file that ended well after another one had failed.
    if (updateState == UpdateState::Offline)
        OfferPlayOffline();
}
