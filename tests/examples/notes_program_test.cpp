// The notes example as a program: the names, arrays and texts, and the one message of the library.

#include "run_program.h"

#include <gtest/gtest.h>

namespace examples
{

TEST(NotesProgram, PrintsWhatItsTextsSayAndSucceeds)
{
    Workplace const work;
    Outcome const done = work.run({NOTES_PROGRAM});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(done.out, R"(Titles that are never taken twice:
  Note becomes Note
  Note becomes Note (2)
  Ideas becomes Ideas
  Note becomes Note (3)
  Ideas (9) becomes Ideas (9)
  Ideas (9) becomes Ideas (10)
  Note becomes Note (4)
  Äpfel becomes Äpfel
  Note(1) becomes Note(1)
  Note(1) becomes Note(2)
  sorted:     Ideas  Ideas (10)  Ideas (9)  Note  Note (2)  Note (3)  Note (4)  Note(1)  Note(2)  Äpfel

Tags in the order of their entry, sorted, and as one text:
  tags:       travel  Rome  2024  food
  sorted:     2024  Rome  food  travel
  flat:       travel,Rome,2024,food
  Inflate:    tr  R  2  f
  split:      travel  Rome  2024  food
Empty pieces, of a,,b,
  Inflate:    a  (null)  b
  split:      a  (empty)  b  (empty)

Bytes as text:
  11 bytes are 9 characters: 0302 5089 5D39 60D4 4682 400A 4000 4010 4000
  Equal bytes are the same string: yes
Without a byte more, multiples of seven bytes are lost:
  6 bytes come back
    log: level 2, cstringpool 4500, "C3FFFDecoder: Invalid string passed"
  7 bytes do not come back
  8 bytes come back
With it, of the lengths from 0 to 1000 bytes 0 are lost.

A note with a picture of 20 bytes, stored in 88 bytes of UTF-8, comes back whole.

All is as it should be.
)");
}

} // namespace examples
