// The inner part of SHA-256: feeding whole 64-byte blocks into a hash state, in plain C++ and with the
// processor's SHA instructions, and the choice between the two.
#pragma once

#include <cstddef>
#include <cstdint>

// Feeds `count` blocks of 64 bytes, at any address, into the eight words of `state`.
using Sha256BlockFunction = void (*)(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count);

// Runs on every processor.
void Sha256BlocksPlain(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count);

// The function that uses the SHA instructions; call it only if ProcessorHasShaInstructions. Null where the
// program is built for other processors.
Sha256BlockFunction ShaInstructionsBlockFunction();

// True if this processor has all that the function above uses.
bool ProcessorHasShaInstructions();

// `candidate` if it digests a known block right; the plain function if not, or if it is null.
Sha256BlockFunction ProvenBlockFunction(Sha256BlockFunction candidate);

// The fastest function that works on this processor; found out at the first call.
Sha256BlockFunction FastestBlockFunction();

// What both functions add in each of the 64 rounds. Aligned for vector loads.
alignas(16) extern const std::uint32_t Sha256RoundConstants[64];
