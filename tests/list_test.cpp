// The file list, from the file to its records.
#include "mainwindow/filelist.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
// The number of lines and the records: {D path}, {F path size digest}.
std::string Readable(std::size_t lines, const ContentList& content)
{
    std::string text = std::to_string(lines) + ": ";
    for (const std::string& directory : content.directories)
        text += "{D " + directory + "}";
    for (std::size_t i = 0; i < content.fileNames.size(); ++i)
        text += "{F " + content.fileNames[i] + " " + std::to_string(content.fileSizes.at(i)) + " " +
                content.fileDigests.at(i) + "}";
    return text;
}

struct ListRow
{
    const char* name;
    std::string file;
    std::string outcome; // "no list" if there is nothing to act on
};
const ListRow rows[] = {
    {"order and doubles", "F#b#1#x\nD#d\\e\nF#a#2#y\nD#d\nF#b#1#x\n",
     "5: {D d\\e}{D d}{F b 1 x}{F a 2 y}{F b 1 x}"},
    {"mixed line ends, none at the end", "D#a\r\n\nD#b\n\r\nF#c#1#h", "5: {D a}{D b}{F c 1 h}"},
    {"other carriage returns", "D#a\rb\r\r\nF#c#1#h\r", "2: {D a\rb\r}{F c 1 h\r}"},
    {"bytes with a meaning elsewhere", "D#a\032b\nD#\377\nF#c%?\t#1#h\n",
     "3: {D a\032b}{D \377}{F c%?\t 1 h}"},
    {"a long line", "F#" + std::string(100000, 'x') + "#1#h\n",
     "1: {F " + std::string(100000, 'x') + " 1 h}"},
    {"skipped", "\nd#x\nf#x#1#y\n D#x\nDD#x\n#D#x\nFILE\n##\nF#a#12#h\n", "9: {F a 12 h}"},
    {"byte-order mark", "\357\273\277D#x\nF#a#12#h\n", "2: {F a 12 h}"},
    {"further fields", "D#d#x\nF#a#12#h#extra\n", "2: {D d}{F a 12 h}"},
    {"empty fields", "D#\nF#a##\nF##1#h\n", "3: {D }{F a 0 }{F  1 h}"},
    {"nothing trimmed", "D# d \nF#a #1# H \n", "2: {D  d }{F a  1  H }"},
    {"sizes as text", "F#a#12abc#h\nF#b# \t-5#h\nF#c#+7#h\nF#d#x1#h\n",
     "4: {F a 12 h}{F b -5 h}{F c 7 h}{F d 0 h}"},
    {"sizes beyond 32 bits", "F#e#4294967297#h\nF#f#2147483648#h\nF#g#4294967295#h\n",
     "3: {F e 1 h}{F f -2147483648 h}{F g -1 h}"},
    {"empty file", "", "no list"},
    {"one line end", "\n", "no list"},
    {"no file listed", "D#d\nf#a#12#h\n", "no list"},
    {"a foreign page", "<html>\n<a href=\"#F\">#</a>\n", "no list"},
    {"folder without a path", "F#a#12#h\nD\n", "no list"},
    {"file without its fields", "F#a#12#h\nF\n", "no list"},
    {"file without a size", "F#a#12#h\nF#b\n", "no list"},
    {"file without a digest", "F#a#12#h\nF#b#1\n", "no list"},
    {"folder outside", "F#a#12#h\nD#x\\..\\..\\y\n", "no list"},
    {"file outside", "F#../y#1#h\nF#a#12#h\n", "no list"},
};
} // namespace

class ListTest : public QObject
{
    Q_OBJECT

private slots:
    void records_data()
    {
        AddRows(rows);
    }
    void records()
    {
        QFETCH(int, index);
        const ListRow& row = rows[index];
        const TemporaryTree tree;
        QVERIFY(WriteFile(tree.Path("List.txt"), row.file));

        std::vector<std::string> lines;
        ReadListLines(lines, tree.WindowsRoot() + "\\List.txt");
        ContentList content;
        const bool valid = ParseFileList(lines, content);
        QCOMPARE((valid ? Readable(lines.size(), content) : "no list").c_str(), row.outcome.c_str());
    }
};

LAUNCHER_TEST_MAIN(ListTest)
#include "list_test.moc"
