#include "console/listfile.h"

#include <algorithm>
#include <cstdlib>

#include <QFile>

namespace {
// Bytes; more than any file has. The sum of many sizes stays within 64 bits.
constexpr long long LargestSize = 1LL << 42;

bool BeginsWith(const std::string& line, const std::string& start)
{
    return line.compare(0, start.size(), start) == 0;
}
} // namespace

bool ParsePublishedList(const std::vector<std::string>& lines, PublishedList& list, std::string& fault)
{
    if (!ParseFileList(lines, list.content, &fault))
        return false;
    const std::string count = std::string("#") + RecordCountKey + "#";
    for (const std::string& line : lines) {
        // The list is valid, so that the line has all its fields.
        if (BeginsWith(line, "F#"))
            list.sizes.push_back(std::clamp(std::strtoll(line.c_str() + line.find('#', 2) + 1, nullptr, 10),
                                            0LL, LargestSize));
        list.countsRecords = list.countsRecords || BeginsWith(line, count);
    }
    return true;
}

QString ReadPublishedList(const QString& file, PublishedList& list)
{
    if (file.contains("://"))
        return file + ": is an address. Fetch the list first: curl -fo List.txt " + file;
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly))
        return file + ": " + opened.errorString();
    const std::string text = opened.readAll().toStdString();
    if (opened.error() != QFile::NoError)
        return file + ": " + opened.errorString();
    std::string fault;
    return ParsePublishedList(SplitLines(text), list, fault) ? "" : file + ": is no list: " + fault.c_str();
}

bool HaveSameRecords(const PublishedList& a, const PublishedList& b)
{
    return a.content.directories == b.content.directories && a.content.fileNames == b.content.fileNames &&
           a.content.fileDigests == b.content.fileDigests && a.sizes == b.sizes;
}

std::string WithoutCase(const std::string& path)
{
    return QString::fromUtf8(path.c_str()).toCaseFolded().toStdString();
}
