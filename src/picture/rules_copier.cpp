// Classic option rules of the copier line (vendor 2).
#include "picture/rules.h"
#include "picture/shared_rows.h"

namespace orvx::picture {

// ---- Bunting -------------------------------------------------------------------
constexpr InRow kBuntingIn[] = {
    {.test = Any(B("Draw", 4)), .step = Step::Count},
    {.test = Any(B("3000", 4), B("Larg", 4)), .bits = 0x100, .id = 32},
    {.test = Any(B("Bypa", 4)), .bits = 0x1000, .id = 31},
};
constexpr CountBits kBuntingByCount[] = {{2, 2, 0x4003}, {4, 4, 0x400C}};
constexpr OutRow kBuntingOut[] = {
    {.test = Any(B("Fini", 4)), .bits = 0x100000, .id = 84},
    {.test = Any(B("Mail", 4)), .bits = 0x200000, .id = 87},
    {.test = Any(B("Inne", 4)), .id = 51},
};
// Out-trays of no row get ID -1.
constexpr Rule classic::Bunting{.in = kBuntingIn, .byCount = kBuntingByCount, .out = kBuntingOut, .outMissId = -1};

// ---- Redshank ------------------------------------------------------------------
constexpr InRow kRedshankIn[] = {
    {.test = Any(B("Bypa", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("Tray", 4)), .step = Step::Count},
};
constexpr CountBits kRedshankByCount[] = {{1, 1, 0x1}, {2, 2, 0x3}, {3, 3, 0x7}, {4, 4, 0xF}};
constexpr OutRow kRedshankOut[] = {
    {.test = Any(B("V-9452", 6), B("Finish", 6)), .bits = 0x100000, .id = 89},
    {.test = Any(B("Z-2966", 6), B("Job Se", 6)), .bits = 0x400000, .id = 90},
    {.test = Any(B("Face D", 6)), .bits = 0x800000, .id = 51},
};
constexpr Rule classic::Redshank{.in = kRedshankIn, .byCount = kRedshankByCount, .out = kRedshankOut, .duplexBit = 0x10000};

// ---- Tern (three drawers show as four) --------------------------------------------
constexpr InRow kTernIn[] = {
    {.test = Any(B("3000", 4), B("Larg", 4)), .bits = 0x100, .id = 32},
    {.test = Any(B("NN-37", 5), B("Side", 4)), .bits = 0x200, .id = 88},
    {.test = Any(B("Bypa", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("Tray", 4)), .step = Step::Count},
};
constexpr CountBits kTernByCount[] = {{2, 2, 0x3}, {3, 4, 0xF}};
constexpr OutRow kTernOut[] = {
    {.test = Any(B("V-3307", 6), B("V-3564", 6), B("Finish", 6)), .bits = 0x100000, .id = 84},
    {.test = Any(B("V-3641", 6), B("Bookle", 6)), .bits = 0x200000, .id = 85},
    {.test = Any(B("Left", 4)), .id = 50},
    {.test = Any(B("R-9591", 6), B("Mailbo", 6)), .bits = 0x800000, .id = 87},
};
constexpr Rule classic::Tern{.in = kTernIn, .byCount = kTernByCount, .out = kTernOut};

// ---- Ibis (Tern's out-trays without the mailbox) -------------------------------------
constexpr InRow kIbisIn[] = {
    {.test = Any(B("3000", 4), B("Larg", 4)), .bits = 0x103, .id = 32},
    {.test = Any(B("Bypa", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("Tray", 4)), .step = Step::Count},
};
constexpr CountBits kIbisByCount[] = {{2, 2, 0x4003}, {3, 4, 0x400F}};
constexpr Rule classic::Ibis{.in = kIbisIn, .byCount = kIbisByCount, .out = std::span(kTernOut).first(3)};

// ---- Avocet (the sixth in-tray is a side feeder; finisher trays counted) -------------
constexpr InRow kAvocetIn[] = {
    {.test = Any(B("Bypa", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("NN-37", 5)), .bits = 0x200, .id = 88},
    {.test = Any(B("Casse", 5)), .when = IndexIs(5), .bits = 0x200, .id = 88},
    {.test = Any(B("Casse", 5)), .when = IndexIsNot(5), .step = Step::LowDrawer},
};
// From the fourth finisher tray of row 3 on, 0x200000 too.
constexpr OutRow kAvocetOut[] = {
    {.test = Any(B("Face-d", 6), B("Face-u", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("HI-331", 6), B("Finish", 6)), .bits = 0x100000, .id = 91},
    {.test = Any(B("HI-372", 6), B("Multi F", 7), B("Sub T", 5)), .bits = 0x500000, .id = 91, .step = Step::Finisher},
    {.test = Any(B("RJ-7", 4), B("Multi T", 7)), .bits = 0x800000, .id = 92},
};
constexpr Rule classic::Avocet{.in = kAvocetIn, .zeroFallback = 0x100F, .out = kAvocetOut};

// ---- Quail ---------------------------------------------------------------------
constexpr InRow kQuailIn[] = {
    {.test = Any(B("Bypass", 6)), .bits = 0x1000, .id = 31},
    {.test = Any(B("Cass", 4), B("Feed", 4), B("GX-8", 4)), .step = Step::Count},
};
constexpr CountBits kQuailByCount[] = {{1, 1, 0x10001}, {2, 2, 0x3}, {3, 3, 0x10007}, {4, 4, 0xF}};
constexpr OutRow kQuailOut[] = {
    {.test = Any(B("Face U", 6), B("Face-u", 6)), .id = 50},
    {.test = Any(B("Face D", 6), B("Face-d", 6)), .id = 51},
    {.test = Any(B("V-3084", 6), Is("HI-24"), B("Docume", 6)), .bits = 0x100000, .id = 86},
};
constexpr Rule classic::Quail{.in = kQuailIn, .byCount = kQuailByCount, .out = kQuailOut};

// ---- Auklet: two in-tray tables, chosen by the fifth in-tray's name -------------------
// Fifth tray "Cassette 4": cassettes are drawers up to four, then a side feeder.
constexpr InRow kAukletFourCassettesIn[] = {
    {.test = Any(B("Bypa", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("Casse", 5)), .when = CountBelow(4), .step = Step::LowDrawer},
    {.test = Any(B("Casse", 5)), .when = CountIs(4), .bits = 0x200, .id = 88},
    {.test = Any(B("NN-37", 5)), .bits = 0x200, .id = 88},
};
// Otherwise: the cassette table the extended rule shares (shared_rows.h).
constexpr Rule kAukletFourCassettes{.in = kAukletFourCassettesIn, .zeroFallback = 0x100F, .out = kAukletOut};
constexpr Rule kAukletCassettes{.in = kAukletCassettesIn, .zeroFallback = 0x100F, .out = kAukletOut};
static DWORD ChooseAuklet(const CPrnStaticInfo& record, const Lists& lists) {
  const bool fourCassettes =
      lists.in.GetSize() > 4 && static_cast<const COptInTray*>(lists.in.GetAt(4))->GetName() == "Cassette 4";
  return Run(fourCassettes ? kAukletFourCassettes : kAukletCassettes, record, lists);
}
static void DescribeAuklet(std::vector<PictureRuleRow>& rows) {
  Describe(kAukletFourCassettes, rows, "the fifth in-tray is \"Cassette 4\"");
  Describe(kAukletCassettes, rows, "the fifth in-tray is not \"Cassette 4\"");
}
constexpr Rule classic::Auklet{.own = ChooseAuklet, .describe = DescribeAuklet};

}  // namespace orvx::picture
