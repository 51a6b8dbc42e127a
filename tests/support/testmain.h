// The entry point of a test program: the launcher's text conventions, an application, and no bad connection.
#pragma once

#include <QApplication>
#include <QProcess>
#include <QTest>

#include "platform/platform.h"

inline QtMessageHandler previousMessageHandler = nullptr;

// A connection by name that finds no signal or slot is only a warning to Qt: the running test fails on it.
inline void FailOnBadConnection(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    previousMessageHandler(type, context, message);
    if (message.startsWith("QObject::connect") || message.startsWith("QMetaObject::connectSlotsByName"))
        QTest::qFail(qPrintable(message), __FILE__, __LINE__);
}

// Runs the test functions of `Test`. The value is for main() to return.
template <typename Test>
int RunTest(int argc, char** argv)
{
    QApplication application(argc, argv);
    FixTextConventions();
    Test test;
    // What QTest::qExec() does, which would put its own message handler in place behind ours.
    QTest::qInit(&test, argc, argv);
    previousMessageHandler = qInstallMessageHandler(FailOnBadConnection);
    const int result = QTest::qRun();
    qInstallMessageHandler(previousMessageHandler);
    QTest::qCleanup();
    return result;
}

// For a _data function: a row for each element of a table whose elements have a `name`. The test function
// fetches the element's place, the "index".
template <typename Row, int Count>
void AddRows(const Row (&rows)[Count])
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < Count; ++index)
        QTest::newRow(rows[index].name) << index;
}

#define LAUNCHER_TEST_MAIN(Test)          \
    int main(int argc, char** argv)       \
    {                                     \
        return RunTest<Test>(argc, argv); \
    }

// True if the test function passes in a process of its own: `program` is a test program, and `value` stands
// in the environment under `variable`.
inline bool PassesElsewhere(const QString& program, const char* function, const char* variable,
                            const QString& value)
{
    const QByteArray before = qgetenv(variable);
    qputenv(variable, value.toUtf8());
    const bool passed = QProcess::execute(program, {function}) == 0;
    before.isNull() ? qunsetenv(variable) : qputenv(variable, before);
    return passed;
}
