// Classic option rules of the printer line (vendor 1).
#include "picture/rules.h"
#include "picture/shared_rows.h"

namespace orvx::picture {

// ---- Jacana ------------------------------------------------------------------
// An in-tray with an add-on unit is the "GX-1" feeder whatever its name.
static void JacanaInPre(Scan&, COptInTray& tray) {
  if (tray.GetAddUnit()) tray.SetName("GX-1");
}
// An out-tray with an add-on unit is named after it: bit 0x1 "IL-4", else 0x2 "IL-2".
static void JacanaOutPre(Scan&, COptOutTray& tray) {
  const int u = tray.GetAddUnit();
  if (!u) return;
  const CString name = (u & 0x1) ? CString("IL-4") : (u & 0x2) ? CString("IL-2") : tray.GetName();
  tray.SetName(name);
}
// The "IL-2" stacker with unit bit 0x4 has a second bin.
static void JacanaStackerBin(Scan& s, COptOutTray& tray) {
  if (tray.GetAddUnit() & 0x4) {
    s.result |= 0x400000;
    tray.SetID(6);
  }
}

constexpr InRow kJacanaIn[] = {
    {.test = Any(B("Multi", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("Inte", 4)), .bits = 0x1, .id = 20},
    {.test = Any(B("Manu", 4)), .bits = 0x1, .id = 10, .rename = kManualTray},
    {.test = Any(B("Defa", 4)), .id = 20, .rename = kDefaultTray},
    {.test = Any(B("BC", 2)), .bits = 0x1000, .id = 11},
    {.test = Any(B("GX-4", 4)), .step = Step::Drawer},
    {.test = Any(B("GX-1", 4)), .bits = 0x100, .id = 10},
};
constexpr OutRow kJacanaOut[] = {
    {.test = Any(B("Face U", 6)), .id = 50},
    {.test = Any(B("Face D", 6)), .id = 51},
    {.test = Any(B("NE-0", 4)), .bits = 0x100000, .id = 56},
    {.test = Any(B("NN-72", 5)), .bits = 0x100000, .id = 73},
    {.test = Any(B("IL-2", 4)), .bits = 0x200000, .id = 2, .stacker = true, .hook = JacanaStackerBin},
    {.test = Any(B("IL-4", 4)), .bits = 0x8000, .id = 1},
};
constexpr Rule classic::Jacana{.inPre = JacanaInPre, .in = kJacanaIn, .outPre = JacanaOutPre, .out = kJacanaOut,
                       .duplexBit = 0x10000, .outputUnitBit = 0x8000};

// ---- Crake ---------------------------------------------------------------------
constexpr InRow kCrakeIn[] = {
    {.test = Any(B("Multi", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("Inte", 4)), .bits = 0x1, .id = 20},
    {.test = Any(B("Manu", 4)), .bits = 0x800, .id = 10, .rename = kManualTray},
    {.test = Any(B("Defa", 4)), .bits = 0x1, .id = 20, .rename = kDefaultTray},
    {.test = Any(B("BC", 2)), .bits = 0x1000, .id = 11},
    {.test = Any(B("GX", 2)), .step = Step::Drawer},
};
// Face-up and face-down trays only; shared by the groups that know no other out-tray.
constexpr OutRow kFaceUpDownOut[] = {
    {.test = Any(B("Face U", 6)), .id = 50},
    {.test = Any(B("Face D", 6)), .id = 51},
};
constexpr Rule classic::Crake{.in = kCrakeIn, .out = kFaceUpDownOut};

// ---- Finch ---------------------------------------------------------------------
// With the output unit installed, the face-up tray is the unit's tray.
static void FinchOutPre(Scan& s, COptOutTray& tray) {
  if (tray.GetName() == "Face Up Tray" && s.outputUnit == 1) tray.SetName("IL-15 / IL-17");
}

constexpr InRow kFinchIn[] = {
    {.test = Any(B("Multi", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("Inte", 4)), .bits = 0x1, .id = 20},
    {.test = Any(B("Defa", 4)), .bits = 0x1, .id = 20, .rename = kDefaultTray},
    {.test = Any(B("BC", 2), B("Enve", 4)), .bits = 0x1000, .id = 11},
    {.test = Any(B("GX-0", 4), B("Feed", 4)), .step = Step::Drawer},
    {.test = Any(B("GX-1", 4)), .bits = 0x100, .id = 30},
};
constexpr OutRow kFinchOut[] = {
    {.test = Any(B("Face U", 6)), .id = 50},
    {.test = Any(B("Face D", 6)), .id = 51},
    {.test = Any(B("NE-0", 4)), .bits = 0x100000, .id = 56},
    {.test = Any(B("NN-72", 5)), .bits = 0x100000, .id = 73},
    {.test = Any(B("IL-2C", 5)), .bits = 0x200000, .id = 72, .stacker = true},
    {.test = Any(B("IL-15", 5)), .bits = 0x8000, .id = 70},
};
constexpr Rule classic::Finch{.in = kFinchIn, .outPre = FinchOutPre, .out = kFinchOut, .duplexBit = 0x10000,
                      .outputUnitBit = 0x8000};

// ---- Vireo ---------------------------------------------------------------------
// The sorter's tray named exactly after its code tells its delivery side.
static void VireoDeliverySuffix(Scan&, COptOutTray& tray) {
  const int d = tray.GetDerivery();
  if (d == 3) tray.SetName(tray.GetName() + " Face Up");
  if (d == 4) tray.SetName(tray.GetName() + " Face Down");
}

constexpr InRow kVireoIn[] = {
    {.test = Any(B("Multi", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("BC-8", 4), B("Enve", 4)), .bits = 0x1000, .id = 11},
    {.test = Any(B("GX-89", 5), B("Feed", 4)), .step = Step::Count},
};
// Drawers come in pairs: m = n / 2 pairs give m bit pairs.
constexpr CountBits kVireoByCount[] = {{2, 3, 0x3}, {4, 5, 0xF}, {6, 7, 0x3F}};
constexpr OutRow kVireoOut[] = {
    {.test = Any(B("Face U", 6)), .id = 50},
    {.test = Any(B("Face D", 6)), .id = 51},
    {.test = Any(Is("NN-93"), Is("NN-94")), .bits = 0x100000, .id = 82, .hook = VireoDeliverySuffix},
    {.test = Any(B("NN-93", 5), B("NN-94", 5)), .bits = 0x100000, .id = 82},
    {.test = Any(B("HI-21", 5), B("HI-22", 5)), .bits = 0x200000, .id = 81},
    {.test = Any(B("NE-99", 5)), .bits = 0x400000, .id = 83},
    {.test = Any(B("Stacker", 7)), .bits = 0x100000, .id = 82},
    {.test = Any(B("Document Finisher", 17)), .bits = 0x200000, .id = 81},
    {.test = Any(B("9bin Sorter", 11)), .bits = 0x400000, .id = 83},
};
constexpr Rule classic::Vireo{.in = kVireoIn, .byCount = kVireoByCount, .out = kVireoOut};

// ---- Fulmar (no drawer counter: every second drawer is slot 21) -----------------
constexpr InRow kFulmarIn[] = {
    {.test = Any(B("Manu", 4), B("Mult", 4)), .bits = 0x800, .id = 12},
    {.test = Any(B("Inte", 4)), .bits = 0x1, .id = 20},
    {.test = Any(B("Defa", 4)), .bits = 0x1, .id = 20, .rename = kDefaultTray},
    {.test = Any(B("GX", 2), B("Feed", 4)), .bits = 0x2, .id = 21},
    {.test = Any(Is("Cassette 1")), .bits = 0x1, .id = 20},
    {.test = Any(Is("Cassette 2")), .bits = 0x2, .id = 21},
};
constexpr Rule classic::Fulmar{.in = kFulmarIn, .out = kFaceUpDownOut};

// ---- Egret ---------------------------------------------------------------------
constexpr InRow kEgretIn[] = {
    {.test = Any(B("Multi", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("Inte", 4)), .bits = 0x1, .id = 20},
    {.test = Any(B("Defa", 4)), .bits = 0x1, .id = 20, .rename = kDefaultTray},
    {.test = Any(B("GX", 2), B("Feed", 4)), .step = Step::Drawer},
};
constexpr Rule classic::Egret{.in = kEgretIn, .out = kFaceUpDownOut, .duplexBit = 0x10000};

// ---- Mallard -------------------------------------------------------------------
constexpr InRow kMallardIn[] = {
    {.test = Any(B("Multi", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("Inte", 4)), .bits = 0x1, .id = 20},
    {.test = Any(B("Defa", 4)), .id = 20, .rename = kDefaultTray},
    {.test = Any(B("GX", 2), B("Feed", 4)), .step = Step::Count},
};
constexpr CountBits kMallardByCount[] = {{2, INT_MAX, 0x4}};
constexpr Rule classic::Mallard{.in = kMallardIn, .byCount = kMallardByCount, .out = kFaceUpDownOut};

// ---- Dipper --------------------------------------------------------------------
constexpr InRow kDipperIn[] = {
    {.test = Any(B("Multi", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("Inte", 4)), .bits = 0x1, .id = 20},
    {.test = Any(B("Defa", 4)), .bits = 0x1, .id = 20, .rename = kDefaultTray},
    {.test = Any(B("BC", 2), B("Enve", 4)), .bits = 0x1000, .id = 11},
    {.test = Any(B("GX-3", 4), B("GX-7", 4), B("Bulk", 4)), .bits = 0x100, .id = 30},
    {.test = Any(B("GX", 2), B("Feed", 4)), .step = Step::Drawer},
    {.test = Any(B("Cassette 1", 10)), .bits = 0x1, .id = 20},
    {.test = Any(B("Cassette", 8)), .step = Step::Drawer},
};
constexpr OutRow kDipperOut[] = {
    {.test = Any(B("Face U", 6), B("Face-u", 6), B("Rear T", 6)), .id = 50},
    {.test = Any(B("Face D", 6), B("Face-d", 6), B("Top Tr", 6)), .id = 51},
    {.test = Any(B("NE", 2), B("5bin", 4)), .bits = 0x100000, .id = 57},
    {.test = Any(B("IL", 2), B("Bulk", 4), B("Pape", 4)), .bits = 0x200000, .id = 72},
};
constexpr Rule classic::Dipper{.in = kDipperIn, .out = kDipperOut, .duplexBit = 0x10000};

// ---- Curlew (the low n bits, plus 0x10000 for an odd n) --------------------------
constexpr InRow kCurlewIn[] = {
    {.test = Any(B("Multi", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("Cass", 4), B("GX", 2), B("Feed", 4)), .step = Step::Count},
};
constexpr CountBits kCurlewByCount[] = {{1, 1, 0x10001}, {2, 2, 0x3},     {3, 3, 0x10007},
                                        {4, 4, 0xF},     {5, 5, 0x1001F}, {6, 6, 0x3F}};
constexpr OutRow kCurlewOut[] = {
    {.test = Any(B("Face U", 6), B("Face-u", 6)), .id = 50},
    {.test = Any(B("Face D", 6), B("Face-d", 6)), .id = 51},
    {.test = Any(B("NN-9", 4), B("Stac", 4)), .bits = 0x100000, .id = 82},
    {.test = Any(B("HI-2", 4), B("Docu", 4)), .bits = 0x200000, .id = 81},
    {.test = Any(B("NE-9", 4), B("9bin", 4)), .bits = 0x400000, .id = 83},
};
constexpr Rule classic::Curlew{.in = kCurlewIn, .byCount = kCurlewByCount, .out = kCurlewOut};

// ---- Grebe (the fourth of four in-trays can only be a large-capacity feeder) ----
constexpr InRow kGrebeIn[] = {
    {.test = Any(B("Multi", 5), B("Bypass", 6)), .bits = 0x1000, .id = 31},
    {.test = Any(B("GX-11", 5), B("NN-31", 5), B("3000 S", 6), B("Large", 5), B("Casse", 5)),
     .when = kFourthOfFour, .bits = 0x100, .id = 32},
    {.test = Any(B("GX-13", 5), B("Casse", 5), B("Feed", 4), B("RL-20", 5)), .when = kNotFourthOfFour,
     .step = Step::LowDrawer},
};
constexpr OutRow kGrebeOut[] = {
    {.test = Any(B("Face U", 6), B("Face-u", 6)), .bits = 0x80000, .id = 50},
    {.test = Any(B("Face D", 6), B("Face-d", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("HI-06", 5), B("V-3787", 6), B("Bookl", 5)), .bits = 0x200000, .id = 85},
    {.test = Any(B("HI-08", 5), B("HI-04", 5), B("3000 S", 6), B("V-3874", 6), B("Docume", 6)), .bits = 0x100000,
     .id = 86},
    {.test = Any(B("V-9862", 6), B("HI-00", 5), B("Inner", 5)), .bits = 0x1000000, .id = 89},
    {.test = Any(B("Z-2335", 6), B("Job Se", 6)), .bits = 0x400000, .id = 90},
    {.test = Any(B("R-9591", 6), B("Mailbo", 6)), .bits = 0x800000, .id = 87},
};
constexpr Rule classic::Grebe{.in = kGrebeIn, .out = kGrebeOut};
// The copier line's Bittern group draws exactly like Grebe.
constexpr Rule classic::Bittern = classic::Grebe;

// ---- Heron (only the hyphenated face-up / face-down names count) ------------------
constexpr InRow kHeronIn[] = {
    {.test = Any(B("Multi", 5), B("Bypas", 5)), .bits = 0x800, .id = 12},
    {.test = Any(B("Cassette 1", 10)), .bits = 0x1, .id = 20},
    {.test = Any(B("GX-966", 6), B("Cass", 4), B("Feed", 4)), .step = Step::Drawer},
};
constexpr Rule classic::Heron{.in = kHeronIn, .out = kHyphenFaceOut, .duplexBit = 0x10000};

}  // namespace orvx::picture
