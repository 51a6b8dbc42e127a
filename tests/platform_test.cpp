// The calls of the platform layer, judged by what the Windows calls promise, so that the same program judges
// both sides. Only what neither the update cycle nor the end-to-end test would notice.
#include <QFileInfo>

#include "helpers/files.h"
#include "platform/platform.h"
#include "processes/processname.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
// What stands at a path, as the calls see it.
struct PathRow
{
    const char* path;
    bool exists;
    bool isFolder;
    bool opens;
    bool isDeleted;
};
const PathRow pathsOfEverySystem[] = {
    {"\\file", true, false, true, true},      {"/empty file", true, false, true, true},
    {"\\file\\", false, false, false, false}, {"\\file\\below", false, false, false, false},
    {"\\folder", true, true, false, false},   {"\\folder/", true, true, false, false},
    {"\\absent", false, false, false, false},
};
const PathRow pathsOfThisSystem[] = {
    {"\\link to file", true, false, true, true},
    {"\\link to folder", true, true, false, false},
    {"\\link to nothing", true, false, false, true},
    {"\\pipe", true, false, false, true}, // opening it would wait for the other end
};

bool Opens(LPCSTR path)
{
    std::FILE* file = nullptr;
    return fopen_s(&file, path, "rt") == 0 && std::fclose(file) == 0;
}
} // namespace

class PlatformTest : public QObject
{
    Q_OBJECT

    const TemporaryTree tree;

private slots:
    void callsAgreeAboutWhatStandsAtAPath()
    {
        const std::string folder = tree.WindowsRoot() + "\\paths";
        QVERIFY(WriteTree(tree.Path("paths"), {{"file", "1"}, {"empty file", ""}, {"folder/kept", "2"}}));
        std::vector<PathRow> rows(std::begin(pathsOfEverySystem), std::end(pathsOfEverySystem));
        int files = 3;
        if (!IsWindows) {
            const auto link = [&](const char* target, const char* name) {
                return QFile::link(target, QString::fromStdString(tree.Path("paths/")) + name);
            };
            QVERIFY(WriteFile(tree.Path("target"), "3"));
            QVERIFY(link("../target", "link to file") && link("folder", "link to folder"));
            QVERIFY(link("absent", "link to nothing"));
            QCOMPARE(QProcess::execute("mkfifo", {tree.Path("paths/pipe").c_str()}), 0);
            rows.insert(rows.end(), std::begin(pathsOfThisSystem), std::end(pathsOfThisSystem));
            files = 5; // neither the pipe nor the link that leads nowhere is listed
        }
        std::vector<std::string> listing;
        ListDirectory(folder, listing, true);
        QCOMPARE(static_cast<int>(listing.size()), files);
        for (const PathRow& row : rows) {
            const std::string path = folder + row.path;
            const DWORD attributes = GetFileAttributesA(path.c_str());
            const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
            QVERIFY2(exists == row.exists, row.path);
            QVERIFY2((exists && attributes & FILE_ATTRIBUTE_DIRECTORY) == row.isFolder, row.path);
            QVERIFY2(Opens(path.c_str()) == row.opens, row.path);
            QVERIFY2((DeleteFileA(path.c_str()) != 0) == row.isDeleted, row.path);
        }
        QCOMPARE(ReadFile(tree.Path("paths/folder/kept")).c_str(), "2");
        QVERIFY(IsWindows || QFile::exists(tree.Path("target").c_str()));
    }

    void aCopyIsWholeOrIsNotMade()
    {
        Tree files = {
            {"long", "long content"}, {"short", "short"}, {"large", std::string(2500000, 'x')}, {"in/", ""}};
        QVERIFY(WriteTree(tree.Path("copying"), files));
        const std::string folder = tree.WindowsRoot() + "\\copying\\";
        const auto copies = [&](const std::string& from, const std::string& to) {
            return CopyFileA((folder + from).c_str(), (folder + to).c_str(), FALSE) != 0;
        };
        QVERIFY(copies("large", "in\\nöw") && copies("short", "long"));
        QVERIFY(!copies("long", "in\\..\\long")); // the file itself, which must not be emptied
        QVERIFY(!copies("long", "in") && !copies("long", "absent\\new") && !copies("in", "new"));
        // A file that can be opened, and not be read.
        QVERIFY(IsWindows || !CopyFileA("/proc/self/mem", (folder + "half").c_str(), FALSE));
        files["in/nöw"] = files["large"];
        files["long"] = "short";
        COMPARE_ALL(TreeOf(tree.Path("copying")), files);
    }

    void aRunningProgramKeepsItsFileAndName()
    {
        const std::string name = "prögram.EXE";
        ChildProcess child(tree.Path(name));
        const std::string running = tree.WindowsRoot() + "\\" + name;
        const std::string copy = tree.WindowsRoot() + "\\copy.exe";
        QVERIFY(CopyFileA(running.c_str(), copy.c_str(), FALSE));
        QVERIFY(QFileInfo(tree.Path("copy.exe").c_str()).isExecutable());
        QVERIFY(!CopyFileA(copy.c_str(), running.c_str(), FALSE));
        // Where a running program can be removed, it is still called what it was.
        QVERIFY(QFile::remove(tree.Path(name).c_str()) || IsWindows);
        QCOMPARE(ProcessName(child.Id()).c_str(), name.c_str());

        // An open handle names its process and no later one.
        const HANDLE reading = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, child.Id());
        const HANDLE ending = OpenProcess(PROCESS_TERMINATE, FALSE, child.Id());
        QVERIFY(TerminateProcess(ending, 0) && CloseHandle(ending) && child.waitForFinished());
        HMODULE module = nullptr;
        DWORD needed = 0;
        QVERIFY(!EnumProcessModules(reading, &module, sizeof(module), &needed) && CloseHandle(reading));
    }
};

QTEST_GUILESS_MAIN(PlatformTest)
#include "platform_test.moc"
