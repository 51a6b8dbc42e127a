// Real files for the tests: temporary folders with awkward names, and whole trees as values to compare.
#pragma once

#include <map>
#include <string>

#include <QStringList>
#include <QTemporaryDir>

// From a path relative to the folder, with forward slashes, to the content; a folder ends in "/" and has
// none.
using Tree = std::map<std::string, std::string>;

// Everything below `folder`, links not followed. Paths here are native ones.
Tree TreeOf(const std::string& folder);

// What is missing, left over or in another order; empty if both are the same.
QString Differences(const QStringList& actual, const QStringList& expected);
QString Differences(const Tree& actual, const Tree& expected);
#define COMPARE_ALL(actual, expected)                              \
    do {                                                           \
        const QString differences = Differences(actual, expected); \
        QVERIFY2(differences.isEmpty(), qPrintable(differences));  \
    } while (false)

// Writes the files and makes the folders of `tree` below `folder`, parents included. False if one fails.
bool WriteTree(const std::string& folder, const Tree& tree);
bool WriteFile(const std::string& path, const std::string& content);
std::string ReadFile(const std::string& path);

// A folder that is removed with the object, also when the test fails. Its name has a blank and a letter
// outside ASCII.
class TemporaryTree
{
public:
    TemporaryTree();
    ~TemporaryTree();

    // The folder's native path, without a closing separator.
    const std::string& Root() const
    {
        return root;
    }
    // The same as the program writes it, with backslashes.
    std::string WindowsRoot() const;
    std::string Path(const std::string& relative) const
    {
        return root + "/" + relative;
    }

private:
    const QTemporaryDir directory;
    const std::string root;
};
