// Real files for the tests: temporary folders with awkward names, and whole trees as values to compare.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <QStringList>
#include <QTemporaryDir>

// From a path relative to the folder, with forward slashes, to the content; a folder ends in "/" and has
// none.
using Tree = std::map<std::string, std::string>;

// Everything below `folder`, links not followed. Paths here are native ones.
Tree TreeOf(const std::string& folder);

// Folders, and files with the content "x".
Tree Files(const std::vector<std::string>& paths);

// What is missing, left over or in another order; empty if both are the same.
QString Differences(const QStringList& actual, const QStringList& expected);
QString Differences(const Tree& actual, const Tree& expected);
#define COMPARE_ALL(actual, expected)                              \
    do {                                                           \
        const QString differences = Differences(actual, expected); \
        QVERIFY2(differences.isEmpty(), qPrintable(differences));  \
    } while (false)

// These make the folders that they need. False if something fails.
bool WriteTree(const std::string& folder, const Tree& tree);
bool WriteFile(const std::string& path, const std::string& content);
std::string ReadFile(const std::string& path);

std::string Sha256Of(const std::string& content); // in hexadecimal digits

// Removed with the object, also when the test fails. Its name has a blank and a letter outside ASCII.
class TemporaryTree
{
public:
    TemporaryTree();
    ~TemporaryTree();

    std::string Root() const;        // the folder's native path, without a closing separator
    std::string WindowsRoot() const; // the same with backslashes
    std::string Path(const std::string& relative) const;

private:
    const QTemporaryDir directory;
};
