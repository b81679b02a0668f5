// Operations of which the list says that they take no memory: foundation, memory, lookup, numerics, files.
#include "ORVA/Buffers.h"
#include "ORVA/Core.h"
#include "ORVA/Develop.h"
#include "ORVA/Files.h"
#include "ORVA/Lookup.h"
#include "ORVA/Math.h"
#include "faults/OperationList.h"
#include "support/TemporaryDirectory.h"

#include <cstring>

namespace
{

using namespace ORVA;
using Buffers::CPObjectMemory;
using faults::takes_nothing;

/// Uses a result that is of no interest.
template <class T>
void unused(T const&)
{
}

CPObjectMemory block_of(unsigned long size)
{
    CPObjectMemory handle;
    EXPECT_EQ(handle.Alloc(size, &Buffers::CPPlainMemory::_vtbl), 1);
    std::memset(handle.get_ptr(), 0, size);
    return handle;
}

int compare_bytes(void const* a, void const* b)
{
    return std::memcmp(a, b, 1);
}

int compare_bytes_with(void const* a, void const* b, void const*)
{
    return std::memcmp(a, b, 1);
}

} // namespace

TEST(NothingTaken, ByHandlesOnBlocks)
{
    std::string const of = "Buffers::CPObjectMemory::";
    CPObjectMemory handle = block_of(8);
    CPObjectMemory const other = block_of(16);
    unsigned long const types[] = {1, reinterpret_cast<unsigned long>(&Buffers::CPPlainMemory::_vtbl)};
    _nqfUID const uid = {};
    takes_nothing(of + "CPObjectMemory()", [] { CPObjectMemory const made; });
    takes_nothing(of + "CPObjectMemory(CPObjectMemory const&)", [&] { CPObjectMemory const copy(handle); });
    takes_nothing(of + "CPObjectMemory(CPObjectMemory&&)",
                  [&]
                  {
                      CPObjectMemory moved(std::move(handle));
                      handle = std::move(moved);
                  });
    takes_nothing(of + "operator=(CPObjectMemory&&)", [&] { handle = CPObjectMemory(handle); });
    takes_nothing(of + "operator=(CPObjectMemory const&)", [&] { handle = other; });
    takes_nothing(of + "CopyCPMemory(CPObjectMemory const&)", [&] { handle.CopyCPMemory(other); });
    takes_nothing(of + "operator==(CPObjectMemory const&) const", [&] { unused(handle == other); });
    takes_nothing(of + "operator!=(CPObjectMemory const&) const", [&] { unused(handle != other); });
    takes_nothing(of + "operator bool() const", [&] { unused(static_cast<bool>(other)); });
    takes_nothing(of + "operator bool()", [&] { unused(static_cast<bool>(handle)); });
    takes_nothing(of + "get_ptr() const", [&] { handle.get_ptr(); });
    takes_nothing(of + "get_cptr() const", [&] { handle.get_cptr(); });
    takes_nothing(of + "GetSize() const", [&] { handle.GetSize(); });
    takes_nothing(of + "GetAllocSize() const", [&] { handle.GetAllocSize(); });
    takes_nothing(of + "lockcnt() const", [&] { handle.lockcnt(); });
    takes_nothing(of + "key() const", [&] { handle.key(); });
    takes_nothing(of + "hash() const", [&] { handle.hash(); });
    takes_nothing(of + "GetTypeID() const", [&] { handle.GetTypeID(); });
    takes_nothing(of + "IsType(void const*) const", [&] { handle.IsType(nullptr); });
    takes_nothing(of + "GetType(unsigned long const*, unsigned int) const", [&] { handle.GetType(types, 2); });
    takes_nothing(of + "IsAssignable(unsigned long, tagCPOVTABL const*) const",
                  [&] { handle.IsAssignable(8, &Buffers::CPPlainMemory::_vtbl); });
    takes_nothing(of + "IsNAssignable(unsigned long, tagCPOVTABL const*) const",
                  [&] { handle.IsNAssignable(8, &Buffers::CPPlainMemory::_vtbl); });
    takes_nothing(of + "SetSize(unsigned long)", [&] { handle.SetSize(4); });
    takes_nothing(of + "queryinterface(CPObjectMemory const&, _nqfUID const&) const",
                  [&] { handle.queryinterface(other, uid); });
    takes_nothing(of + "_nointerface(void*, _nqfUID const&)", [&] { CPObjectMemory::_nointerface(nullptr, uid); });
    takes_nothing(of + "free()", [&] { handle.free(); });
    takes_nothing(of + "Free(tagCPOMEMHEADER*)", [] { CPObjectMemory::Free(nullptr); });
    auto* last = new CPObjectMemory(block_of(8));
    takes_nothing(of + "~CPObjectMemory()", [&] { last->~CPObjectMemory(); });
    ::operator delete(last);
}

