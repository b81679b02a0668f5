#include "ORVA/Files.h"

#include "races/together.h"
#include "support/LogRecorder.h"
#include "support/OpenDescriptors.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

// Several threads at the same places of the file system: the system decides who comes first, and one does.
namespace
{

using namespace ORVA::Files;
using namespace ORVA::Files::OS;
using races::Faults;
using races::faults_of;
using support::TemporaryDirectory;
using support::widened;

constexpr unsigned int threads = 4;

// Whoever loses the race for a directory reports it and stops; the one who has made it goes on.
TEST(FilesRaces, path_that_several_threads_make_is_there_when_all_have_ended)
{
    constexpr unsigned int rounds = 60;
    TemporaryDirectory const directory;
    support::LogRecorder recorder;
    races::MeetingPoint point(threads);
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                std::wstring const path = directory.wide_path(std::to_string(round) + "/a/b/c/d");
                                point.meet();
                                FU_CreatePath(path.c_str());
                                point.meet();
                                faults.expect(_TestDirExists(path.c_str()));
                            }
                            return faults;
                        }),
              0U);
    EXPECT_LE(recorder.count(), (threads - 1) * rounds);
    for (support::LogMessage const& message : recorder.take())
        EXPECT_EQ(message, support::illegal_point("CreateDirectory failed"));
}

TEST(FilesRaces, each_thread_makes_paths_of_its_own)
{
    constexpr unsigned int rounds = 40;
    TemporaryDirectory const directory;
    support::LogRecorder const recorder;
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                std::string const name = std::to_string(index) + "_" + std::to_string(round);
                                std::wstring const path = directory.wide_path(name + "/a/b");
                                FU_CreatePath(path.c_str());
                                faults.expect(_TestDirExists(path.c_str()));
                                faults.expect(!_TestFileExists(path.c_str()));
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(recorder.count(), 0U);
}

// Making, exclusive opening and removing have one winner each.
TEST(FilesRaces, one_thread_wins_what_can_be_done_once)
{
    constexpr unsigned int rounds = 100;
    TemporaryDirectory const directory;
    support::SameDescriptors const same;
    std::vector<std::atomic<unsigned int>> made(rounds);
    std::vector<std::atomic<unsigned int>> opened(rounds);
    std::vector<std::atomic<unsigned int>> removed(rounds);
    races::MeetingPoint point(threads);
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                std::wstring const place = directory.wide_path(std::to_string(round));
                                std::wstring const name = place + L"/file";
                                point.meet();
                                made[round] += _CreateDir(place.c_str()) ? 1U : 0U;
                                point.meet();
                                {
                                    CFile file;
                                    int const result = file.Open(name.c_str(), eFileAccessWrite, eOpenFileCreate);
                                    opened[round] += static_cast<unsigned int>(result);
                                    if (result == 1)
                                        faults.expect(file.Write(&index, sizeof index) == 1);
                                }
                                point.meet();
                                CFile file;
                                unsigned int written = threads;
                                faults.expect(file.Open(name.c_str(), eFileAccessRead, eOpenFileExisting) == 1);
                                faults.expect(file.Read(&written, sizeof written) == 1 && written < threads);
                                file.Close();
                                point.meet();
                                removed[round] += _DeleteFile(name.c_str()) ? 1U : 0U;
                            }
                            return faults;
                        }),
              0U);
    for (unsigned int round = 0; round < rounds; ++round)
    {
        EXPECT_EQ(made[round], 1U);
        EXPECT_EQ(opened[round], 1U);
        EXPECT_EQ(removed[round], 1U);
    }
}

} // namespace
