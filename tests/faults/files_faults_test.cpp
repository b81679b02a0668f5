// Files, directories and walks through them.
#include "ORVA/Files/File.h"
#include "ORVA/Files/FileSystem.h"
#include "ORVA/Files/Path.h"
#include "faults/FaultTest.h"
#include "files/enumerator_fixture.h"

namespace
{

using namespace ORVA::Files;
using namespace ORVA::Files::OS;
using faults::fail_each_allocation;
using faults::fails;
using faults::Undisturbed;
using Names = std::vector<std::string>;

/// Text in front of a path that makes it too long for buffers on the stack.
std::string detour()
{
    std::string text;
    while (text.size() < 1200)
        text += "./";
    return text;
}

class FileFaults : public files::EnumeratorFixture
{
protected:
    /// Runs `operation()`, which takes so many allocations: with one that fails, it fails and leaves the directory as it
    /// is; undisturbed it succeeds, and `undo()` brings the directory back.
    template <class Operation, class Undo>
    void expect_all_or_nothing(unsigned long allocations, Operation operation, Undo undo)
    {
        Names const before = directory.entries();
        EXPECT_EQ(fail_each_allocation(
                      [&](unsigned long nth)
                      {
                          bool const done = operation();
                          Undisturbed const pause;
                          EXPECT_EQ(done, !fails(nth, allocations));
                          if (!done)
                          {
                              EXPECT_EQ(directory.entries(), before);
                              EXPECT_TRUE(operation());
                          }
                          undo();
                          EXPECT_EQ(directory.entries(), before);
                      }),
                  allocations);
    }

    std::wstring wide(std::string const& name) const { return directory.wide_path(name); }
};

/// What a creation of directories leaves behind.
struct Made
{
    Names names;   ///< those that are there, without the ones before
    bool reported; ///< that one could not be made
};

} // namespace

FAULT_TEST_F(FileFaults, AQuestionWithoutMemoryIsAnsweredWithNo, "Files::OS::_TestDirExists(wchar_t const*)",
             "Files::OS::_TestFileExists(wchar_t const*)")
{
    directory.write("f");
    std::wstring const file = wide("f");
    std::wstring const place = directory.wide_path();
    expect_all_or_nothing(
        1, [&] { return _TestFileExists(file.c_str()); }, [] {});
    expect_all_or_nothing(
        1, [&] { return _TestDirExists(place.c_str()); }, [] {});
}

FAULT_TEST_F(FileFaults, AChangeWithoutMemoryChangesNothing, "Files::OS::_CreateDir(wchar_t const*)",
             "Files::OS::_DeleteFile(wchar_t const*)", "Files::OS::CFile::DeleteFile(wchar_t const*)",
             "Files::OS::CFile::RenameFile(wchar_t const*, wchar_t const*)")
{
    directory.write("f");
    std::wstring const file = wide("f");
    std::wstring const other = wide("g");
    auto const remove_other = [&] { EXPECT_EQ(::remove(directory.path("g").c_str()), 0); };
    auto const write_file = [&] { directory.write("f"); };
    expect_all_or_nothing(
        1, [&] { return _CreateDir(other.c_str()); }, remove_other);
    expect_all_or_nothing(
        1, [&] { return _DeleteFile(file.c_str()); }, write_file);
    expect_all_or_nothing(
        1, [&] { return CFile::DeleteFile(file.c_str()); }, write_file);
    expect_all_or_nothing(
        2, [&] { return CFile::RenameFile(other.c_str(), file.c_str()) == 0; },
        [&]
        {
            remove_other();
            write_file();
        });
}

