// The waiting example as a program: what it prints, its exit status, and that it comes to its end by itself.

#include "run_program.h"

#include <gtest/gtest.h>

#include <string>

namespace examples
{

// The squares of the numbers that a worker is given, added up anew.
unsigned long squares_for_worker(unsigned long worker)
{
    unsigned long sum = 0;
    for (unsigned long number = 1; number <= 20000; ++number)
    {
        if ((number - 1) / 1000 % 2 == worker)
            sum += number * number;
    }
    return sum;
}

TEST(WaitingProgram, PrintsTheTotalsAndSucceeds)
{
    std::string const expected = "worker 0: 10 batches, sum of squares " + std::to_string(squares_for_worker(0)) +
                                 "\nworker 1: 10 batches, sum of squares " + std::to_string(squares_for_worker(1)) +
                                 "\nsquares of 1 to 20000: 2666866670000, expected 2666866670000\n";
    Workplace const work;
    Outcome const done = work.run({WAITING_PROGRAM});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.out, expected);
    EXPECT_EQ(done.err, "");
}

// Whatever the threads' order is.
TEST(WaitingProgram, IsTheSameEveryTime)
{
    Workplace const work;
    std::string const first = work.run({WAITING_PROGRAM}).out;
    for (unsigned int times = 0; times < 20; ++times)
    {
        Outcome const done = work.run({WAITING_PROGRAM});
        EXPECT_EQ(done.status, 0);
        EXPECT_EQ(done.out, first);
        EXPECT_EQ(done.err, "");
    }
}

} // namespace examples
