// The block functions for a processor that has no function of its own.
#include "digest/sha256_blocks.h"

std::vector<Sha256Implementation> Sha256Implementations()
{
    return {{"plain", Sha256BlocksPlain}};
}
