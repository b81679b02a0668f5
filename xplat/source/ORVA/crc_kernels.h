/// @file
/// The ways to compute the 64-bit check that makes the library's hash keys. All give the same results.
#pragma once

namespace ORVA::Buffers::crc64
{

/// Feeds `length` bytes into the register `crc` and returns the register.
using Evaluate = unsigned long (*)(void const* data, unsigned long length, unsigned long crc);

/// One way, with its name for tests and measurements.
struct Kernel
{
    char const* name;
    Evaluate evaluate;
};

/// Eight table look-ups for eight bytes, with four registers that take turns at long input. Works everywhere.
unsigned long evaluate_sliced(void const* data, unsigned long length, unsigned long crc);

/// Whether the processor multiplies without carries. The processor is asked at each call.
bool has_carryless();

/// Carry-less multiplication of 16 bytes at a time. Only where has_carryless() is true.
unsigned long evaluate_carryless(void const* data, unsigned long length, unsigned long crc);

/// The ways that this processor offers, the best one last.
struct Kernels
{
    Kernel entry[2];
    unsigned int count;
};

Kernels available_kernels();

/// The best way for this processor. It is found on the first call, so that it serves constructors of global objects
/// too, and costs a load afterwards.
Evaluate best_evaluate();

} // namespace ORVA::Buffers::crc64
