// The calls of the platform layer, judged by what the Windows calls promise, so that the same program judges
// both sides. What a system can't arrange, such as a FIFO, is skipped there.
#include <functional>

#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QSysInfo>
#include <QTimer>

#include "platform/platform.h"
#include "processes/processname.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
QStringList boxesSeen;
const std::string Large = std::string(2500000, 'x') + "end"; // bytes, more than a copy has in hand at once

// The system's own box can't be pressed from here, and a failed start makes it ask the player.
const bool IsWindows = QSysInfo::kernelType() == "winnt";
constexpr auto ToQt = QString::fromStdString;

// Qt calls this for every application object, that of an early box and that of the tests.
void CloseBoxes()
{
    QTimer* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [] {
        if (auto box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            boxesSeen += box->windowTitle() + "|" + box->text() + "|" + QString::number(box->icon()) + "|" +
                         QString::number(box->textFormat());
            box->close();
        }
    });
    timer->start(20);
}

// Those of the paths below `root` that the call takes.
QStringList Taken(const std::string& root, const QStringList& paths, const std::function<bool(LPCSTR)>& call)
{
    QStringList taken;
    for (const QString& path : paths) {
        if (call((root + path.toStdString()).c_str()))
            taken += path;
    }
    return taken;
}

bool Exists(LPCSTR path)
{
    return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
}

bool IsFolder(LPCSTR path)
{
    return Exists(path) && GetFileAttributesA(path) & FILE_ATTRIBUTE_DIRECTORY;
}

bool Opens(LPCSTR path)
{
    std::FILE* file = reinterpret_cast<std::FILE*>(&boxesSeen);
    return fopen_s(&file, path, "rt") == 0 ? std::fclose(file) == 0 : file != nullptr;
}

// The names that a listing yields, a directory with a closing slash; "(failed)" if it could not be begun.
QStringList Yielded(const std::string& pattern)
{
    WIN32_FIND_DATAA data;
    const HANDLE find = FindFirstFileA(pattern.c_str(), &data);
    if (find == INVALID_HANDLE_VALUE)
        return {"(failed)"};
    QStringList names;
    do
        names += ToQt(data.cFileName) + (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY ? "/" : "");
    while (FindNextFileA(find, &data));
    FindClose(find);
    names.sort();
    return names;
}

bool Start(const std::string& file)
{
    const HINSTANCE result = ShellExecuteA(nullptr, "open", file.c_str(), "", nullptr, SW_SHOWDEFAULT);
    return reinterpret_cast<ULONG_PTR>(result) > 32;
}
} // namespace

class PlatformTest : public QObject
{
    Q_OBJECT

    const TemporaryTree tree;
    const std::string root = tree.WindowsRoot();

private slots:
    void currentDirectory()
    {
        QVERIFY(SetCurrentDirectoryA((root + "\\").c_str()));
        std::string buffer(root.size() + 1, 'x');
        QCOMPARE(GetCurrentDirectoryA(DWORD(root.size()), &buffer[0]), DWORD(root.size() + 1));
        QCOMPARE(GetCurrentDirectoryA(DWORD(root.size() + 1), &buffer[0]), DWORD(root.size()));
        QCOMPARE(ToQt(buffer), ToQt(root + '\0'));
    }

    void paths()
    {
        QVERIFY(WriteTree(tree.Path("p"), {{"file", "1"}, {"empty", ""}, {"folder/x", "2"}}));
        QCOMPARE(Yielded(root + "\\p/\\*.*"), QStringList({"../", "./", "empty", "file", "folder/"}));
        for (const char* pattern : {"\\p\\file\\*.*", "\\absent\\*.*"})
            QCOMPARE(Yielded(root + pattern), QStringList("(failed)"));
        const QStringList paths =
            QString("\\file|/empty|\\file\\|\\file\\x|\\folder/|\\absent\\x|\\nöw\\").split('|');
        const auto taken = [&](auto call) { return Taken(root + "\\p", paths, call); };
        QCOMPARE(taken(Exists), QStringList({"\\file", "/empty", "\\folder/"}));
        QCOMPARE(taken(IsFolder), QStringList("\\folder/"));
        QCOMPARE(taken(Opens), QStringList({"\\file", "/empty"}));
        QCOMPARE(taken([](LPCSTR path) { return CreateDirectoryA(path, nullptr); }), QStringList("\\nöw\\"));
        QCOMPARE(taken(SetCurrentDirectoryA), QStringList({"\\folder/", "\\nöw\\"}));
        QCOMPARE(taken(DeleteFileA), QStringList({"\\file", "/empty"}));
        const Tree left = TreeOf(tree.Path("p"));
        QVERIFY2(left == Tree({{"folder/", ""}, {"folder/x", "2"}, {"nöw/", ""}}), Readable(left).c_str());
    }

