#include "lint.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <set>
#include <unordered_map>

#include "orvx/picture.h"
#include "orvx/record_fields.h"
#include "orvx/size_list.h"
#include "orvx/text.h"

namespace orvdb {
namespace {

using orvx::text::FoldCase;

// A hash of the name as it reads without letter case.
std::uint64_t LowerHash(std::string_view s) {
  std::uint64_t h = 0xcbf29ce484222325ull;
  for (char c : s) h = (h ^ static_cast<unsigned char>(FoldCase(c))) * 0x100000001b3ull;
  return h;
}

std::string_view Trim(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

std::string Quoted(std::string_view s) { return "\"" + std::string(s) + "\""; }

}  // namespace

std::size_t Unprintable(std::string_view s) {
  for (std::size_t at = 0; at < s.size();) {
    const std::size_t here = at;
    std::uint32_t c = 0;
    if (!orvx::text::DecodeUtf8(s, at, c) || c < 0x20 || (c >= 0x7F && c < 0xA0)) return here;
  }
  return std::string_view::npos;
}

std::string Escaped(std::string_view s) {
  std::string out = "\"";
  for (const char c : s) {
    const auto b = static_cast<unsigned char>(c);
    if (b >= 0x20 && b < 0x7F && c != '\\')
      out += c;
    else
      out += "\\x" + orvx::text::Hex(b, 2);
  }
  return out + "\"";
}

namespace {

// A record's size-list block: broken entries, unnamed entries before named
// ones, and trays listed twice.
void LintSizeList(const CPrnStaticInfo& r, const std::function<void(std::string, std::string)>& add) {
  BYTE block[256];
  const int length = r.GetInTraySPSZSizeList(block);
  if (length == 0) return;
  orvx::SizeListReader reader({block, static_cast<std::size_t>(length)});
  std::set<int> numbers;
  std::set<std::string> names;
  bool sawUnnamed = false;
  std::size_t entry = 0;
  for (orvx::SizeListEntry e; reader.Next(e); ++entry) {
    const std::string at = " (entry " + std::to_string(entry) + ", at byte " + std::to_string(e.offset) + ")";
    if (e.key == orvx::kNamedSizeList && !e.Named()) {
      add("size-list-malformed", "a named size list without the zero byte that ends its name" + at);
    } else if (e.Named()) {
      if (const std::size_t bad = Unprintable(e.Name()); bad != std::string_view::npos)
        add("size-list-name", "the name of tray " + Escaped(e.Name()) + " is not printable text (byte " +
                                  std::to_string(bad) + " of the name is a control character or not UTF-8)" + at);
      if (sawUnnamed)
        add("size-list-unreachable",
            "the size list of tray " + Quoted(e.Name()) + " follows a numbered one, and a search by name stops there" + at);
      if (!names.insert(FoldCase(e.Name())).second)
        add("size-list-duplicate", "tray " + Quoted(e.Name()) + " has a second size list, which is never read" + at);
    } else {
      sawUnnamed = true;
      if (!numbers.insert(e.key).second)
        add("size-list-duplicate", "tray " + std::to_string(e.key) + " has a second size list, which is never read" + at);
    }
  }
  if (reader.Problem().Failed())
    add("size-list-malformed", "entry " + std::to_string(entry) + " of the size lists: " + reader.Problem().message +
                                   "; it and all after it are never read");
}

}  // namespace

std::vector<Finding> LintRecords(const orvx::ModelDatabase& db) {
  std::vector<Finding> out;
  // The first record of each name, of each name read without letter case,
  // and of each name without its outer spaces.
  std::unordered_map<std::string_view, std::size_t> firstByName, firstByTrimmed;
  std::unordered_map<std::uint64_t, std::size_t> firstByLower;
  firstByName.reserve(db.size());
  firstByTrimmed.reserve(db.size());
  firstByLower.reserve(db.size());
  for (std::size_t j = 0; j < db.size(); ++j) {
    const CPrnStaticInfo& r = db[j];
    const std::string_view name = r.GetModelName().view();
    const auto add = [&](std::string code, std::string message) {
      out.push_back({static_cast<std::ptrdiff_t>(j), std::string(name), std::move(code), std::move(message)});
    };
    const auto who = [&](std::size_t i) {
      return "record " + std::to_string(i) + " (" + Quoted(db[i].GetModelName().view()) + ")";
    };
    if (name.empty())
      add("empty-name", "an empty name: the lookup's substring pass returns this record for every name that "
                        "no earlier record matches");
    // The exact pass finds the first record of a name; the substring pass
    // stops at the first record whose name the query contains.
    const auto [first, isNew] = firstByName.try_emplace(name, j);
    if (!isNew) {
      add("duplicate-name", "the same name as " + who(first->second) +
                                ", which every lookup finds first: this record is unreachable");
    } else if (const std::ptrdiff_t inside = db.FirstNameIn(name); inside >= 0 && std::size_t(inside) < j) {
      add("shadowed-name", "the name contains the name of " + who(std::size_t(inside)) + ": the lookup of a query such as " +
                               Quoted(std::string(name) + " PCL6") + " stops there, so this record is found only "
                               "by its exact name");
    }
    const auto [lower, lowerNew] = firstByLower.try_emplace(LowerHash(name), j);
    const std::string_view other = db[lower->second].GetModelName().view();
    if (!lowerNew && other != name && orvx::text::EqualNoCase(other, name))
      add("case-variant", "differs from " + who(lower->second) + " only in letter case");
    const auto [trimmed, trimmedNew] = firstByTrimmed.try_emplace(Trim(name), j);
    const std::string_view spaced = db[trimmed->second].GetModelName().view();
    if (!trimmedNew && spaced != name && !orvx::text::EqualNoCase(spaced, name))
      add("space-variant", "differs from " + who(trimmed->second) + " only in leading or trailing spaces");
    const auto classic = orvx::ChoosePictureRule(r.GetVenderID(), r.GetModelGroupID(), false);
    const auto extended = orvx::ChoosePictureRule(r.GetVenderID(), r.GetModelGroupID(), true);
    if (!classic.rule && !classic.fixedResult && !extended.rule && !extended.fixedResult)
      add("no-picture-rule", "vendor " + std::to_string(r.GetVenderID()) + " and model group " +
                                 std::to_string(r.GetModelGroupID()) +
                                 " select no picture rule in either entry point: every picture ID is 0");
    if (const DWORD extra = r.Fields().Flags & ~orvx::kDefinedFlagBits) {
      add("unknown-flags", "Flags bits 0x" + orvx::text::Hex(extra, 8) + " mean nothing");
    }
    LintSizeList(r, add);
  }
  return out;
}

bool LintFraming(const orvx::Status& load, const orvx::Framing& framing, std::vector<Finding>& findings) {
  if (framing.count && *framing.count < 0) {
    findings.push_back({-1, "", "negative-count",
                        "the record count " + std::to_string(*framing.count) + " is negative: the library loads no record"});
    return true;
  }
  if (load.Failed()) return false;
  if (const std::uint64_t trailing = framing.Trailing())
    findings.push_back({-1, "", "trailing-bytes",
                        std::to_string(trailing) + " bytes after the last record (from byte " +
                            std::to_string(framing.bytesRead) + ") are never read"});
  return true;
}

}  // namespace orvdb