FAULT_TEST_F(FileFaults, AFileThatIsNotOpenedIsClosedAndNotMade,
             "Files::OS::CFile::Open(wchar_t const*, eFileAccess, eOpenFileOptions)")
{
    auto const both = static_cast<eOpenFileOptions>(eOpenFileCreate | eOpenFileCreateDir);
    struct Row
    {
        std::string path;
        eFileAccess access;
        eOpenFileOptions options;
        unsigned long allocations;
    };
    directory.write("f", "content");
    for (Row const& row :
         {Row{"f", eFileAccessRead, eOpenFileExisting, 1}, Row{"n", eFileAccessWrite, eOpenFileCreate, 1},
          Row{"d/n", eFileAccessWrite, both, 2}, Row{detour() + "d/n", eFileAccessWrite, both, 3}})
    {
        CFile file;
        std::wstring const path = wide(row.path);
        expect_all_or_nothing(
            row.allocations,
            [&]
            {
                bool const done = file.Open(path.c_str(), row.access, row.options) == 1;
                EXPECT_EQ(static_cast<bool>(file), done);
                return done;
            },
            [&]
            {
                file.Close();
                for (char const* const made : {"n", "d/n", "d"})
                    ::remove(directory.path(made).c_str());
            });
    }
    EXPECT_EQ(directory.read("f"), "content");
}

FAULT_TEST_F(FileFaults, AWalkThatCannotBeginLeavesTheOneBefore,
             "Files::OS::CDirectoryEnumerator::BeginEnumerate(wchar_t const*, wchar_t const*, bool)")
{
    directory.write("a.wav");
    directory.make_directory("d");
    directory.write("d/b.wav");
    // The path twice, the opening, the path and the filter that are kept, which takes two; the path with a separator.
    struct Row
    {
        std::string path;
        wchar_t const* filter;
        unsigned long allocations;
    };
    for (Row const& row : {Row{"d", nullptr, 4}, Row{"d", L".wav", 6}, Row{detour() + "d", L".wav", 7}})
    {
        std::wstring const path = wide(row.path);
        EXPECT_EQ(fail_each_allocation(
                      [&](unsigned long nth)
                      {
                          CDirectoryEnumerator walk;
                          long open = 0;
                          {
                              Undisturbed const pause;
                              EXPECT_EQ(walk.BeginEnumerate(directory.wide_path().c_str(), L".wav"), 1);
                              open = support::open_descriptors();
                          }
                          bool const failed = fails(nth, row.allocations);
                          EXPECT_EQ(walk.BeginEnumerate(path.c_str(), row.filter), failed ? 0 : 1);
                          Undisturbed const pause;
                          EXPECT_EQ(support::open_descriptors(), open);
                          EXPECT_EQ(rest_of(walk), files::NameSet{failed ? L"a.wav" : L"b.wav"});
                          EXPECT_EQ(walk.BeginEnumerate(path.c_str(), row.filter), 1);
                          EXPECT_EQ(rest_of(walk), files::NameSet{L"b.wav"});
                      }),
                  row.allocations);
    }
}

// The allocations are the path, its buffer if it is long, and the name.
FAULT_TEST_F(FileFaults, AnEntryWithoutMemoryLacksItsRecordOrItsName,
             "Files::OS::CDirectoryEnumerator::GetNext(CFindData&)", "Files::OS::CFindData::init(dirent*)")
{
    directory.write("f", "content");
    for (std::string const& before : {std::string(), detour()})
    {
        unsigned long const of_record = before.empty() ? 1 : 2;
        std::wstring const path = wide(before);
        auto const expect = [of_record](CFindData const& data, unsigned long nth)
        {
            bool const has_record = !fails(nth, of_record);
            bool const has_name = faults::all_after_fail() ? !fails(nth, of_record + 1) : nth != of_record + 1;
            EXPECT_EQ(data.GetSize(), has_record ? 7 : 0);
            EXPECT_EQ(data.GetLastModified() != 0, has_record);
            EXPECT_FALSE(data.isDirectory());
            EXPECT_EQ(data.GetFilename() != nullptr, has_name);
            EXPECT_STREQ(data.GetFilename(), has_name ? L"f" : nullptr);
        };
        for (bool const fills_again : {false, true})
        {
            EXPECT_EQ(fail_each_allocation(
                          [&](unsigned long nth)
                          {
                              CDirectoryEnumerator walk;
                              CFindData data;
                              files::NamedEntry entry("f");
                              {
                                  Undisturbed const pause;
                                  EXPECT_EQ(walk.BeginEnumerate(path.c_str()), 1);
                                  EXPECT_TRUE(!fills_again || walk.GetNext(data) == 1);
                              }
                              if (fills_again)
                                  data.init(&entry.get());
                              else
                                  EXPECT_EQ(walk.GetNext(data), 1);
                              Undisturbed const pause;
                              expect(data, nth);
                              EXPECT_EQ(walk.GetNext(data), 0);
                              data.init(&entry.get());
                              expect(data, 0);
                          }),
                      of_record + 1);
        }
    }
}

