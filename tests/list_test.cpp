// The file list, from the file to its records.
#include "gametree/filelist.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
// The number of lines and the records: {D path}, {F path size digest}.
std::string Outcome(const std::string& file)
{
    const TemporaryTree tree;
    WriteFile(tree.Path("List.txt"), file);
    std::vector<std::string> lines;
    ReadListLines(lines, tree.WindowsRoot() + "\\List.txt");
    ContentList content;
    if (!ParseFileList(lines, content))
        return "no list";
    std::string text = std::to_string(lines.size()) + ": ";
    for (const std::string& directory : content.directories)
        text += "{D " + directory + "}";
    for (std::size_t i = 0; i < content.fileNames.size(); ++i)
        text += "{F " + content.fileNames[i] + " " + std::to_string(content.fileSizes.at(i)) + " " +
                content.fileDigests.at(i) + "}";
    return text;
}
} // namespace

class ListTest : public QObject
{
    Q_OBJECT

private slots:
    void records()
    {
        const char* const rows[][2] = {
            {"F#b#1#x\nD#d\\e\nF#a#2#y\nD#d\nF#b#1#x\n", "5: {D d\\e}{D d}{F b 1 x}{F a 2 y}{F b 1 x}"},
            {"D#a\r\n\nD#b\n\r\nF#c#1#h", "5: {D a}{D b}{F c 1 h}"},
            {"D#a\rb\r\r\nF#c#1#h\r", "2: {D a\rb\r}{F c 1 h\r}"}, // other carriage returns
            {"D#a\032b\nD#\377\nF#c%?\t#1#h\n", "3: {D a\032b}{D \377}{F c%?\t 1 h}"},
            {"\357\273\277D#x\nd#x\nf#x#1#y\n D#x\nDD#x\n#D#x\nFILE\n##\nF#a#12#h\n", "9: {F a 12 h}"},
            {"D#d#x\nF#a#12#h#extra\n", "2: {D d}{F a 12 h}"},
            {"D#\nD# d \nF#a##\nF##1# H \n", "4: {D }{D  d }{F a 0 }{F  1  H }"},
            {"F#a#12abc#h\nF#b# \t-5#h\nF#c#+7#h\nF#d#x1#h\n", "4: {F a 12 h}{F b -5 h}{F c 7 h}{F d 0 h}"},
            {"F#e#4294967297#h\nF#f#2147483648#h\n", "2: {F e 1 h}{F f -2147483648 h}"},
            {"D#d\nf#a#12#h\n", "no list"},
        };
        for (const auto& [file, outcome] : rows)
            QCOMPARE(Outcome(file).c_str(), outcome);
        // Half a record is enough to refuse it all, and so is one that leads out of the tree.
        for (const std::string record : {"D", "F", "F#b", "F#b#1", "D#x\\..\\..\\y", "F#../y#1#h"})
            QCOMPARE(Outcome("F#a#12#h\n" + record + "\n").c_str(), "no list");
    }
};

LAUNCHER_TEST_MAIN(ListTest)
#include "list_test.moc"
