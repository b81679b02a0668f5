#include "support/TableFaults.h"

#include "ORVA/Lookup/HashTable.h"

namespace
{

using ORVA::Buffers::CPObjectMemory;
using ORVA::Lookup::CBaseHashTable;
using ORVA::Lookup::eHashCollision;
using ORVA::Lookup::IBaseHashTableEnum;
using support::TableOperation;

struct State
{
    bool active;
    TableOperation operation;
    unsigned long remaining;
};

thread_local State state = {false, TableOperation::add, 0};
thread_local unsigned int disposal_limit = 0;

void strike(TableOperation operation)
{
    if (state.active && state.operation == operation && state.remaining != 0 && --state.remaining == 0)
        throw support::TableError();
}

} // namespace

// A member function is called as a function that is given the object first. The names are those that the linker's
// --wrap gives.
namespace redirected
{

CPObjectMemory
real_add(CBaseHashTable* table, unsigned long key, CPObjectMemory const& item, eHashCollision mode) __asm__(
    "__real__ZN4ORVA6Lookup14CBaseHashTable7AddItemEmRKNS_7Buffers14CPObjectMemoryENS0_14eHashCollisionE");
CPObjectMemory add(CBaseHashTable* table, unsigned long key, CPObjectMemory const& item, eHashCollision mode) __asm__(
    "__wrap__ZN4ORVA6Lookup14CBaseHashTable7AddItemEmRKNS_7Buffers14CPObjectMemoryENS0_14eHashCollisionE");
int real_enumerate(CBaseHashTable* table, IBaseHashTableEnum* callback, unsigned long key, bool by_key) __asm__(
    "__real__ZN4ORVA6Lookup14CBaseHashTable11EnumTableByEPNS0_18IBaseHashTableEnumEmb");
int enumerate(CBaseHashTable* table, IBaseHashTableEnum* callback, unsigned long key,
              bool by_key) __asm__("__wrap__ZN4ORVA6Lookup14CBaseHashTable11EnumTableByEPNS0_18IBaseHashTableEnumEmb");
int real_dispose(CBaseHashTable* table,
                 unsigned int limit) __asm__("__real__ZN4ORVA6Lookup14CBaseHashTable12DisposeTableEj");
int dispose(CBaseHashTable* table,
            unsigned int limit) __asm__("__wrap__ZN4ORVA6Lookup14CBaseHashTable12DisposeTableEj");

CPObjectMemory add(CBaseHashTable* table, unsigned long key, CPObjectMemory const& item, eHashCollision mode)
{
    strike(TableOperation::add);
    return real_add(table, key, item, mode);
}

int enumerate(CBaseHashTable* table, IBaseHashTableEnum* callback, unsigned long key, bool by_key)
{
    strike(TableOperation::enumerate);
    return real_enumerate(table, callback, key, by_key);
}

int dispose(CBaseHashTable* table, unsigned int limit)
{
    disposal_limit = limit;
    strike(TableOperation::dispose);
    return real_dispose(table, limit);
}

} // namespace redirected

namespace support
{

TableFault::TableFault(TableOperation operation, unsigned long nth)
{
    state = {true, operation, nth};
}

TableFault::~TableFault()
{
    state.active = false;
}

bool TableFault::has_thrown() const
{
    return state.remaining == 0;
}

unsigned int last_disposal_limit()
{
    return disposal_limit;
}

} // namespace support