// For each directory, one allocation asks whether it exists, and one makes it if the answer is no. A question without
// memory is answered with no: making what exists fails, and making what does not succeeds all the same.
FAULT_TEST_F(FileFaults, DirectoriesAreMadeUpToTheFirstThatFails, "Files::FU_CreatePath(wchar_t const*)")
{
    std::wstring const path = wide("a/b/c");
    auto const separators = static_cast<unsigned long>(std::count(path.begin(), path.end(), L'/'));
    unsigned long const existing = separators - 3; // the directories before those
    auto const expected = [existing](unsigned long nth)
    {
        unsigned long allocation = 0;
        auto const succeeds = [&allocation, nth]
        {
            ++allocation;
            return nth == 0 || (faults::all_after_fail() ? allocation < nth : allocation != nth);
        };
        Made made{{}, false};
        for (unsigned long number = 0; number < existing && !made.reported; ++number)
            made.reported = !succeeds();
        for (char const* const name : {"a", "a/b", "a/b/c"})
        {
            if (made.reported)
                break;
            succeeds();
            made.reported = !succeeds();
            if (!made.reported)
                made.names.emplace_back(name);
        }
        return made;
    };
    EXPECT_EQ(fail_each_allocation(
                  [&](unsigned long nth)
                  {
                      FU_CreatePath(path.c_str());
                      Undisturbed const pause;
                      Made const made = expected(nth);
                      Names names;
                      for (char const* const name : {"a", "a/b", "a/b/c"})
                      {
                          if (_TestDirExists(wide(name).c_str()))
                              names.emplace_back(name);
                      }
                      EXPECT_EQ(names, made.names);
                      EXPECT_EQ(recorder.take(),
                                made.reported ? support::LogMessages{support::illegal_point("CreateDirectory failed")}
                                              : support::LogMessages());
                      FU_CreatePath(path.c_str());
                      EXPECT_TRUE(_TestDirExists(path.c_str()));
                      for (char const* const name : {"a/b/c", "a/b", "a"})
                          EXPECT_EQ(::rmdir(directory.path(name).c_str()), 0);
                  }),
              existing + 6);
}

FAULT_TEST_F(FileFaults, APathThatCannotBeCopiedMakesNothing, "Files::FU_CreatePath(wchar_t const*)")
{
    // Blanks in front make it long and belong to no directory.
    std::wstring path = wide("a");
    path.insert(0, 600, L' ');
    EXPECT_GE(fail_each_allocation(
                  [&](unsigned long nth)
                  {
                      FU_CreatePath(path.c_str());
                      Undisturbed const pause;
                      if (fails(nth))
                      {
                          EXPECT_EQ(directory.entries(), Names());
                          EXPECT_EQ(recorder.count(), 0U);
                      }
                      FU_CreatePath(path.c_str());
                      EXPECT_EQ(directory.entries(), Names{"a"});
                      EXPECT_EQ(::rmdir(directory.path("a").c_str()), 0);
                      recorder.clear();
                  }),
              2UL);
}
