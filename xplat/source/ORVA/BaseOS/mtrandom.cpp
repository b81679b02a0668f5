#include "ORVA/Develop/MTRandom.h"

#include "BaseOS/twister.h"

namespace ORVA::Develop
{

CMTRandom::CMTRandom()
{
    static_assert(word_count == Twister::word_count, "the steps work on whole blocks");
    seed(Twister::clock_seed());
}

void CMTRandom::seed(unsigned int value)
{
    Twister::fill(m_state, value);
    m_index = 0;
}

void CMTRandom::_regen()
{
    Twister::twist(m_state);
}

} // namespace ORVA::Develop
