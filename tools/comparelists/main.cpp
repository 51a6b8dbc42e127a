// compare-lists: the publisher's command that tells what an update does to a player.

#include <cstdio>

#include <QCoreApplication>

#include "comparelists/comparison.h"
#include "console/commandline.h"
#include "platform/platform.h"

namespace {
const char Help[] =
    R"(Usage: compare-lists OLD NEW [--rate MBIT]
Tells what an update from the list OLD to the list NEW does to a player: what
is fetched and deleted, and what of it may surprise.

  OLD, NEW     list files, as make-list writes them
  --rate MBIT  tell how long the update takes on a line of so many Mbit/s
  --help       show this text
  --version    show the version

Remarks come last, one line each.
Exit code 0: no remark that hurts players; 1: there is one; 2: wrong usage, or
a list can't be read.
)";
} // namespace

int main(int argc, char* argv[])
{
    FixTextConventions();
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption rateOption("rate", "", "MBIT");
    parser.addOption(rateOption);
    if (const auto code = ReadCommandLine(parser, "compare-lists", Help, 2))
        return *code;
    const double rate = parser.value(rateOption).toDouble();
    if (parser.isSet(rateOption) && !(rate > 0))
        return ComplainAboutUsage("MBIT is not a number above 0", Help);

    PublishedList old;
    PublishedList now;
    QString fault = ReadPublishedList(parser.positionalArguments().first(), old);
    if (fault.isEmpty())
        fault = ReadPublishedList(parser.positionalArguments().last(), now);
    if (!fault.isEmpty()) {
        std::fprintf(stderr, "compare-lists: %s\n", qPrintable(fault));
        return WrongUsage;
    }
    const Comparison comparison = CompareLists(old, now);
    std::fputs(ReportText(comparison, rate).c_str(), stdout);
    return comparison.hurts ? SomethingWrong : Fine;
}