    void oddThings()
    {
        if (IsWindows)
            QSKIP("no such things on this system");
        QVERIFY(WriteTree(tree.Path("odd"), {{"in/plain", ""}, {"in/other\\x", ""}, {"other/x", ""}}));
        for (const auto& [target, link] : {std::pair("", "folder"), {"/x", "file"}, {"/absent", "nothing"}})
            QVERIFY(QFile::link(ToQt(tree.Path("odd/other")) + target, ToQt(tree.Path("odd/in/to ")) + link));
        QCOMPARE(QProcess::execute("mkfifo", {ToQt(tree.Path("odd/in/fifo"))}), 0);

        const std::string in = root + "\\odd\\in\\";
        QCOMPARE(Yielded(in + "*.*"), QStringList({"../", "./", "plain", "to file", "to folder/"}));
        // Nobody is at the other end of the FIFO.
        const QStringList names = {"to file", "to folder", "to nothing", "fifo"};
        QCOMPARE(Taken(in, names, Exists), names);
        QCOMPARE(Taken(in, names, IsFolder), QStringList("to folder"));
        QCOMPARE(Taken(in, names, Opens), QStringList("to file"));
        QCOMPARE(Taken(in, names, DeleteFileA), QStringList({"to file", "to nothing", "fifo"}));
        QVERIFY(QFile::exists(ToQt(tree.Path("odd/other/x"))));
    }

    void copying()
    {
        Tree files = {{"long", "long content"}, {"short", "sh"}, {"large", Large}, {"sub/", ""}};
        QVERIFY(WriteTree(tree.Path("copying"), files));
        const std::string in = root + "\\copying\\";
        const auto copies = [&](const char* from, const char* to) {
            return CopyFileA((in + from).c_str(), (in + to).c_str(), FALSE) != 0;
        };
        for (const char* to : {"sub\\..\\long", "sub", "absent\\new", "new\\"})
            QVERIFY2(!copies("long", to), to);
        QVERIFY(!copies("absent", "long") && !copies("sub", "new"));
        QVERIFY(copies("large", "sub\\nöw") && copies("short", "long"));
        files["sub/nöw"] = files["large"];
        files["long"] = files["short"];
        const Tree left = TreeOf(tree.Path("copying"));
        QVERIFY2(left == files, Readable(left).c_str());
    }

    void runningProgram()
    {
        const std::string name = "kachel öl.EXE";
        const std::string running = root + "\\" + name;
        const std::string copy = root + "\\copy.exe";
        ChildProcess child(tree.Path(name));
        QVERIFY(WriteFile(tree.Path("copy.exe"), "old, not executable"));
        QVERIFY(CopyFileA(running.c_str(), copy.c_str(), FALSE));
        QVERIFY(QFileInfo(ToQt(tree.Path("copy.exe"))).isExecutable());
        QVERIFY(!CopyFileA(copy.c_str(), running.c_str(), FALSE));
        // A removed program is still called what it was, where one can be removed.
        QVERIFY(QFile::remove(ToQt(tree.Path(name))) || IsWindows);
        QCOMPARE(ToQt(ProcessName(child.Id())), ToQt(name));

        // An open handle names its process and no later one.
        const HANDLE reading = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, child.Id());
        const HANDLE ending = OpenProcess(PROCESS_TERMINATE, FALSE, child.Id());
        QVERIFY(TerminateProcess(ending, 0) && CloseHandle(ending) && child.WaitForEnd());
        HMODULE module = nullptr;
        DWORD needed = 0;
        QVERIFY(!EnumProcessModules(reading, &module, sizeof(module), &needed) && CloseHandle(reading));
    }

    void startingPrograms()
    {
        const std::string folder = tree.Path("grün und blau");
        const QString report = ToQt(tree.Path("report"));
        QVERIFY(WriteTree(folder, {{"garbage.exe", "no program"}, {"empty.exe", ""}, {"folder/", ""}}));
        QVERIFY(CopyChildProgram(folder + "/kachel 1.exe") && SetCurrentDirectoryA(folder.c_str()));
        qputenv("KACHEL_REPORT", report.toUtf8());
        const std::string bare = "kachel 1.exe";
        for (const std::string& file : {bare, root + "\\grün und blau\\" + bare}) {
            // As the launcher leaves a file that it has fetched.
            QVERIFY(QFile::setPermissions(ToQt(bare), QFile::ReadOwner | QFile::WriteOwner));
            QVERIFY2(Start(file), file.c_str());
            QTRY_VERIFY(QFile::exists(report));
            const QString told = QDir::fromNativeSeparators(ToQt(ReadFile(tree.Path("report"))));
            QCOMPARE(told, ToQt(folder + "\n0 arguments"));
            QVERIFY(QFile::remove(report));
        }
        qunsetenv("KACHEL_REPORT");
        if (IsWindows)
            QSKIP("the system would ask the player about each of the rest");
        // The last one is in the search path, which does not count.
        for (const char* file : {"garbage.exe", "empty.exe", "absent.exe", "folder", "", "true"})
            QVERIFY2(!Start(file), file);
    }

    void messageBoxes()
    {
        if (IsWindows)
            QSKIP("the system's own box can't be pressed from here");
        MessageBoxA(nullptr, "Grüße\n<b>&x</b>", "Fehler ö", MB_ICONERROR);
        QCOMPARE(boxesSeen, QStringList({"early|<b>text</b>|0|0", "Fehler ö|Grüße\n<b>&x</b>|3|0"}));
    }

    void windowIcon()
    {
        QVERIFY(LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(102)));
    }
};

int main(int argc, char** argv)
{
    if (!IsWindows) {
        qAddPreRoutine(CloseBoxes);
        MessageBoxA(nullptr, "<b>text</b>", "early", MB_OK);
    }
    return RunTest<PlatformTest>(argc, argv);
}
#include "platform_test.moc"
