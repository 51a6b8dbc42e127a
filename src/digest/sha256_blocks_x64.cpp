// Which block functions a 64-bit Intel or AMD processor can run.
#include "digest/sha256_blocks.h"
#include "platform/platform.h"

namespace {
// What the processor says about itself in one leaf of its identification; zeros if it does not know the leaf.
struct Leaf
{
    explicit Leaf(int number)
    {
        __cpuid(registers, 0);
        const int highest = registers[0];
        if (number <= highest)
            __cpuidex(registers, number, 0);
        else
            registers[0] = registers[1] = registers[2] = registers[3] = 0;
    }

    // Registers are numbered from 0 (a) to 3 (d).
    bool HasBit(int number, int bit) const
    {
        return (static_cast<unsigned int>(registers[number]) >> bit & 1) != 0;
    }

    int registers[4];
};

// True if the system saves the lower and the upper halves of the 256-bit registers of each thread.
bool SystemSavesWideRegisters(const Leaf& basic)
{
    const bool mayAsk = basic.HasBit(2, 27);
    return mayAsk && (_xgetbv(0) & 6) == 6;
}
} // namespace

std::vector<Sha256Implementation> Sha256Implementations()
{
    const Leaf basic(1);
    const Leaf extended(7);
    const bool ssse3 = basic.HasBit(2, 9);
    const bool sse41 = basic.HasBit(2, 19);
    const bool bmi1 = extended.HasBit(1, 3);
    const bool avx2 = extended.HasBit(1, 5);
    const bool bmi2 = extended.HasBit(1, 8);
    const bool sha = extended.HasBit(1, 29);

    std::vector<Sha256Implementation> usable;
    if (sha && ssse3 && sse41)
        usable.push_back({"shani", Sha256BlocksShani});
    if (avx2 && bmi1 && bmi2 && SystemSavesWideRegisters(basic))
        usable.push_back({"avx2", Sha256BlocksAvx2});
    usable.push_back({"plain", Sha256BlocksPlain});
    return usable;
}
