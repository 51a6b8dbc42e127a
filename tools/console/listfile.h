// A published list as the publisher's programs need it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <QString>

#include "gametree/filelist.h"

struct PublishedList
{
    ContentList content;
    // Bytes, of each element of content.fileNames: the launcher keeps their low 32 bits only.
    std::vector<std::int64_t> sizes;
    bool countsRecords = false; // in a line of its own, so that a launcher knows a part of it
};

// As ParseFileList, which says what `fault` is; `list` is empty before.
bool ParsePublishedList(const std::vector<std::string>& lines, PublishedList& list, std::string& fault);

// Reads the list in this file. Gives why there is none, or nothing.
QString ReadPublishedList(const QString& file, PublishedList& list);

// True if both lists mean the same to a launcher.
bool HaveSameRecords(const PublishedList& a, const PublishedList& b);

// What two paths have in common that are one on Windows, where case does not count.
std::string WithoutCase(const std::string& path);
