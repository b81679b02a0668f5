/// @file
/// Makes operations of hash tables throw.
///
/// Link a test that uses this against the library's objects, with the linker's `--wrap` for
/// `_ZN4ORVA6Lookup14CBaseHashTable7AddItemEmRKNS_7Buffers14CPObjectMemoryENS0_14eHashCollisionE`,
/// `_ZN4ORVA6Lookup14CBaseHashTable11EnumTableByEPNS0_18IBaseHashTableEnumEmb` and
/// `_ZN4ORVA6Lookup14CBaseHashTable12DisposeTableEj`. Only calls from other object files are redirected.
#pragma once

#include <stdexcept>

namespace support
{

struct TableError : std::runtime_error
{
    TableError() : std::runtime_error("table") {}
};

enum class TableOperation
{
    add,
    enumerate,
    dispose
};

/// While it lives, the n-th call of an operation in this thread throws `TableError`, 1 being the next. Scopes do not
/// nest.
class TableFault
{
public:
    explicit TableFault(TableOperation operation, unsigned long nth = 1);
    ~TableFault();
    TableFault(TableFault const&) = delete;
    TableFault& operator=(TableFault const&) = delete;

    /// True if the call has been made and has thrown.
    bool has_thrown() const;
};

/// The time limit of the last `DisposeTable` that was called in this thread.
unsigned int last_disposal_limit();

} // namespace support
