// Questions to a 64-bit Intel or AMD processor.
#include "platform/platform.h"

void __cpuid(int registers[4], int leaf)
{
    __cpuidex(registers, leaf, 0);
}

// Compilers' own headers give these names other meanings, so they are no help.
void __cpuidex(int registers[4], int leaf, int subleaf)
{
    asm volatile("cpuid"
                 : "=a"(registers[0]), "=b"(registers[1]), "=c"(registers[2]), "=d"(registers[3])
                 : "a"(leaf), "c"(subleaf));
}

unsigned long long _xgetbv(unsigned int number)
{
    unsigned int low, high;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(number));
    return static_cast<unsigned long long>(high) << 32 | low;
}
