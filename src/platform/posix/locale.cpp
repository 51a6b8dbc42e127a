// Text conventions: numbers and the local code page, whatever the user's locale is.
#include "platform/platform.h"

#include <clocale>

#include <QTextCodec>

void FixTextConventions()
{
    // Qt turns file names into bytes with this one; by LANG=C every letter outside ASCII would become a "?".
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    if (!std::setlocale(LC_ALL, "C.UTF-8"))
        std::setlocale(LC_ALL, "C");
    // A decimal comma would change every "%f".
    std::setlocale(LC_NUMERIC, "C");
}
