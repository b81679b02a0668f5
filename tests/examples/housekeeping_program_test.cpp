// The housekeeping example as a program: the schedule that it prints.

#include "run_program.h"

#include <gtest/gtest.h>

#include <regex>

namespace examples
{

// The times in front of the lines are those of the machine.
std::string without_times(std::string const& text)
{
    return std::regex_replace(text, std::regex(" *[0-9]+\\.[0-9] s  "), "  ");
}

TEST(HousekeepingProgram, TellsTheScheduleAsItHappens)
{
    Workplace const work;
    Outcome const done = work.run({HOUSEKEEPING_PROGRAM});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(without_times(done.out), R"(
Age overtakes priority: "index" has priority 3, "tidy" 0, and both are always due.
  index    item 1 of 10, at priority 3
  index    item 2 of 10, at priority 3
  index    item 3 of 10, at priority 3
  index    item 4 of 10, at priority 3
  tidy     item 1 of 2, at priority 0
  index    item 5 of 10, at priority 3
  index    item 6 of 10, at priority 3
  index    item 7 of 10, at priority 3
  index    item 8 of 10, at priority 3
  tidy     item 2 of 2, at priority 0
  index    item 9 of 10, at priority 3
  index    item 10 of 10, at priority 3

A service that fails is disabled: "mail" wants to run in two seconds.
  main     registered mail
  mail     throws
  main     triggered the thread three times; mail ran once

Taking a service off waits for it: "backup" runs for most of a second.
  backup   begins
  main     unregisters backup
  backup   ends
  main     unregistered backup, which has ended

The thread has ended; all went as it should.
)");
}

} // namespace examples
