// make-list TREE: the publisher's command. The list goes to standard output, whole or not at all; what there
// is to say about the tree goes to standard error. Exit code 0: fine, warnings allowed; 1: the tree can't be
// published as it is, or the list not written; 2: wrong usage.

#include <cstdio>

#include "makelist/makelist.h"
#include "platform/platform.h"

namespace {
// One line that renews itself with each per cent, and only where somebody watches.
void ShowProgress(std::size_t done, std::size_t total)
{
    static std::size_t shown = 101;
    const std::size_t percent = total == 0 ? 100 : done * 100 / total;
    if (percent == shown)
        return;
    shown = percent;
    std::fprintf(stderr, "\r%zu / %zu files%s", done, total, done == total ? "\n" : "");
    std::fflush(stderr);
}

void Print(const char* kind, const std::vector<std::string>& remarks)
{
    for (const std::string& remark : remarks)
        std::fprintf(stderr, "make-list: %s: %s\n", kind, remark.c_str());
}
} // namespace

int main(int argc, char* argv[])
{
    FixTextConventions();
    if (argc != 2 || argv[1][0] == '\0' || argv[1][0] == '-') {
        std::fprintf(stderr,
                     "Usage: make-list TREE > List.txt\n"
                     "Writes the list of the game tree TREE, the folder that holds \"Game\".\n");
        return 2;
    }

    const bool watched = _isatty(_fileno(stderr)) != 0;
    Remarks remarks;
    const std::string list = MakeList(argv[1], remarks, [watched](std::size_t done, std::size_t total) {
        if (watched)
            ShowProgress(done, total);
    });
    Print("warning", remarks.warnings);
    Print("error", remarks.errors);
    if (!remarks.errors.empty())
        return 1;
    if (std::fwrite(list.data(), 1, list.size(), stdout) != list.size() || std::fflush(stdout) != 0) {
        std::fprintf(stderr, "make-list: error: standard output: the list could not be written in full\n");
        return 1;
    }
    return 0;
}
