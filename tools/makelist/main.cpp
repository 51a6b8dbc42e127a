// make-list: the publisher's command that lists a game tree.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>

#include <QCoreApplication>
#include <QFileInfo>
#include <QSaveFile>

#include "console/commandline.h"
#include "makelist/makelist.h"
#include "platform/platform.h"

namespace {
const char Help[] =
    R"(Usage: make-list TREE [-o FILE]
Writes the list of the game tree TREE, the folder that holds "Game".

  -o FILE    write the list to FILE, which is replaced when the list is complete
             (without it: to standard output)
  --help     show this text
  --version  show the version

Remarks about the tree go to standard error, one line each.
Exit code 0: the list was written, warnings allowed; 1: there is no list, and
the lines that begin with "make-list: error" say why; 2: wrong usage.
)";

void Print(const char* kind, const std::vector<std::string>& remarks)
{
    for (const std::string& remark : remarks)
        std::fprintf(stderr, "make-list: %s: %s\n", kind, remark.c_str());
}

// Why the list can't be written to this file, or nothing. Finds only what shows before there is a list.
QString FindObstacle(const QString& path)
{
    const QFileInfo file(path);
    if (file.isDir())
        return path + ": is a directory";
    // QSaveFile would put the list in its place. Even /dev/null would become a file, if root asks for it.
    if (file.exists() && !file.isFile())
        return path + ": is not a plain file";
    return QFileInfo(file.absolutePath()).isWritable() ? "" : path + ": its directory can't be written to";
}

// Why the list could not be written to standard output, or nothing.
QString WriteToStandardOutput(const std::string& list)
{
    const bool written =
        std::fwrite(list.data(), 1, list.size(), stdout) == list.size() && std::fflush(stdout) == 0;
    return written ? "" : "standard output: the list could not be written in full";
}

// The same for a file, which keeps its old content until the new one is on the disk.
QString WriteToFile(const std::string& list, const QString& path)
{
    // If the program ended between these lines, the unfinished file would stay. They take only a moment.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    QSaveFile file(path);
    // With a buffer, commit() would not tell that the disk was full when the buffer was written.
    bool written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    // If the disk has room for a part only, the next call says why.
    for (std::size_t at = 0; written && at < list.size();) {
        const qint64 count = file.write(list.data() + at, static_cast<qint64>(list.size() - at));
        written = count > 0;
        at += static_cast<std::size_t>(std::max<qint64>(count, 0));
    }
    return written && file.commit() ? "" : path + ": " + file.errorString();
}
} // namespace

int main(int argc, char* argv[])
{
    FixTextConventions();
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption outputOption("o", "", "FILE");
    parser.addOption(outputOption);
    if (const auto code = ReadCommandLine(parser, "make-list", Help))
        return *code;
    const QString output = parser.value(outputOption);
    if (parser.isSet(outputOption) && output.isEmpty())
        return ComplainAboutUsage("The name of FILE is empty", Help);

    Remarks remarks;
    const QString obstacle = output.isEmpty() ? "" : FindObstacle(output);
    if (!obstacle.isEmpty()) {
        Print("error", {obstacle.toStdString()});
        return SomethingWrong;
    }
    std::string list;
    {
        ProgressLine line;
        list = MakeList(
            parser.positionalArguments().first().toStdString(), remarks,
            [&line](const Progress& progress) { line.Show(progress); }, output.toStdString());
    }
    Print("warning", remarks.warnings);
    Print("error", remarks.errors);
    if (!remarks.errors.empty())
        return SomethingWrong;
    const QString trouble = output.isEmpty() ? WriteToStandardOutput(list) : WriteToFile(list, output);
    if (trouble.isEmpty())
        return Fine;
    Print("error", {trouble.toStdString()});
    return SomethingWrong;
}
