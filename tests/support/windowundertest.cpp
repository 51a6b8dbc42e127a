#include "support/windowundertest.h"

#include <algorithm>

#include <QCryptographicHash>
#include <QDir>
#include <QLabel>
#include <QStringListModel>
#include <QTest>
#include <QUrl>

#include "gametree/layout.h"
#include "startup/launchercontext.h"
#include "startup/steadyclock.h"
#include "startup/strings.h"

WindowUnderTest::WindowUnderTest() : startDirectory(QDir::currentPath())
{
    updateServerUrl = server.BaseUrl();
    fileListUrl = updateServerUrl + "List.txt";
    patchNotesUrl = "about:blank";

    WriteFile(tree.Path(Folder) + "/" + LauncherFileName, "launcher");
    StartAnew();
}

WindowUnderTest::~WindowUnderTest()
{
    Close();
    QDir::setCurrent(startDirectory);
}

void WindowUnderTest::StartAnew()
{
    Close();
    ResetCycleState();
    launcherDigest.clear();
    LauncherContext::Instance().closing = false;
    SteadyClock::Release();

    const QString temporaryFolder = QString::fromStdString(tree.Path(Folder) + "/" + tempFolderStem + "1");
    QDir().mkpath(temporaryFolder);
    QDir::setCurrent(temporaryFolder);
}

MainWindow& WindowUnderTest::Open()
{
    window = new MainWindow;
    window->gameProcessRunning = false;
    LauncherContext::Instance().window = window;
    window->show();
    return *window;
}

void WindowUnderTest::Close()
{
    LauncherContext::Instance().closing = true;
    delete window;
    window = nullptr;
    LauncherContext::Instance().window = nullptr;
}

bool WindowUnderTest::CycleEnded() const
{
    return updateState >= UpdateState::UpToDate;
}

bool WindowUnderTest::RunToTheEnd()
{
    if (!window)
        Open();
    return QTest::qWaitFor([this] { return CycleEnded() && window->transfers.empty(); }, 20000);
}

Tree WindowUnderTest::GameTree() const
{
    Tree game;
    for (const auto& [path, content] : TreeOf(tree.Root())) {
        const bool launchers =
            path.compare(0, std::string("Game/TessaloomLauncher/").size(), "Game/TessaloomLauncher/") == 0;
        if (!launchers && path != "Game/")
            game[path] = content;
    }
    return game;
}

std::vector<std::string> WindowUnderTest::LogLines() const
{
    std::vector<std::string> lines;
    for (const QString& line : window->logModel->stringList())
        lines.insert(lines.begin(), line.toStdString());
    lines.insert(lines.end(), window->pendingLogLines.begin(), window->pendingLogLines.end());
    for (std::string& line : lines)
        line.erase(0, std::string("[hh:mm:ss] ").size());
    return lines;
}

QString WindowUnderTest::Status() const
{
    return LauncherContext::Instance().StatusText->text();
}

QString WindowUnderTest::Percentage() const
{
    return LauncherContext::Instance().PercentageText->text();
}

std::string WindowUnderTest::ListOf(const Tree& tree)
{
    std::string list = "D#Game\r\nD#Game\\TessaloomLauncher\r\nD#Game\\TessaloomLauncher\\Release\r\n";
    const QByteArray launcher = QCryptographicHash::hash("launcher", QCryptographicHash::Sha256).toHex();
    std::string files =
        "F#Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe#8#" + launcher.toStdString() + "\r\n";
    for (const auto& [path, content] : tree) {
        std::string listed = path;
        std::replace(listed.begin(), listed.end(), '/', '\\');
        if (listed.back() == '\\') {
            list += "D#" + listed.substr(0, listed.size() - 1) + "\r\n";
            continue;
        }
        const QByteArray digest =
            QCryptographicHash::hash(QByteArray::fromStdString(content), QCryptographicHash::Sha256).toHex();
        files += "F#" + listed + "#" + std::to_string(content.size()) + "#" + digest.toStdString() + "\r\n";
    }
    return list + files;
}

void WindowUnderTest::Publish(const Tree& tree)
{
    server.scripts["List.txt"].body = ListOf(tree);
    server.scripts["Game/TessaloomLauncher/Release/TessaloomLauncher.exe"].body = "launcher";
    for (const auto& [path, content] : tree) {
        if (path.back() == '/')
            continue;
        const QUrl url(QString::fromStdString(updateServerUrl + path), QUrl::TolerantMode);
        const QByteArray wire = url.path(QUrl::FullyEncoded).toUtf8();
        server.scripts[wire.toStdString().substr(std::string("/LatestVersion/").size())].body = content;
    }
}