TEST(NothingTaken, ByTypedHandles)
{
    using Object = Buffers::CPObject<long>;
    using Text = Buffers::CPCString<wchar_t>;
    CPObjectMemory const plain = block_of(8);
    Object object;
    ASSERT_NE(object.create(), nullptr);
    Buffers::CPPlainMemory memory(plain);
    takes_nothing("Buffers::CPObjectHandle::CPObjectHandle(CPObjectMemory const&)", [&] { Object const copy(object); });
    takes_nothing("Buffers::CPObjectHandle::GetTypeID()", [] { Object::GetTypeID(); });
    takes_nothing("Buffers::CPObjectHandle::operator*() const", [&] { unused(*object); });
    takes_nothing("Buffers::CPObjectHandle::operator->() const", [&] { unused(object.operator->()); });
    takes_nothing("Buffers::CPObject::operator=(CPObjectMemory const&)", [&] { object = plain; });
    takes_nothing("Buffers::CPCString::CPCString(CPObjectMemory const&)", [&] { Text const text(plain); });
    takes_nothing("Buffers::CPPlainMemory::CPPlainMemory(CPObjectMemory const&)",
                  [&] { Buffers::CPPlainMemory const copy(plain); });
    takes_nothing("Buffers::CPPlainMemory::operator=(CPObjectMemory const&)", [&] { memory = plain; });
    takes_nothing("Buffers::CPPlainMemory::GetMemorySize() const", [&] { memory.GetMemorySize(); });
    takes_nothing("Buffers::CPPlainMemory::isMemory(void const*) const", [&] { memory.isMemory(&plain); });
    takes_nothing("Buffers::CPPlainMemory::operator void*()", [&] { unused(static_cast<void*>(memory)); });
}

TEST(NothingTaken, ByVectors)
{
    Buffers::CPOMVector vector;
    Buffers::CPTypedObjectVector typed;
    Buffers::CPPlainVector<long> plain;
    CPObjectMemory const block = block_of(8);
    for (int count = 0; count < 3; ++count)
    {
        ASSERT_EQ(vector.Insert(block, 0), 1);
        ASSERT_EQ(plain.Insert(count, 0), 1);
    }
    ASSERT_EQ(typed.Set(block), 1);
    unsigned long const type = reinterpret_cast<unsigned long>(block.GetTypeID());
    takes_nothing("Buffers::CPOMVector::CPOMVector(CPOMVector const&)",
                  [&] { Buffers::CPOMVector const copy(vector); });
    takes_nothing("Buffers::CPOMVector::operator=(CPObjectMemory const&)",
                  [&] { vector = static_cast<CPObjectMemory const&>(vector); });
    takes_nothing("Buffers::CPObjectVector::GetCount() const", [&] { vector.GetCount(); });
    takes_nothing("Buffers::CPObjectVector::operator[](unsigned long)", [&] { vector[0]; });
    takes_nothing("Buffers::CPObjectVector::begin()", [&] { vector.begin(); });
    takes_nothing("Buffers::CPObjectVector::end()", [&] { vector.end(); });
    takes_nothing("Buffers::CPObjectVector::Delete(unsigned long, bool)", [&] { vector.Delete(1, true); });
    takes_nothing("Buffers::CPPlainVector::GetCount() const", [&] { plain.GetCount(); });
    takes_nothing("Buffers::CPPlainVector::begin()", [&] { plain.begin(); });
    takes_nothing("Buffers::CPTypedObjectVector::CPTypedObjectVector(CPTypedObjectVector const&)",
                  [&] { Buffers::CPTypedObjectVector const copy(typed); });
    takes_nothing("Buffers::CPTypedObjectVector::Delete(unsigned long)", [&] { typed.Delete(type); });
    takes_nothing("Buffers::CompareTypeID(void const*, void const*)", [&] { Buffers::CompareTypeID(&type, &block); });
}

