// The calls of the platform layer, judged by what the Windows calls promise, so that the same program judges
// both sides. What a system can't arrange, such as a FIFO, is skipped there.
#include <clocale>
#include <cstdio>
#include <cstring>

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QMessageBox>
#include <QSysInfo>
#include <QTimer>

#include "platform/platform.h"
#include "processes/processname.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
// What a message box showed when it was closed.
struct BoxSeen
{
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    Qt::TextFormat format = Qt::AutoText;
    QMessageBox::StandardButtons buttons;
};
BoxSeen seenBox;
BoxSeen boxBeforeApplication;

// The system's own box can't be pressed from here, and a failed start makes it ask the player.
bool IsWindows()
{
    return QSysInfo::kernelType() == "winnt";
}

void CloseBoxSoon()
{
    QTimer* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [timer] {
        auto box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        seenBox = {box->windowTitle(), box->text(), box->icon(), box->textFormat(), box->standardButtons()};
        timer->deleteLater();
        box->close();
    });
    timer->start(20);
}

// Qt calls this whenever an application object is made; the first one belongs to the early box.
void CloseEarlyBox()
{
    if (boxBeforeApplication.title.isEmpty())
        CloseBoxSoon();
}

void ShowBoxBeforeApplication()
{
    if (IsWindows())
        return;
    qAddPreRoutine(CloseEarlyBox);
    MessageBoxA(nullptr, "early <b>text</b>", "early caption", MB_OK);
    boxBeforeApplication = seenBox;
}

QString ToQt(const std::string& text)
{
    return QString::fromStdString(text);
}

// The names that a listing yields, a directory with a closing slash; "(failed)" if it could not be begun.
QStringList Yielded(const std::string& pattern)
{
    WIN32_FIND_DATAA data;
    const HANDLE find = FindFirstFileA(pattern.c_str(), &data);
    if (find == INVALID_HANDLE_VALUE)
        return {"(failed)"};
    QStringList names;
    do {
        const bool directory = data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
        names += QString::fromUtf8(data.cFileName) + (directory ? "/" : "");
    } while (FindNextFileA(find, &data));
    FindClose(find);
    names.sort();
    return names;
}

// A link in the file system's sense, which not every system makes this way.
bool MakeLink(const std::string& target, const std::string& link)
{
    return QFile::link(ToQt(target), ToQt(link)) && QFileInfo(ToQt(link)).isSymLink();
}

bool MakeFifo(const std::string& path)
{
    return !IsWindows() && QProcess::execute("mkfifo", {ToQt(path)}) == 0;
}

// Its identifier if a process of this name runs, or 0.
DWORD FindProcess(const std::string& name)
{
    for (const DWORD process : RunningProcesses()) {
        if (ProcessName(process) == name)
            return process;
    }
    return 0;
}

bool Succeeds(HINSTANCE result)
{
    return reinterpret_cast<ULONG_PTR>(result) > 32;
}

HINSTANCE Start(const std::string& file)
{
    return ShellExecuteA(nullptr, "open", file.c_str(), "", nullptr, SW_SHOWDEFAULT);
}
} // namespace

class PlatformTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        SetCurrentDirectoryA(start.c_str());
    }

    void currentDirectory()
    {
        const TemporaryTree tree;
        const std::string root = tree.WindowsRoot();
        char buffer[MAX_PATH] = {};
        QVERIFY(SetCurrentDirectoryA((root + "\\").c_str()));
        QVERIFY(!SetCurrentDirectoryA((root + "\\absent").c_str()));
        QCOMPARE(GetCurrentDirectoryA(sizeof(buffer), buffer), DWORD(root.size()));
        QCOMPARE(ToQt(buffer), ToQt(root));

        QCOMPARE(GetCurrentDirectoryA(DWORD(root.size() + 1), buffer), DWORD(root.size()));
        QCOMPARE(GetCurrentDirectoryA(DWORD(root.size()), buffer), DWORD(root.size() + 1));
        QCOMPARE(GetCurrentDirectoryA(0, nullptr), DWORD(root.size() + 1));
    }

    void folders()
    {
        const TemporaryTree tree;
        const std::string root = tree.WindowsRoot();
        QVERIFY(WriteTree(tree.Root(), {{"file", "1"}, {"sub/x", "2"}}));
        for (const char* path : {"\\new", "/sub/nöw/"})
            QVERIFY2(CreateDirectoryA((root + path).c_str(), nullptr), path);
        for (const char* path : {"\\sub", "\\file", "\\absent\\new"})
            QVERIFY2(!CreateDirectoryA((root + path).c_str(), nullptr), path);

        QVERIFY(DeleteFileA((root + "/sub/x").c_str()));
        for (const char* path : {"\\sub\\x", "\\new", "\\file\\", "\\file\\x"})
            QVERIFY2(!DeleteFileA((root + path).c_str()), path);
        const Tree left = TreeOf(tree.Root());
        QVERIFY2(left == Tree({{"file", "1"}, {"new/", ""}, {"sub/", ""}, {"sub/nöw/", ""}}),
                 Readable(left).c_str());

        for (const char* path : {"\\sub", "/sub/", "\\sub\\..\\new"})
            QVERIFY2(GetFileAttributesA((root + path).c_str()) & FILE_ATTRIBUTE_DIRECTORY, path);
        QVERIFY(!(GetFileAttributesA((root + "/file").c_str()) & FILE_ATTRIBUTE_DIRECTORY));
        for (const char* path : {"\\absent", "\\file\\x", "\\file\\"})
            QCOMPARE(GetFileAttributesA((root + path).c_str()), INVALID_FILE_ATTRIBUTES);
        QCOMPARE(GetFileAttributesA(""), INVALID_FILE_ATTRIBUTES);
    }

    void listing()
    {
        const TemporaryTree tree;
        const std::string root = tree.WindowsRoot();
        QVERIFY(WriteTree(tree.Root(),
                          {{"dir/.hidden", ""}, {"dir/bare", ""}, {"dir/ö.txt", ""}, {"dir/sub/x", ""}}));
        const QStringList expected = {"../", "./", ".hidden", "bare", "sub/", "ö.txt"};
        for (const char* pattern : {"\\dir\\*.*", "\\dir\\\\*.*", "/dir/*.*", "/dir\\/\\*.*"})
            QCOMPARE(Yielded(root + pattern), expected);
        QVERIFY(SetCurrentDirectoryA((root + "\\dir").c_str()));
        QCOMPARE(Yielded("*.*"), expected);
        QCOMPARE(Yielded("sub\\*.*"), QStringList({"../", "./", "x"}));
        for (const char* pattern : {"\\absent\\*.*", "\\dir\\bare\\*.*"})
            QCOMPARE(Yielded(root + pattern), QStringList("(failed)"));
    }

    void listingOfOddThings()
    {
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), {{"dir/plain", ""}, {"other/x", ""}}));
        if (!MakeLink(tree.Path("other"), tree.Path("dir/to folder")) ||
            !MakeLink(tree.Path("other/x"), tree.Path("dir/to file")) ||
            !MakeLink(tree.Path("absent"), tree.Path("dir/to nothing")) || !MakeFifo(tree.Path("dir/fifo")) ||
            !WriteFile(tree.Path("dir/other\\x"), ""))
            QSKIP("no such things on this system");
        QCOMPARE(Yielded(tree.WindowsRoot() + "\\dir\\*.*"),
                 QStringList({"../", "./", "plain", "to file", "to folder/"}));

        const auto attributes = [&](const char* name) {
            return GetFileAttributesA((tree.WindowsRoot() + "\\dir\\" + name).c_str());
        };
        QVERIFY(attributes("to nothing") != INVALID_FILE_ATTRIBUTES);
        QVERIFY(attributes("to folder") & FILE_ATTRIBUTE_DIRECTORY);
        QVERIFY(!(attributes("to file") & FILE_ATTRIBUTE_DIRECTORY));

        // Of a link to a file the link goes; one to a folder is a folder.
        QVERIFY(!DeleteFileA((tree.WindowsRoot() + "\\dir\\to folder").c_str()));
        for (const char* name : {"to file", "to nothing"})
            QVERIFY(DeleteFileA((tree.WindowsRoot() + "\\dir\\" + name).c_str()));
        QVERIFY(QFile::exists(ToQt(tree.Path("other/x"))));
    }

    void copying_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<bool>("failIfExists");
        QTest::addColumn<bool>("copied");
        const auto row = [](const char* name, QString from, QString to, bool failIfExists, bool copied) {
            QTest::newRow(name) << from << to << failIfExists << copied;
        };
        row("to a new name", "long", "sub\\new ö", false, true);
        row("to a new name only", "long", "new", true, true);
        row("shorter over longer", "short", "long", false, true);
        row("several blocks", "large", "long", false, true);
        row("over one that is to stay", "short", "long", true, false);
        row("onto itself", "long", "sub\\..\\long", false, false);
        row("absent", "absent", "long", false, false);
        row("of a folder", "sub", "new", false, false);
        row("onto a folder", "long", "sub", false, false);
        row("into no folder", "long", "absent\\new", false, false);
        row("to a name with a closing separator", "long", "new\\", false, false);
    }
    void copying()
    {
        QFETCH(QString, from);
        QFETCH(QString, to);
        QFETCH(bool, failIfExists);
        QFETCH(bool, copied);
        const TemporaryTree tree;
        Tree expected = {{"long", "long content"}, {"short", "sh"}, {"sub/", ""}};
        std::string large(2500000, 'x');
        for (std::size_t i = 0; i < large.size(); ++i)
            large[i] = static_cast<char>(i >> 8 ^ i);
        expected["large"] = large;
        QVERIFY(WriteTree(tree.Root(), expected));

        const std::string root = tree.WindowsRoot() + "\\";
        const BOOL result =
            CopyFileA((root + from.toStdString()).c_str(), (root + to.toStdString()).c_str(), failIfExists);
        QCOMPARE(result != 0, copied);
        if (copied)
            expected[to.replace('\\', '/').toStdString()] = expected[from.toStdString()];
        const Tree left = TreeOf(tree.Root());
        QVERIFY2(left == expected, Readable(left).c_str());
    }

    void copyingPrograms()
    {
        const TemporaryTree tree;
        const std::string running = tree.WindowsRoot() + "\\running.exe";
        const std::string copy = tree.WindowsRoot() + "\\copy.exe";
        ChildProcess child(tree.Path("running.exe"));
        QVERIFY(child.IsRunning());
        QVERIFY(WriteFile(tree.Path("copy.exe"), "old, not executable"));
        QVERIFY(CopyFileA(running.c_str(), copy.c_str(), FALSE));
        QVERIFY(QFileInfo(ToQt(tree.Path("copy.exe"))).isExecutable());

        QVERIFY(!CopyFileA(copy.c_str(), running.c_str(), FALSE));
        QVERIFY(ReadFile(tree.Path("running.exe")) == ReadFile(tree.Path("copy.exe")));
        QVERIFY(child.IsRunning());
    }

    void opening()
    {
        const TemporaryTree tree;
        const std::string root = tree.WindowsRoot();
        const std::string content("line\r\nzero \0 end", 16);
        QVERIFY(WriteTree(tree.Root(), {{"dir/file", content}, {"dir/empty", ""}}));
        for (const char* path : {"\\dir\\file", "\\dir/empty"}) {
            std::FILE* file = nullptr;
            QVERIFY2(fopen_s(&file, (root + path).c_str(), "rt") == 0 && file, path);
            std::fclose(file);
        }
        // Nobody is at the other end of the FIFO, if there is one.
        MakeFifo(tree.Path("fifo"));
        for (const char* path : {"\\dir", "\\absent", "\\dir\\file\\", "\\fifo"}) {
            std::FILE* file = reinterpret_cast<std::FILE*>(this);
            QVERIFY2(fopen_s(&file, (root + path).c_str(), "rt") != 0 && !file, path);
            QVERIFY2(!_fsopen((root + path).c_str(), "rb", _SH_DENYNO), path);
        }

        std::FILE* file = _fsopen((root + "\\dir\\file").c_str(), "rb", _SH_DENYNO);
        QVERIFY(file);
        char buffer[100];
        QCOMPARE(std::fread(buffer, 1, sizeof(buffer), file), content.size());
        QCOMPARE(std::memcmp(buffer, content.data(), content.size()), 0);
        QCOMPARE(_fseeki64(file, 0, SEEK_END), 0);
        QCOMPARE(std::int64_t(_ftelli64(file)), std::int64_t(16));
        const std::int64_t beyond = (std::int64_t(5) << 30) + 1;
        QCOMPARE(_fseeki64(file, beyond, SEEK_SET), 0);
        QCOMPARE(std::int64_t(_ftelli64(file)), beyond);
        std::fclose(file);
    }

    void memory()
    {
        for (const std::size_t alignment : {1, 16, 64, 4096}) {
            for (const std::size_t size : {1, 4095, 2 << 20, (5 << 20) + 1}) {
                auto block = static_cast<char*>(_aligned_malloc(size, alignment));
                QVERIFY(block && reinterpret_cast<ULONG_PTR>(block) % alignment == 0);
                std::memset(block, 0xA5, size);
                _aligned_free(block);
            }
        }
        _aligned_free(nullptr);

        MEMORYSTATUSEX status = {};
        QVERIFY(!GlobalMemoryStatusEx(&status));
        status.dwLength = sizeof(status);
        QVERIFY(GlobalMemoryStatusEx(&status));
        QVERIFY(status.ullAvailPhys > 1 << 20);
        QVERIFY(status.ullTotalPhys >= status.ullAvailPhys);
    }

    void processNames()
    {
        const TemporaryTree tree;
        ChildProcess child(tree.Path("kachel öl.EXE"));
        QVERIFY(child.IsRunning());
        const DWORD read = PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;
        const HANDLE handle = OpenProcess(read, FALSE, child.Id());
        QVERIFY(handle);
        HMODULE module = nullptr;
        DWORD needed = 0;
        QVERIFY(EnumProcessModules(handle, &module, sizeof(module), &needed));
        QVERIFY(module && needed >= sizeof(module));
        char name[MAX_PATH] = {};
        QCOMPARE(GetModuleBaseNameA(handle, module, name, sizeof(name)), DWORD(std::strlen("kachel öl.EXE")));
        QCOMPARE(name, "kachel öl.EXE");

        // A removed program is still called what it was.
        const bool removed = QFile::remove(ToQt(tree.Path("kachel öl.EXE")));
        QCOMPARE(QString::fromStdString(ProcessName(child.Id())), QString("kachel öl.EXE"));

        // An open handle names its process and no later one.
        const HANDLE ending = OpenProcess(PROCESS_TERMINATE, FALSE, child.Id());
        QVERIFY(TerminateProcess(ending, 0));
        QVERIFY(CloseHandle(ending));
        const DWORD id = child.Id();
        QVERIFY(child.WaitForEnd());
        QVERIFY(!EnumProcessModules(handle, &module, sizeof(module), &needed));
        QVERIFY(CloseHandle(handle));
        for (const DWORD access : {read, DWORD(PROCESS_TERMINATE)})
            QTRY_VERIFY(!OpenProcess(access, FALSE, id));
        if (!removed)
            QSKIP("a running program can't be removed on this system");
    }

    void smallProcessTable()
    {
        DWORD table[3] = {0, 0, 7};
        DWORD filled = 0;
        QVERIFY(EnumProcesses(table, 2 * sizeof(DWORD), &filled));
        QCOMPARE(filled, DWORD(2 * sizeof(DWORD)));
        QCOMPARE(table[2], DWORD(7));
    }

    void startingPrograms_data()
    {
        QTest::addColumn<bool>("bareName");
        QTest::newRow("bare name in the current directory") << true;
        QTest::newRow("whole path") << false;
    }
    void startingPrograms()
    {
        QFETCH(bool, bareName);
        const TemporaryTree tree;
        const std::string program = "kachel " + std::to_string(GetCurrentProcessId()) + ".exe";
        QVERIFY(WriteTree(tree.Root(), {{"grün und blau/", ""}}));
        const std::string folder = tree.Path("grün und blau");
        QVERIFY(CopyChildProgram(folder + "/" + program));
        // As the launcher leaves a file that it has fetched.
        QVERIFY(QFile::setPermissions(ToQt(folder + "/" + program), QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(SetCurrentDirectoryA((tree.WindowsRoot() + "\\grün und blau").c_str()));
        const std::string file = bareName ? program : tree.WindowsRoot() + "\\grün und blau\\" + program;

        const QString report = ToQt(tree.Path("report"));
        qputenv("KACHEL_REPORT", report.toUtf8());
        QVERIFY(Succeeds(Start(file)));
        qunsetenv("KACHEL_REPORT");
        QTRY_VERIFY(QFile::exists(report));
        const QStringList lines = ToQt(ReadFile(tree.Path("report"))).split('\n');
        QCOMPARE(QDir::fromNativeSeparators(lines[0]), ToQt(folder));
        QCOMPARE(lines[1], QString("0 arguments"));
        QTRY_COMPARE(FindProcess(program), DWORD(0));

        QVERIFY(Succeeds(Start(file))); // now with its execute bit, and waiting
        QTRY_VERIFY(FindProcess(program) != 0);
        const HANDLE running = OpenProcess(PROCESS_TERMINATE, FALSE, FindProcess(program));
        QVERIFY(running && TerminateProcess(running, 0));
        CloseHandle(running);
        QTRY_COMPARE(FindProcess(program), DWORD(0));
    }

    void startingNothing()
    {
        if (IsWindows())
            QSKIP("the system would ask the player about each");
        const TemporaryTree tree;
        QVERIFY(
            WriteTree(tree.Root(), {{"garbage.exe", "no program"}, {"empty.exe", ""}, {"elsewhere/", ""}}));
        QVERIFY(CopyChildProgram(tree.Path("elsewhere/inpath.exe")));
        QVERIFY(SetCurrentDirectoryA(tree.WindowsRoot().c_str()));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", path + ":" + QByteArray::fromStdString(tree.Path("elsewhere")));
        for (const char* file : {"garbage.exe", "empty.exe", "absent.exe", "elsewhere", "inpath.exe", ""})
            QVERIFY2(!Succeeds(Start(file)), file);
        qputenv("PATH", path);
    }

    void messageBoxes()
    {
        if (IsWindows())
            QSKIP("the system's own box can't be pressed from here");
        QCOMPARE(boxBeforeApplication.title, QString("early caption"));
        QCOMPARE(boxBeforeApplication.text, QString("early <b>text</b>"));

        CloseBoxSoon();
        MessageBoxA(nullptr, "Grüße\n<b>&x</b>", "Fehler ö", MB_ICONERROR);
        QCOMPARE(seenBox.title, QString("Fehler ö"));
        QCOMPARE(seenBox.text, QString("Grüße\n<b>&x</b>"));
        QCOMPARE(seenBox.icon, QMessageBox::Critical);
        QCOMPARE(seenBox.format, Qt::PlainText);
        QCOMPARE(seenBox.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        CloseBoxSoon();
        MessageBoxA(nullptr, "text", "text", MB_OK);
        QCOMPARE(seenBox.icon, QMessageBox::NoIcon);
    }

    void windowIcon()
    {
        QWidget window;
        const HWND handle = reinterpret_cast<HWND>(window.winId());
        const HICON icon = LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(102));
        QVERIFY(icon);
        QVERIFY(!LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(103)));
        SetClassLongPtrA(handle, GCLP_HICON, reinterpret_cast<LONG_PTR>(icon));
        if (!IsWindows()) // whose own window bears it, past Qt
            QVERIFY(!window.windowIcon().pixmap(32, 32).isNull());
    }

    // There is an object or there is none, and the result says which.
    void taskbar()
    {
        void* object = this;
        const HRESULT result =
            CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_ALL, IID_ITaskbarList3, &object);
        QCOMPARE(object != nullptr, result >= 0);
    }

    void timeOfDay()
    {
        for (const __time64_t moment : {__time64_t(0), __time64_t(1720000000), __time64_t(5000000000)}) {
            std::tm local = {};
            QCOMPARE(_localtime64_s(&local, &moment), errno_t(0));
            const QDateTime expected = QDateTime::fromSecsSinceEpoch(moment);
            const QDateTime got({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday},
                                {local.tm_hour, local.tm_min, local.tm_sec});
            QCOMPARE(got, expected);
        }
        QElapsedTimer elapsed;
        const __time64_t before = _time64(nullptr);
        QVERIFY(std::abs(before - QDateTime::currentSecsSinceEpoch()) <= 1);
        elapsed.start();
        Sleep(30);
        QVERIFY(elapsed.elapsed() >= 29);
    }

private:
    const std::string start = QDir::currentPath().toStdString();
};

int main(int argc, char** argv)
{
    FixTextConventions();
    ShowBoxBeforeApplication();
    return RunTest<PlatformTest>(argc, argv);
}
#include "platform_test.moc"
