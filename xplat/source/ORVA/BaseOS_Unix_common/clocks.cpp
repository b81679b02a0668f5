#include "ORVA/Develop/Clocks.h"

#include <boost/chrono/system_clocks.hpp>

#include <ctime>

namespace ORVA::Develop
{

double _getTicks()
{
    return static_cast<double>(std::clock()) / 1000000.0;
}

unsigned long _steady_clock_now()
{
    using boost::chrono::nanoseconds;
    auto const since_start = boost::chrono::steady_clock::now().time_since_epoch();
    return static_cast<unsigned long>(boost::chrono::duration_cast<nanoseconds>(since_start).count());
}

} // namespace ORVA::Develop