TEST(NothingTaken, BySortAndSearch)
{
    std::string bytes(5000, 'a');
    for (std::size_t at = 0; at < bytes.size(); ++at)
        bytes[at] = static_cast<char>(at * 7 % 251);
    void* const base = bytes.data();
    unsigned long const count = bytes.size();
    takes_nothing("Buffers::Sort::vfqsort(void*, unsigned long, unsigned long, Compare)",
                  [&] { Buffers::Sort::vfqsort(base, count, 1, compare_bytes); });
    takes_nothing("Buffers::Sort::vfpqsort(void*, unsigned long, unsigned long, void const*, CompareWithContext)",
                  [&] { Buffers::Sort::vfpqsort(base, count / 4, 4, nullptr, compare_bytes_with); });
    takes_nothing("Buffers::Sort::vfqsearch(void const*, void const*, unsigned long, unsigned long, Compare)",
                  [&] { Buffers::Sort::vfqsearch("b", base, count, 1, compare_bytes); });
    takes_nothing("Buffers::Sort::vfqfind(void const*, void const*, unsigned long, unsigned long, Compare)",
                  [&] { Buffers::Sort::vfqfind("b", base, count, 1, compare_bytes); });
    takes_nothing("Buffers::Sort::vfpqsearch(void const*, void const*, unsigned long, unsigned long, void const*, "
                  "CompareWithContext)",
                  [&] { Buffers::Sort::vfpqsearch("b", base, count, 1, nullptr, compare_bytes_with); });
    takes_nothing("Buffers::swap(void*, void*, unsigned long)", [&] { Buffers::swap(&bytes[0], &bytes[2000], 2000); });
}

TEST(NothingTaken, ByTheCrcAndTheHashTable)
{
    std::string const of = "Lookup::CBaseHashTable::";
    struct Table : Lookup::CBaseHashTable
    {
        using CBaseHashTable::CBaseHashTable;
        int compare(CPObjectMemory const&, CPObjectMemory const&) override { return 0; }
        bool isDisposable(CPObjectMemory const&) override { return true; }
    };
    struct Visitor : Lookup::IBaseHashTableEnum
    {
        bool EnumEntry(unsigned long key, CPObjectMemory&) override { return key % 2 == 0; }
    };
    Table table(4);
    Visitor visitor;
    CPObjectMemory const item = block_of(8);
    for (unsigned long key = 0; key < 100; ++key)
        ASSERT_TRUE(table.AddItem(key, item, Lookup::eHashKeepEqual));
    Buffers::CMachineCRC const crc(64, 0x42f0e1eba9ea3693);
    takes_nothing("Buffers::CMachineCRC::CMachineCRC(unsigned int, unsigned long)",
                  [] { Buffers::CMachineCRC const made(32, 0x04C11DB7); });
    takes_nothing("Buffers::CMachineCRC::Eval(void const*, unsigned long, unsigned long) const",
                  [&] { crc.Eval(&crc, sizeof crc, 0); });
    takes_nothing(of + "CBaseHashTable(unsigned int)", [] { Table const made(10); });
    takes_nothing(of + "FindItem(unsigned long, Buffers::CPObjectMemory const&)", [&] { table.FindItem(5, item); });
    takes_nothing(of + "EnumTableBy(IBaseHashTableEnum*, unsigned long, bool)",
                  [&] { table.EnumTableBy(&visitor, 0, false); });
    takes_nothing(of + "GetNItems() const", [&] { table.GetNItems(); });
    takes_nothing(of + "DeleteItem(unsigned long, Buffers::CPObjectMemory const&)", [&] { table.DeleteItem(5, item); });
    takes_nothing(of + "DeleteIndex(unsigned long)", [&] { table.DeleteIndex(3); });
    takes_nothing(of + "PurgeTable(IBaseHashTableEnum*)", [&] { table.PurgeTable(&visitor); });
    takes_nothing(of + "DisposeTable(unsigned int)", [&] { table.DisposeTable(0xFFFFFFFF); });
    takes_nothing(of + "ClearTable()", [&] { table.ClearTable(); });
}

