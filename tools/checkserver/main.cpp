// check-server: the publisher's command that asks the update server as a launcher would.

#include <cstdio>

#include <QCoreApplication>

#include "checkserver/servercheck.h"
#include "console/commandline.h"
#include "console/wording.h"
#include "helpers/numbers.h"
#include "platform/platform.h"

namespace {
constexpr std::chrono::seconds Patience{30};

const char Help[] =
    R"(Usage: check-server URL [--quick]
Asks the update server for the list and for every file that it names, as a
launcher would, and compares their sizes and digests with the list.

  URL        http://host/LatestVersion/, or the address of the list itself
  --quick    ask for heads only and compare lengths: changed content of the
             same length is not seen
  --help     show this text
  --version  show the version

Problems that a player would have go to standard output: one line each, in the
order of the list, and a summary. A server that sends no byte for 30
seconds ends the check. Exit code 0: all is as the list says; 1: something is
wrong; 2: wrong usage.
)";

std::string Summary(const CheckResult& result, bool quick)
{
    const std::string findings = Count(result.findings, "finding");
    if (result.ended)
        return "ended, since the server sent nothing for " + std::to_string(Patience.count()) +
               " seconds: " + GroupDigits(std::to_string(result.checked)) + " of " +
               Count(result.files, "file") + " checked, " + findings;
    if (result.files == 0)
        return "no file checked, since there is no list to go by";
    const std::string checked = Count(result.files, "file") + " checked" + (quick ? " by length" : "") + ", ";
    return checked + (result.findings > 0 ? findings : "all as the list says");
}
} // namespace

int main(int argc, char* argv[])
{
    FixTextConventions();
    QCoreApplication application(argc, argv);
    FixTextConventions();
    QCoreApplication::setApplicationName("check-server");
    QCoreApplication::setApplicationVersion(PROGRAM_VERSION);
    QCommandLineParser parser;
    const QCommandLineOption quickOption("quick");
    parser.addOption(quickOption);
    if (const auto code = ReadCommandLine(parser, Help))
        return *code;
    CheckOptions options;
    options.base = ServerBase(parser.positionalArguments().first().toStdString());
    options.quick = parser.isSet(quickOption);
    options.patience = Patience;
    if (options.base.empty())
        return ComplainAboutUsage("URL is not the address of a web server", Help);

    ProgressLine line;
    const CheckResult result = CheckServer(
        options,
        [&line](const std::string& finding) {
            line.Clear();
            std::printf("%s\n", finding.c_str());
            std::fflush(stdout);
        },
        [&line](const Progress& progress) { line.Show(progress); });
    line.Clear();
    std::printf("check-server: %s: %s\n", options.base.c_str(), Summary(result, options.quick).c_str());
    return result.findings == 0 ? Fine : SomethingWrong;
}
