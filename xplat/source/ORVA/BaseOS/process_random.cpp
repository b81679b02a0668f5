#include "BaseOS/process_random.h"

#include "ORVA/Develop/Random.h"

namespace ORVA::Develop
{

unsigned int _random()
{
    return g_Rnd.rnd();
}

double _drandom(double largest)
{
    return largest / 4294967295.0 * static_cast<double>(g_Rnd.rnd());
}

} // namespace ORVA::Develop