TEST(NothingTaken, ByTheFoundation)
{
    unsigned int word = 1;
    unsigned long size = 1;
    void* pointer = nullptr;
    takes_nothing("Core::OS::GetPlatformString()", [] { Core::OS::GetPlatformString(); });
    takes_nothing("Core::OS::GetTimeNow()", [] { Core::OS::GetTimeNow(); });
    takes_nothing("Core::OS::_ffree(void*)", [] { Core::OS::_ffree(nullptr); });
    takes_nothing("Core::OS::InterlockedIncrement32(unsigned int&)", [&] { Core::OS::InterlockedIncrement32(word); });
    takes_nothing("Core::OS::InterlockedDecrement32(unsigned int&)", [&] { Core::OS::InterlockedDecrement32(word); });
    takes_nothing("Core::OS::InterlockedCompareSwapPtr(void**, void*, void*)",
                  [&] { Core::OS::InterlockedCompareSwapPtr(&pointer, nullptr, nullptr); });
    takes_nothing("Core::InterlockedSet(unsigned long&, unsigned long)", [&] { Core::InterlockedSet(size, 2); });
    takes_nothing("Develop::OS::RTABox(char const*, char const*)", [] { Develop::OS::RTABox("a", "b"); });
    takes_nothing("Develop::_logWrite(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, ...)",
                  [] { Develop::_logWrite(_nqfDebugNotice, L"ORVA", "test", 1, L"%d", 1); });
    takes_nothing("Develop::_istrue_(bool, char const*)", [] { Develop::_istrue_(true, "text"); });
    takes_nothing("Develop::_isfalse_(bool, char const*)", [] { Develop::_isfalse_(false, "text"); });
    takes_nothing("Develop::SetExternalLogger(LoggerCallback)", [] { Develop::SetExternalLogger(nullptr); });
    takes_nothing("Develop::_getTicks()", [] { Develop::_getTicks(); });
    takes_nothing("Develop::_now_nano()", [] { Develop::_now_nano(); });
    takes_nothing("Develop::_now_milli()", [] { Develop::_now_milli(); });
    takes_nothing("Develop::bitcount64(unsigned long long)", [] { Develop::bitcount64(7); });
    takes_nothing("hr::hr(long)", [] { hr const result(-1); });
    takes_nothing("isDebuggerPresent()", [] { isDebuggerPresent(); });
}

TEST(NothingTaken, ByNumbers)
{
    using Math::CRational;
    Develop::CMTRandom random;
    Random::CMonoRand mono(1);
    CRational half(1, 2);
    CRational const third(1, 3);
    takes_nothing("Develop::CMTRandom::CMTRandom()", [] { Develop::CMTRandom const made; });
    takes_nothing("Develop::CMTRandom::seed(unsigned int)", [&] { random.seed(5); });
    takes_nothing("Develop::CMTRandom::_regen()", [&] { random._regen(); });
    takes_nothing("Develop::CMTRandom::rnd()",
                  [&]
                  {
                      for (int count = 0; count < 2000; ++count)
                          random.rnd();
                  });
    takes_nothing("Develop::CMTRnd_TS::CMTRnd_TS()", [] { Develop::CMTRnd_TS const made; });
    takes_nothing("Develop::_random()",
                  []
                  {
                      for (int count = 0; count < 2000; ++count)
                          Develop::_random();
                  });
    takes_nothing("Develop::_drandom(double)", [] { Develop::_drandom(1); });
    takes_nothing("Random::CMonoRand::rand()", [&] { mono.rand(); });
    takes_nothing("Math::CRational::CRational(int, int)", [] { CRational const made(6, 4); });
    takes_nothing("Math::CRational::operator+(CRational const&) const", [&] { unused(half + third); });
    takes_nothing("Math::CRational::operator*(CRational const&) const", [&] { unused(half * third); });
    takes_nothing("Math::CRational::operator/(CRational const&) const", [&] { unused(half / third); });
    takes_nothing("Math::CRational::operator<(CRational const&) const", [&] { unused(half < third); });
    takes_nothing("Math::CRational::fassign(double, int)", [&] { half.fassign(0.333, 1000); });
    takes_nothing("Math::CRational::fract() const", [&] { half.fract(); });
}

