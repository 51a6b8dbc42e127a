// The inner part of SHA-256: feeding whole 64-byte blocks into a hash state. Several functions do that, each
// in a file of its own; the fastest one that works on this processor is chosen at run time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Feeds `count` blocks of 64 bytes, at any address, into the eight words of `state`.
using Sha256BlockFunction = void (*)(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count);

// Runs on every processor.
void Sha256BlocksPlain(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count);

// For x86-64 processors with the SHA instructions, and for those with AVX2, BMI1 and BMI2. Call them only if
// Sha256Implementations names them.
void Sha256BlocksShani(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count);
void Sha256BlocksAvx2(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count);

struct Sha256Implementation
{
    const char* name;
    Sha256BlockFunction function;
};

// What this processor can run, the fastest first. The last one is Sha256BlocksPlain.
std::vector<Sha256Implementation> Sha256Implementations();

// The first candidate that digests two known blocks correctly; Sha256BlocksPlain if none does.
Sha256BlockFunction FirstProvenBlockFunction(const std::vector<Sha256Implementation>& candidates);

// The function that every digest uses: at first the fastest that works on this processor, found out at the
// first call. May be assigned to compare the functions, while no other thread takes a digest.
Sha256BlockFunction& ChosenBlockFunction();

// What each of the 64 rounds adds. Aligned for vector loads.
alignas(16) extern const std::uint32_t Sha256RoundConstants[64];
