// Extended option rules of the groups with finishers, job separators,
// mailboxes and the document-unit bit pair.
#include "picture/rules.h"

namespace orvx::picture {

// ---- Kestrel (and Osprey) --------------------------------------------------------
constexpr NameRow kKestrelOptions[] = {
    {.test = Any(B("FU-404", 6), B("Booklet", 7)), .bits = 0x200000},
};
constexpr InRow kKestrelIn[] = {
    {.test = Any(B("Multi", 5), B("Bypass", 6), B("MP T", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("GX-59", 5)), .bits = 0x100, .id = 32},
    {.test = Any(B("GX-13", 5), B("Casse", 5), B("Feed", 4), B("RL-20", 5)), .when = kNotFourthOfFour,
     .step = Step::LowDrawer},
    {.test = Any(B("GX-11", 5), B("NN-31", 5), B("3000 S", 6), B("Large", 5), B("Casse", 5)),
     .when = kFourthOfFour, .bits = 0x100, .id = 32},
};
constexpr OutRow kKestrelOut[] = {
    {.test = Any(B("Face D", 6), B("Face-d", 6), B("Top Tr", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("Face U", 6), B("Face-u", 6), B("Left T", 6)), .bits = 0x80000, .id = 50},
    {.test = Any(B("HI-06", 5), B("V-3787", 6), B("Bookl", 5)), .bits = 0x200000, .id = 85},
    {.test = Any(B("HI-01", 5), B("Simple", 6)), .bits = 0x8000000, .id = 93},
    {.test = Any(B("HI-08", 5), B("HI-04", 5), B("3000 S", 6), B("V-3874", 6), B("Docume", 6), B("Finish", 6)),
     .bits = 0x100000, .id = 86},
    {.test = Any(B("V-9862", 6), B("HI-00", 5), B("HI-07", 5), B("Inner", 5)), .bits = 0x1000000, .id = 89},
    {.test = Any(B("Z-2335", 6), B("ZB-283", 6), B("Job Se", 6)), .bits = 0x400000, .id = 90},
    {.test = Any(B("R-9591", 6), B("RJ-272", 6), B("Mailbo", 6)), .bits = 0x800000, .id = 87},
};
constexpr Rule extended::Kestrel{.options = kKestrelOptions,
                        .docUnit = Any(B("NMFR-9", 6), B("HG-976", 6), B("Docume", 6)),
                        .pair = BitPair::VendorTwo,
                        .in = kKestrelIn,
                        .out = kKestrelOut};
// Osprey's units and trays are Kestrel's.
constexpr Rule extended::Osprey = extended::Kestrel;

// ---- Eider -----------------------------------------------------------------------
constexpr NameRow kEiderOptions[] = {
    {.test = Any(B("FU-404", 6), B("FU-464", 6)), .bits = 0x200000},
};
constexpr InRow kEiderIn[] = {
    {.test = Any(B("MP Tray", 7), B("Multi Purpose Tray", 18), B("Bypass", 6)), .bits = 0x1000, .id = 31},
    {.test = Any(B("GX-13", 5), B("GX-18", 5), B("GX-17", 5), B("Casse", 5), B("Feed", 4)), .when = kNotFourthOfFour,
     .step = Step::LowDrawer},
    {.test = Any(B("GX-11", 5), B("GX-14", 5), B("3000 S", 6), B("Large", 5), B("Casse", 5)),
     .when = kFourthOfFour, .bits = 0x100, .id = 32},
};
constexpr OutRow kEiderOut[] = {
    {.test = Any(B("Top Tr", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("Left T", 6)), .bits = 0x80000, .id = 50},
    {.test = Any(B("HI-016", 6), B("HI-005", 6), B("Simple", 6)), .bits = 0x8000000, .id = 93},
    {.test = Any(B("HI-049", 6), B("HI-056", 6), B("3000 S", 6), B("Docume", 6)), .bits = 0x100000, .id = 94},
    {.test = Any(B("ZB-267", 6), B("ZB-252", 6), B("Job Se", 6)), .bits = 0x400000, .id = 90},
    {.test = Any(B("RJ-272", 6), B("RJ-284", 6), B("Mailbo", 6)), .bits = 0x800000, .id = 95},
    {.test = Any(B("FU-404", 6), B("Bookle", 6)), .bits = 0x200000},
};
constexpr Rule extended::Eider{.options = kEiderOptions,
                      .docUnit = Any(B("HG-937", 6), B("HG-918", 6), B("HG-942", 6)),
                      .pair = BitPair::VendorTwo,
                      .in = kEiderIn,
                      .out = kEiderOut};

// ---- Wagtail ---------------------------------------------------------------------
constexpr InRow kWagtailIn[] = {
    {.test = Any(B("Bypass", 6), B("MP T", 4), B("Multi", 5)), .bits = 0x1000, .id = 31},
    {.test = Any(B("GX-922", 6), B("Casse", 5), B("Feed", 4)), .step = Step::LowDrawer},
};
constexpr OutRow kWagtailOut[] = {
    {.test = Any(B("Face D", 6), B("Face-d", 6), B("Top Tr", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("HI-678", 6), B("Inner", 5)), .bits = 0x100000, .id = 89},
    {.test = Any(B("ZB-033", 6), B("Job Se", 6)), .bits = 0x400000, .id = 90},
};
constexpr Rule extended::Wagtail{
    .docUnit = Any(B("HG-388", 6)), .pair = BitPair::VendorTwo, .in = kWagtailIn, .out = kWagtailOut};

// ---- Shrike ----------------------------------------------------------------------
constexpr InRow kShrikeIn[] = {
    {.test = Any(B("MP T", 4), B("Multi", 5)), .bits = 0x1000, .id = 31},
    {.test = Any(B("GX-20", 5), B("Casse", 5)), .step = Step::LowDrawer},
};
constexpr OutRow kShrikeOut[] = {
    {.test = Any(B("Face D", 6), B("Face-d", 6), B("Top Tr", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("Face U", 6), B("Face-u", 6), B("Left T", 6)), .bits = 0x80000, .id = 50},
    {.test = Any(B("HI-01", 5), B("Simple", 6)), .bits = 0x8000000, .id = 93},
    {.test = Any(B("HI-31", 5), B("Inner", 5)), .bits = 0x1000000, .id = 89},
    {.test = Any(B("ZB-182", 6), B("Job Se", 6)), .bits = 0x400000, .id = 90},
};
constexpr Rule extended::Shrike{
    .docUnit = Any(B("HG-706", 6), B("Docume", 6)), .pair = BitPair::VendorTwo, .in = kShrikeIn, .out = kShrikeOut};

// ---- Lapwing (starts at 0x2000000 on every vendor) -----------------------------------
constexpr InRow kLapwingIn[] = {
    {.test = Any(B("MP T", 4), B("Mult", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("GX-", 3), B("Cas", 3)), .step = Step::LowDrawer},
};
constexpr OutRow kLapwingOut[] = {
    {.test = Any(B("Face D", 6), B("Face-d", 6), B("Top Tr", 6)), .bits = 0x40000, .id = 51},
};
constexpr Rule extended::Lapwing{.start = 0x2000000,
                        .docUnit = Any(B("HG-", 3), B("Doc-", 4)),
                        .pair = BitPair::ReplacesStart,
                        .in = kLapwingIn,
                        .out = kLapwingOut};

}  // namespace orvx::picture
