// Text conventions: numbers and the local code page, whatever the user's locale is.
#include "platform/platform.h"

#include <clocale>

#include <QTextCodec>

void FixTextConventions()
{
    // Qt turns file names into bytes with this one. With LANG=C a letter outside ASCII would become a "?".
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    // A decimal comma would change every "%f". With an 8-bit code page tolower would change other bytes.
    std::setlocale(LC_ALL, "C");
    std::setlocale(LC_CTYPE, "C.UTF-8"); // for others that ask for the code page; some systems lack it
}
