// Text, and numbers as text: the odd rules, which the update cycle does not come across.
#include <cfloat>
#include <cstdint>

#include "helpers/numbers.h"
#include "helpers/text.h"
#include "support/testmain.h"

class HelpersTest : public QObject
{
    Q_OBJECT

private slots:
    void threeLettersOutsideAsciiAreLoweredAndNoOthers()
    {
        std::string text = "AZ[\xC5\xC4\xD6\xC9\xDC";
        QCOMPARE(ToLower(text).c_str(), "az[\xE5\xE4\xF6\xC9\xDC");
    }

    void numbersOfAnySizeHaveATextForm()
    {
        QCOMPARE(IntText(INT32_MIN).c_str(), "-2147483648");
        QCOMPARE(FloatText(FLT_MAX).c_str(), "34028234663852885981170418348"); // cut after 29 characters
    }
};

QTEST_GUILESS_MAIN(HelpersTest)
#include "helpers_test.moc"