TEST(NothingTaken, ByPathsUrlsAndOpenFiles)
{
    support::TemporaryDirectory const directory;
    directory.write("f", "content");
    std::wstring const file_path = directory.wide_path("f");
    Files::OS::CFile file;
    ASSERT_EQ(file.Open(file_path.c_str(), Files::OS::eFileAccessWrite, Files::OS::eOpenFileExisting), 1);
    char buffer[100];
    takes_nothing("Files::OS::CFile::operator bool() const", [&] { unused(static_cast<bool>(file)); });
    takes_nothing("Files::OS::CFile::GetSize() const", [&] { file.GetSize(); });
    takes_nothing("Files::OS::CFile::Read(void*, unsigned int, unsigned int*)", [&] { file.Read(buffer, 7); });
    takes_nothing("Files::OS::CFile::Write(void const*, unsigned int, unsigned int*)", [&] { file.Write(buffer, 7); });
    takes_nothing("Files::OS::CFile::SetPointer(unsigned long long)", [&] { file.SetPointer(0); });
    takes_nothing("Files::OS::CFile::MovePointer(long long)", [&] { file.MovePointer(1); });
    takes_nothing("Files::OS::CFile::GetPointer() const", [&] { file.GetPointer(); });
    takes_nothing("Files::OS::CFile::SetEOF()", [&] { file.SetEOF(); });
    takes_nothing("Files::OS::CFile::Flush()", [&] { file.Flush(); });
    takes_nothing("Files::OS::CFile::Close()", [&] { file.Close(); });

    Files::OS::CDirectoryEnumerator walk;
    ASSERT_EQ(walk.BeginEnumerate(directory.wide_path().c_str()), 1);
    takes_nothing("Files::OS::CDirectoryEnumerator::EndEnumerate()", [&] { walk.EndEnumerate(); });

    Files::tagCPATHPARSEINFO parts;
    wchar_t path[] = L"C:\\a\\b\\ ";
    unsigned char url[100] = "a b/c";
    unsigned char encoded[100];
    takes_nothing("Files::FU_ParsePath(wchar_t const*, tagCPATHPARSEINFO&, bool)",
                  [&] { Files::FU_ParsePath(static_cast<wchar_t const*>(path), parts, false); });
    takes_nothing("Files::FU_FormatPath(wchar_t*, wchar_t)", [&] { Files::FU_FormatPath(path, L'/'); });
    takes_nothing("Files::FU_IsStraightPath(wchar_t const*)", [&] { Files::FU_IsStraightPath(path); });
    takes_nothing("Internetional::URL_encodebuffer(unsigned char*, unsigned char const*, unsigned char const*)",
                  [&] { Internetional::URL_encodebuffer(encoded, url, nullptr); });
    takes_nothing("Internetional::URL_decodebuffer(unsigned char*, unsigned char const*)",
                  [&] { Internetional::URL_decodebuffer(url, encoded); });
    takes_nothing("Internetional::URL_encoderequired(unsigned char const*, unsigned char const*)",
                  [&] { Internetional::URL_encoderequired(url, nullptr); });
    takes_nothing("Internetional::URL_checkescape(unsigned char const*, unsigned char const*)",
                  [&] { Internetional::URL_checkescape(encoded, nullptr); });
}
