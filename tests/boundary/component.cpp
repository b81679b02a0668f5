// A component that is loaded at run time, built with hidden visibility as components are.
#include "component.h"

namespace
{

ORVA::Buffers::CPObjectMemory make_thing()
{
    ORVA::Buffers::CPObject<SharedThing> thing;
    thing.create();
    return thing;
}

ORVA::String::CPPoolString pool(wchar_t const* text)
{
    return ORVA::String::CPPoolString(text);
}

int read_thing(ORVA::Buffers::CPObjectMemory const& block)
{
    ORVA::Buffers::CPObject<SharedThing> const thing(block);
    return thing ? thing->number : -1;
}

} // namespace

extern "C" ORVA_API Component component_entry();

extern "C" Component component_entry()
{
    return {type_tables(), identifiers(), &make_thing, &pool, &read_thing};
}
