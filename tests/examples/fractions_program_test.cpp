// The fractions example as a program: the exact results beside the others, and the messages of the library.

#include "run_program.h"

#include <gtest/gtest.h>

namespace examples
{

TEST(FractionsProgram, PrintsWhatItsTextsSayAndSucceeds)
{
    Workplace const work;
    Outcome const done = work.run({FRACTIONS_PROGRAM});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(done.out, R"(Frames at 30000/1001 a second, and when they begin:
  frame       0   00:00:00
  frame       1   00:00:00 + 1001/30000
  frame      30   00:00:01 + 1/1000
  frame   30000   00:16:41
  frame 2589407   23:59:59 + 26407/30000
  frame 2589410   23:59:59 + 2941/3000

The durations of the 2589410 frames of a day, added up:
  exact    23:59:59 + 2941/3000, when the next frame begins
  double   off by 0.000005562 seconds

From each of these frames to its time, and back to the frame that is seen then:
  exact    0 come back as another
  double   62004 come back as another

Measured rates, and the nearest fraction with a denominator up to a limit:
  29.9700301  to 1001   30000/1001
  23.9760238  to 1001   24000/1001
  25.0000004  to 1001   25/1
  29.9700000  to 1001   2997/100
  29.9700301  to   10   30/1
  -0.3333333  to  100   -1/3

Failures, with what the library reports:
  30/0                            1/0, without a report
    log: level 16, crational 292, "CRational::operator *(): Result exceeded definition space"
  2589407 / (30000/1001)          1/0, since 2592 million is above 1073741823
  ((that + 1/2) * 30 - 3) / 7     1/0, which is not normal
    log: level 16, crational 523, "CRational::_normalize(): components exceed definition space"
  assign(2000000001, 2)           1/0, although the result is true
  1 / (30/0)                      0/1, which is normal: ask before a division

Negative values:
  -2/5 > -3/5 is true, and -3/5 > -2/5 is true, too
  sorted by the sign of the difference: -3/5  -1/2  -2/5  -1/4  0/1  1/3
  -1/2 * 1/2 is 1/-4, in floating point -0.25, and does not equal -1/4
  normalised it is -1/4, and equals -1/4

All is as it should be.
)");
}

} // namespace examples
