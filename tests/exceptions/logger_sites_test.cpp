// Loggers that throw where blocks, tables, texts, paths and fractions write to the log.
#include "ORVA/Files.h"
#include "ORVA/Files/FindData.h"
#include "ORVA/Lookup.h"
#include "ORVA/String/Encoders.h"
#include "ORVA/String/Pool.h"
#include "ORVA/String/PoolTables.h"
#include "ORVA/String/Submitters.h"

#include "exceptions/logger_sites.h"
#include "numerics/rational_support.h"
#include "pool/pool_support.h"
#include "support/BlockProbe.h"
#include "support/TableProbe.h"

#include "ORVA/Buffers/PlainMemory.h"

#include <climits>
#include <vector>

namespace
{

using namespace exceptions;
using namespace support;
using namespace ORVA::String;
using ORVA::Buffers::CPPlainMemory;

/// A block of `BlockProbe` without a type, or of a count, while this lives.
class Spoilt
{
public:
    Spoilt() { m_handle.Alloc(16, &BlockProbe::table); }
    ~Spoilt()
    {
        header_of(m_handle)->pVTbl = &BlockProbe::table;
        header_of(m_handle)->lRefCnt = 1;
    }
    Spoilt(Spoilt const&) = delete;
    Spoilt& operator=(Spoilt const&) = delete;

