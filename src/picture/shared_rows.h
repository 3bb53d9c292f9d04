// Rows that a group's classic and extended rules share word for word.
#pragma once

#include "picture/engine.h"

namespace orvx::picture {

// Cassettes by the counter n: the first is the large-capacity tray (slot 32),
// then two drawers (21, 22), then the side feeder (88), then nothing; every
// cassette counts.
inline constexpr InRow kAukletCassettesIn[] = {
    {.test = Any(B("Bypa", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("Casse", 5)), .when = CountIs(0), .bits = 0x100, .id = 32, .step = Step::Bump},
    {.test = Any(B("Casse", 5)), .when = CountIs(1), .bits = 0x1, .id = 21, .step = Step::Bump},
    {.test = Any(B("Casse", 5)), .when = CountIs(2), .bits = 0x2, .id = 22, .step = Step::Bump},
    {.test = Any(B("Casse", 5)), .when = CountIs(3), .bits = 0x200, .id = 88, .step = Step::Bump},
    {.test = Any(B("Casse", 5)), .when = CountAtLeast(4), .step = Step::Bump},
    {.test = Any(B("NN-37", 5)), .bits = 0x200, .id = 88},
};

// From the fourth finisher tray of row 2 on, 0x200000 too.
inline constexpr OutRow kAukletOut[] = {
    {.test = Any(B("Face-d", 6), B("Face-u", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("HI-372", 6), B("Multi F", 7), B("Sub T", 5)), .bits = 0x500000, .id = 91, .step = Step::Finisher},
    {.test = Any(B("RJ-7", 4), B("Multi T", 7)), .bits = 0x800000, .id = 92},
};

// Heron (and Yellowlegs, the same family): only the hyphenated face-up and
// face-down names count.
inline constexpr OutRow kHyphenFaceOut[] = {
    {.test = Any(B("Face-u", 6)), .id = 50},
    {.test = Any(B("Face-d", 6)), .id = 51},
};

}  // namespace orvx::picture
