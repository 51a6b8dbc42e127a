// The window's constructor and destructor.
#include <QAbstractItemView>
#include <QKeySequence>
#include <QListView>
#include <QPushButton>
#include <QStringListModel>
#include <QUrl>
#include <QWebEnginePage>
#include <QWebEngineView>

#include "digest/filedigest.h"
#include "form/mainwindowform.h"
#include "gametree/layout.h"
#include "gametree/strings.h"
#include "helpers/files.h"
#include "helpers/paths.h"
#include "mainwindow/cyclestate.h"
#include "mainwindow/mainwindow.h"
#include "mainwindow/speedmeter.h"
#include "platform/platform.h"
#include "processes/processtable.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"

namespace {
constexpr int IconResource = 102;

void FillContext(const MainWindowForm& form)
{
    LauncherContext& context = LauncherContext::Instance();
    context.centralWidget = form.centralWidget;
    context.PercentageText = form.PercentageText;
    context.Play = form.Play;
    context.ProgressBar = form.ProgressBar;
    context.StatusText = form.StatusText;
    context.WebView = form.WebView;
    context.LogListView = form.LogListView;
}
} // namespace

MainWindow::MainWindow()
    : QMainWindow(nullptr, Qt::WindowFlags()),
      ui(new MainWindowForm),
      gameProcessRunning(IsGameProcessRunning(GameName))
{
    ResetCycleState();

    void* object = nullptr;
    CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_ALL, IID_ITaskbarList3, &object);
    taskbar = static_cast<ITaskbarList3*>(object);

    ui->setupUi(this);
    setWindowFlags(windowFlags() | Qt::MSWindowsFixedSizeDialogHint);
    const auto handle = reinterpret_cast<HWND>(winId());
    const HICON icon = LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IconResource));
    SetClassLongPtrA(handle, GCLP_HICON, reinterpret_cast<LONG_PTR>(icon));

    // The view stays hidden until the page has finished loading.
    ui->WebView->load(QUrl(QString(patchNotesUrl.c_str()), QUrl::TolerantMode));
    connect(ui->WebView->page(), &QWebEnginePage::loadFinished, this, &MainWindow::OnPatchNotesLoaded);
    ui->WebView->setContextMenuPolicy(Qt::NoContextMenu);
    // Takes the key away from the page, which would go back in its history.
    ui->WebView->grabShortcut(QKeySequence(Qt::Key_Backspace), Qt::WindowShortcut);

    connect(ui->Play, SIGNAL(clicked()), this, SLOT(on_Play_clicked()));

    updateTimer.setInterval(0);
    updateTimer.start();
    connect(&updateTimer, SIGNAL(timeout()), this, SLOT(Update()));

    logModel = new QStringListModel(this);
    ui->LogListView->setModel(logModel);
    ui->LogListView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // The view measures no rows, so a long log costs it little. FlushLog() sets the grid.
    ui->LogListView->setUniformItemSizes(true);

    FillContext(*ui);

    // Up to the installed launcher's folder: every relative path of the cycle starts there.
    const std::string installedFolder = StripPathComponents(CurrentDirectory(), TemporaryFolderDepth);
    SetCurrentDirectoryA(installedFolder.c_str());
    Log("Current directory after opening temporary application: " + CurrentDirectory());
    launcherDigest = FileSha256(installedFolder + "\\" + LauncherFileName);
}

MainWindow::~MainWindow()
{
    SetTimerFine(false); // closed in the middle of a cycle
    ReleaseDigestBuffer();
    fileQueue.clear();
    DeleteTransfers();
    delete logModel;
    logModel = nullptr;
    delete ui;
    ui = nullptr;
    delete speedMeter;
    speedMeter = nullptr;
}

void MainWindow::OnPatchNotesLoaded(bool)
{
    LauncherContext::Instance().WebView->setVisible(true);
}
