// Which block functions a processor can run that has none of its own.
#include "digest/sha256_blocks.h"

std::vector<Sha256Implementation> Sha256Implementations()
{
    return {{"plain", Sha256BlocksPlain}};
}
