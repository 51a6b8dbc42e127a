// Text conventions: numbers and the local code page, whatever the user's locale is.
#include "platform/platform.h"

#include <clocale>

#include <QTextCodec>

void FixTextConventions()
{
    // Qt turns file names into bytes with this one; by LANG=C every letter outside ASCII would become a "?".
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    // A decimal comma would change every "%f", an 8-bit code page what tolower takes for letters.
    std::setlocale(LC_ALL, "C");
    std::setlocale(LC_CTYPE, "C.UTF-8"); // for what else asks for the code page; not on every system
}
