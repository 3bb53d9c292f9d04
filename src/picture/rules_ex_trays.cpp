// Extended option rules of the groups that know trays, feeders and duplex
// units only.
#include "picture/rules.h"
#include "picture/shared_rows.h"

namespace orvx::picture {

// ---- Nightjar: the default of the printer line ---------------------------------------
constexpr NameRow kNightjarOptions[] = {
    {.test = Any(B("HH-97", 5), B("HH-418", 6), B("HH-415", 6)), .bits = 0x10000},
};
constexpr InRow kNightjarIn[] = {
    {.test = Any(B("Multi", 5), B("MP T", 4)), .bits = 0x800, .id = 12},
    {.test = Any(B("Inte", 4)), .bits = 0x1, .id = 20},
    {.test = Any(B("Defa", 4)), .bits = 0x1, .id = 20, .rename = kDefaultTray},
    {.test = Any(B("BC", 2), B("Enve", 4)), .bits = 0x1000, .id = 11},
    {.test = Any(B("GX-3", 4), B("GX-7", 4), B("GX-828", 6), B("Bulk", 4)), .bits = 0x100, .id = 30},
    {.test = Any(B("GX", 2), B("Feed", 4)), .step = Step::Drawer},
    {.test = Any(B("Cassette 1", 10)), .bits = 0x1, .id = 20},
    {.test = Any(B("Cassette", 8)), .step = Step::Drawer},
};
constexpr OutRow kNightjarOut[] = {
    {.test = Any(B("Face U", 6), B("Face-u", 6), B("Rear T", 6)), .id = 50},
    {.test = Any(B("Face D", 6), B("Face-d", 6), B("Top Tr", 6)), .id = 51},
    {.test = Any(B("NE", 2), B("5bin", 4)), .bits = 0x100000, .id = 57},
    {.test = Any(B("IL", 2), B("Bulk", 4), B("Pape", 4)), .bits = 0x200000, .id = 72},
    {.test = Any(B("HH", 2)), .bits = 0x10000},  // a duplex unit listed as an out-tray
};
constexpr Rule extended::Nightjar{.options = kNightjarOptions, .in = kNightjarIn, .out = kNightjarOut};

// ---- Dunlin (no drawer counter; always 0x4000000) ---------------------------------------
constexpr InRow kDunlinIn[] = {
    {.test = Any(B("Manu", 4), B("Mult", 4), B("MP T", 4)), .bits = 0x800, .id = 12},
    {.test = Any(B("Inte", 4)), .bits = 0x1, .id = 20},
    {.test = Any(B("Defa", 4)), .bits = 0x1, .id = 20, .rename = kDefaultTray},
    {.test = Any(B("GX", 2), B("Feed", 4)), .bits = 0x2, .id = 21},
    {.test = Any(Is("Cassette 1")), .bits = 0x1, .id = 20},
    {.test = Any(Is("Cassette 2")), .bits = 0x2, .id = 21},
};
constexpr OutRow kDunlinOut[] = {
    {.test = Any(B("Face U", 6)), .id = 50},
    {.test = Any(B("Face D", 6), B("Top Tr", 6)), .id = 51},
};
constexpr Rule extended::Dunlin{.in = kDunlinIn, .out = kDunlinOut, .finalBits = 0x4000000};

// ---- Wren ----------------------------------------------------------------------
constexpr NameRow kWrenOptions[] = {
    {.test = Any(B("HH-37", 5)), .bits = 0x10000},
};
constexpr InRow kWrenIn[] = {
    {.test = Any(B("Multi", 5), B("MP T", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("Cass", 4), B("GX", 2), B("Feed", 4)), .step = Step::LowDrawer},
};
constexpr OutRow kWrenOut[] = {
    {.test = Any(B("Rear T", 6)), .id = 50},
    {.test = Any(B("Top T", 5)), .id = 51},
};
constexpr Rule extended::Wren{.options = kWrenOptions, .in = kWrenIn, .out = kWrenOut};

// ---- Yellowlegs (the second in-tray is the standard cassette) ----------------------------
constexpr InRow kYellowlegsIn[] = {
    {.test = Any(B("Multi", 5), B("Bypas", 5), B("Manual", 6), B("MP", 2)), .bits = 0x800, .id = 12},
    {.test = Any(B("Cass", 4)), .when = IndexIs(1), .bits = 0x1, .id = 20},
    {.test = Any(B("GX-5", 4), B("Cass", 4), B("Feed", 4)), .step = Step::Drawer},
};
constexpr Rule extended::Yellowlegs{.in = kYellowlegsIn, .out = kHyphenFaceOut};

// ---- Heron (the fourth of four in-trays is no drawer) ------------------------------------
constexpr InRow kHeronExIn[] = {
    {.test = Any(B("Multi", 5), B("Bypas", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("Cassette 1", 10)), .bits = 0x1, .id = 20},
    {.test = Any(B("GX-966", 6), B("Cass", 4), B("Feed", 4)), .when = kNotFourthOfFour, .step = Step::LowDrawer},
};
constexpr Rule extended::Heron{.in = kHeronExIn, .out = kHyphenFaceOut};

}  // namespace orvx::picture
