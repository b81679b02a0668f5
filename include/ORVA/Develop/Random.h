/// @file
/// Random numbers for everybody, out of one generator of the process.
///
/// The generator is a `CMTRnd_TS`, seeded from the clock when the library is loaded: the numbers differ from run to run
/// and cannot be repeated. Use a `CMTRandom` of one's own for a sequence that can. Not for cryptography.
///
/// Thread-safety: both may be called from any thread, also from the destructors of global objects.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Develop
{

/// The next word of the process: all 32 bits.
ORVA_API unsigned int _random();

/// The next word of the process as a number of 0.0 to `largest`, both included.
ORVA_API double _drandom(double largest);

} // namespace ORVA::Develop
