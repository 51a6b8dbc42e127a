// check-server: the publisher's command that asks the update server as a launcher would.

#include <cstdio>

#include <QCoreApplication>

#include "checkserver/servercheck.h"
#include "console/commandline.h"
#include "platform/platform.h"

namespace {
constexpr std::chrono::seconds Patience{30};

const char Help[] =
    R"(Usage: check-server URL [--list FILE] [--from ADDRESS]... [--quick]
Asks the update server for the list and for every file that it names, as a
launcher would, and compares their sizes and digests with the list.

  URL             http://host/LatestVersion/, or the address of the list itself
  --list FILE     compare with this list, which make-list has written: without
                  it, an old version that a cache still gives out is not seen
  --from ADDRESS  ask this server or cache (host or host:port) under the host
                  name of URL; can be given several times
  --quick         ask for heads only and compare lengths: changed content of
                  the same length is not seen
  --help          show this text
  --version       show the version

Problems that a player would have go to standard output: one line each, in the
order of the list. Then follow remarks on how long caches may keep the answers,
and a summary. A server that sends no byte for 30 seconds ends the check.
Exit code 0: all is as the list says; 1: something is wrong; 2: wrong usage.
)";
} // namespace

int main(int argc, char* argv[])
{
    FixTextConventions();
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption quickOption("quick");
    const QCommandLineOption listOption("list", "", "FILE");
    const QCommandLineOption fromOption("from", "", "ADDRESS");
    parser.addOptions({quickOption, listOption, fromOption});
    if (const auto code = ReadCommandLine(parser, "check-server", Help))
        return *code;
    CheckOptions options;
    options.base = ServerBase(parser.positionalArguments().first().toStdString());
    options.quick = parser.isSet(quickOption);
    options.patience = Patience;
    if (options.base.empty())
        return ComplainAboutUsage("URL is not the address of a web server", Help);
    QStringList servers = parser.values(fromOption);
    for (const QString& server : servers) {
        if (!IsServerAddress(server.toStdString()))
            return ComplainAboutUsage("ADDRESS is not host or host:port", Help);
    }
    if (servers.isEmpty())
        servers += ""; // the one of the URL
    PublishedList published;
    if (parser.isSet(listOption)) {
        const QString fault = ReadPublishedList(parser.value(listOption), published);
        if (!fault.isEmpty())
            return ComplainAboutUsage(fault, Help);
        options.published = &published;
        options.publishedName = parser.value(listOption).toStdString();
    }

    std::size_t findings = 0;
    for (const QString& server : servers) {
        options.from = server.toStdString();
        ProgressLine line;
        const CheckResult result = CheckServer(
            options,
            [&line](const std::string& said) {
                line.Clear();
                std::printf("%s\n", said.c_str());
                std::fflush(stdout);
            },
            [&line](const Progress& progress) { line.Show(progress); });
        line.Clear();
        std::printf("%s\n", SummaryText(options, result).c_str());
        findings += result.findings;
    }
    return findings == 0 ? Fine : SomethingWrong;
}