    CPObjectMemory& handle() { return m_handle; }
    tagCPOMEMHEADER& header() { return *header_of(m_handle); }

private:
    CPObjectMemory m_handle;
};

/// A handle on a new block in static storage.
template <class Use>
bool on_a_static_block(Use use)
{
    StaticBlock<16> block(&BlockProbe::table, 16);
    Adopted handle(&block.header);
    return use(handle) && block.header.lRefCnt == 0;
}

struct PlainHandle : CPPlainMemory
{
    explicit PlainHandle(tagCPOMEMHEADER* header) { m_pMH = header; }
};

LogMessage const static_block = failed_condition("m_pMH->lRefCnt>0");
LogMessage const without_type = failed_condition("m_pMH->pVTbl");

std::vector<LoggerSite> const sites_of_blocks = {
    {"a copy of a block without a type",
     []
     {
         Spoilt spoilt;
         spoilt.header().pVTbl = nullptr;
         CPObjectMemory const copy(spoilt.handle());
         return copy == spoilt.handle() && copy.lockcnt() == 2;
     },
     {failed_condition("pMHO->pVTbl")}},
    {"a copy whose count wraps",
     []
     {
         Spoilt spoilt;
         spoilt.header().lRefCnt = UINT_MAX;
         CPObjectMemory const copy(spoilt.handle());
         return !copy;
     },
     {illegal_point("InterlockedIncrement32 returned 0, possible multi-threading access problem on shared object!")}},
    {"SetSize of a static block",
     []
     { return on_a_static_block([](CPObjectMemory& block) { return block.SetSize(4) == 1 && block.GetSize() == 4; }); },
     {static_block}},
    {"SetSize of a block without a type",
     []
     {
         Spoilt spoilt;
         spoilt.header().pVTbl = nullptr;
         return spoilt.handle().SetSize(4) == 1 && spoilt.handle().GetSize() == 4;
     },
     {without_type}},
    {"_Resize of a static block",
     []
     {
         StaticBlock<16> block(&CPPlainMemory::_vtbl, 16);
         PlainHandle handle(&block.header);
         return handle._Resize(4, &CPPlainMemory::_vtbl) == 1 && handle.GetSize() == 4;
     },
     {static_block}},
    {"clone of a static block",
     [] { return on_a_static_block([](CPObjectMemory& block) { return block.clone() == 1; }); },
     {static_block}},
    {"clone of a static block without a type",
     []
     {
         StaticBlock<16> block(nullptr, 16);
         Adopted handle(&block.header);
         return handle.clone() == 0;
     },
     {static_block, without_type}},
    {"clone of what cannot be cloned",
     []
     {
         CPObjectMemory handle;
         handle.Alloc(8, &BlockProbe::resource_table);
         return handle.clone() == 0 && handle.lockcnt() == 1;
     },
     {illegal_point("CPObjectMemory::clone: Class does not allow cloning")}},
    {"clone by a copy that throws",
     []
     {
         CPObjectMemory handle;
         handle.Alloc(8, &BlockProbe::table);
         std::memset(handle.get_ptr(), 0, 8);
         CPObjectMemory const other(handle);
         BlockProbe::records().on_clone = [] { raise(Thrown::odd); };
         bool const is_kept = handle.clone() == 1 && handle == other && other.lockcnt() == 2;
         BlockProbe::reset();
         return is_kept;
     },
     {illegal_point("CPObjectMemory::Clone exception")}},
    {"a release by a finaliser that throws",
     []
     {
         CPObjectMemory handle;
         handle.Alloc(8, &BlockProbe::table);
         BlockProbe::records().on_finalize = [] { raise(Thrown::odd); };
         handle.free();
         BlockProbe::reset();
         return !handle;
     },
     {illegal_point("CPObjectMemory::Free exception")}},
};

std::vector<LoggerSite> const sites_of_tables = {
    {"a table of few buckets",
     []
     {
         TableProbe table(3);
         return table.uBuckets == 8;
     },
     {failed_condition("(uDirectIndexLength >= 4) && (uDirectIndexLength <= sizeof(size_t)*8)")}},
    {"a spelling whose chain is missing",
     []
     {
         CCaseInsensitiveHash insensitive;
         CCaseSensitiveHash sensitive(&insensitive);
         _cppoolstring text = unpooled(L"word");
         sensitive.Add(text);
         insensitive.ClearTable();
         return sensitive.Delete(text) == 1 && sensitive.GetNItems() == 0 && text.lockcnt() == 1;
     },
     {illegal_point("Case-insensitive hash entry MUST exists"),
      log_message(8, "cstringpool", 2956, L"SPool ClearTable: Diagnosis started"),
      log_message(8, "cstringpool", 2958, L"SPool ClearTable: diagnosis done, 0 items still referenced")}},
    {"a spelling that is missing in its chain",
     []
     {
         CCaseInsensitiveHash insensitive;
         insensitive.Add(unpooled(L"word"));
         return insensitive.Delete(unpooled(L"WORD")) == 1 && insensitive.GetNItems() == 1;
     },
     {illegal_point("Case-insensitive match of case-sensitive cache MUST exist")}},
    {"ClearTable",
     []
     {
         CCaseInsensitiveHash insensitive;
         CCaseSensitiveHash sensitive(&insensitive);
         _cppoolstring text = unpooled(L"word");
         sensitive.Add(text);
         sensitive.ClearTable();
         bool const is_clear = sensitive.GetNItems() == 0 && text.lockcnt() == 2;
         insensitive.ClearTable();
         return is_clear;
     },
     {log_message(8, "cstringpool", 2956, L"SPool ClearTable: Diagnosis started"),
      log_message(8, "cstringpool", 2958, L"SPool ClearTable: diagnosis done, 1 items still referenced"),
      log_message(8, "cstringpool", 2956, L"SPool ClearTable: Diagnosis started"),
      log_message(8, "cstringpool", 2958, L"SPool ClearTable: diagnosis done, 0 items still referenced")}},
};

std::vector<LoggerSite> const sites_of_texts = {
    {"the pool, under its lock",
     []
     {
         return is_null(CStringPool::GetStringRefn(L"logged", 0)) && pool_tests::lock_is_free() &&
                !is_null(CStringPool::GetStringRef(L"logged afterwards"));
     },
     {illegal_point(pool_tests::no_length)}},
    {"a submitter of a second length of 0",
     []
     {
         SubmitterProbe submitter({3, 0}, L"abc");
         return is_null(CStringPool::GetStringRef(&submitter)) && pool_tests::lock_is_free();
     },
     {illegal_point(pool_tests::no_submitted_length)}},
    {"an empty slice",
     []
     {
         CSubStringSubmitter submitter(L"abc", 0);
         return is_empty(CStringPool::GetStringRef(submitter));
     },
     {failed_condition("sccLen > 0")}},
    {"Verify",
     []
     {
         CPPoolString const string(unpooled(L"spoilt"));
         string->info.sHash += 1;
         return string.Verify() == 0;
     },
     {illegal_point("String pool integrity violation")}},
    {"C3FDecoder",
     []
     {
         CPPlainMemory const bytes = C3FDecoder(static_cast<wchar_t const*>(nullptr));
         return !bytes;
     },
     {log_message(2, "cstringpool", 4316, L"C3FDecoder: Invalid string passed")}},
    {"C3FFFDecoder",
     []
     {
         CPPlainMemory const bytes = C3FFFDecoder(static_cast<wchar_t const*>(nullptr));
         return !bytes;
     },
     {log_message(2, "cstringpool", 4500, L"C3FFFDecoder: Invalid string passed")}},
};

using ORVA::Math::CRational;

std::vector<LoggerSite> const sites_of_files_and_fractions = {
    {"CFindData::init",
     []
     {
         ORVA::Files::OS::CFindData data;
         data.init(nullptr);
         return data.GetFilename() == nullptr && data.GetSize() == 0;
     },
     {assumption("RTA_ON_FALSE", "BaseOS_Unix_common,432:directoryEntry != 0")}},
    {"FU_CreatePath",
     []
     {
         ORVA::Files::FU_CreatePath(L"/dev/null/below/a device");
         return true;
     },
     {illegal_point("CreateDirectory failed")}},
    {"CRational, a sum", [] { return !(CRational(ORVA::Math::gs_maxRep, 1) + CRational(1, 1)).isNormal(); },
     numerics::report_of(248)},
    {"CRational, a product", [] { return !(CRational(ORVA::Math::gs_maxRep, 1) * CRational(2, 1)).isNormal(); },
     numerics::report_of(292)},
    {"CRational, a value out of range", [] { return !CRational(INT_MAX, 1).isNormal(); }, numerics::report_of(547)},
};

class ThrowingLoggerAt : public testing::TestWithParam<LoggerSite>
{
};

TEST_P(ThrowingLoggerAt, LeavesTheOperationItsResult)
{
    expect_the_result_with_every_logger(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Blocks, ThrowingLoggerAt, testing::ValuesIn(sites_of_blocks));
INSTANTIATE_TEST_SUITE_P(Tables, ThrowingLoggerAt, testing::ValuesIn(sites_of_tables));
INSTANTIATE_TEST_SUITE_P(Texts, ThrowingLoggerAt, testing::ValuesIn(sites_of_texts));
INSTANTIATE_TEST_SUITE_P(FilesAndFractions, ThrowingLoggerAt, testing::ValuesIn(sites_of_files_and_fractions));

} // namespace
