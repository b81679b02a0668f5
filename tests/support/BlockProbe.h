/// @file
/// A block type that tells what is done to it, static blocks, and a look at a block's header.
///
/// The records are global and for one thread: `BlockProbe::reset()` starts a test.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace support
{

using ORVA::Buffers::CPObjectMemory;
using ORVA::Buffers::tagCPOMEMHEADER;
using ORVA::Buffers::tagCPOVTABL;

/// The header of the block that `handle` holds, which must be one. Not inlined: the compiler would warn of the empty
/// handle that it cannot exclude.
[[gnu::noinline]] inline tagCPOMEMHEADER* header_of(CPObjectMemory const& handle)
{
    return static_cast<tagCPOMEMHEADER*>(handle.get_ptr()) - 1;
}

/// A handle that takes over one reference on a block made by hand.
class Adopted : public CPObjectMemory
{
public:
    explicit Adopted(tagCPOMEMHEADER* header) { m_pMH = header; }

    /// Gives the block up without releasing it.
    tagCPOMEMHEADER* surrender()
    {
        tagCPOMEMHEADER* const header = m_pMH;
        m_pMH = nullptr;
        return header;
    }
};

/// A block in static storage: count 0, `Capacity` payload bytes of which `used` are in use.
template <unsigned long Capacity>
struct StaticBlock
{
    tagCPOMEMHEADER header;
    alignas(8) unsigned char payload[Capacity == 0 ? 1 : Capacity];

    StaticBlock(tagCPOVTABL const* table, unsigned long used) : header{0, Capacity, used, table}, payload{} {}
};

/// The block type `BlockProbe::table`. Its operations are noted as "create 8", "clone 8", "finalize 8" (with the size
/// they are given), and then do what the test has set.
struct BlockProbe
{
    struct Records
    {
        std::vector<std::string> calls;
        void* payload = nullptr;           ///< of the last call; the destination of a clone
        void const* source = nullptr;      ///< of the last clone
        std::function<void()> on_finalize; ///< runs inside; may throw
        std::function<void()> on_clone;    ///< runs inside, after the copy; may throw
    };

    static Records& records()
    {
        static Records instance;
        return instance;
    }
    static void reset() { records() = Records(); }

    /// The calls so far; none are left.
    static std::vector<std::string> take()
    {
        std::vector<std::string> taken;
        taken.swap(records().calls);
        return taken;
    }

    static void create(void* payload, unsigned long size)
    {
        records().payload = payload;
        note("create", size);
    }
    static void clone(void* dest, void const* source, unsigned long size)
    {
        records().payload = dest;
        records().source = source;
        note("clone", size);
        std::memcpy(dest, source, size);
        if (records().on_clone)
            records().on_clone();
    }
    static void finalize(void* payload, unsigned long size)
    {
        records().payload = payload;
        note("finalize", size);
        if (records().on_finalize)
            records().on_finalize();
    }

    inline static tagCPOVTABL const table = {&create, &clone, &finalize, &CPObjectMemory::_nointerface};
    /// Another type that does the same.
    inline static tagCPOVTABL const other_table = {&create, &clone, &finalize, &CPObjectMemory::_nointerface};
    /// A type that cannot be cloned.
    inline static tagCPOVTABL const resource_table = {&create, nullptr, &finalize, &CPObjectMemory::_nointerface};

private:
    static void note(char const* what, unsigned long size)
    {
        records().calls.push_back(what + (' ' + std::to_string(size)));
    }
};

using Calls = std::vector<std::string>;

} // namespace support
