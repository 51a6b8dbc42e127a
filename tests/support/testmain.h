// What every test program needs.
#pragma once

#include <QtTest>

#include "platform/platform.h"
#include "support/temporarytree.h"

// The launcher's text conventions, as its entry point sets them, whatever the locale of the machine is.
Q_COREAPP_STARTUP_FUNCTION(FixTextConventions)

// Some things exist on one kind of system only, such as pipes.
inline const bool IsWindows = QSysInfo::kernelType() == "winnt";
inline const char* const TemporaryFolderVariable = IsWindows ? "TMP" : "TMPDIR"; // of the environment

// Gives a test the rows of a table, each with a `name` to run it by.
// clang-format off
#define ROWS(test, rows) void test##_data() { AddRows(rows); }
// clang-format on
template <typename Rows>
void AddRows(const Rows& rows)
{
    QTest::addColumn<int>("place");
    int place = 0;
    for (const auto& row : rows)
        QTest::newRow(row.name) << place++;
}

// The row of the table that runs.
template <typename Rows>
const auto& CurrentRow(const Rows& rows)
{
    QFETCH(int, place);
    return rows[static_cast<std::size_t>(place)];
}
