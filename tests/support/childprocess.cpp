#include "support/childprocess.h"

#include <QFile>

bool CopyChildProgram(const std::string& path)
{
    return QFile::copy(QString::fromUtf8(TEST_CHILD), QString::fromStdString(path));
}
