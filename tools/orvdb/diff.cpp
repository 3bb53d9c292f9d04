#include "diff.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include "db_json.h"
#include "orvx/json_reader.h"
#include "orvx/record_fields.h"
#include "orvx/text.h"
#include "orvx/whole_file.h"
#include "picture_codec.h"

namespace orvdb {
namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// A name that is not UTF-8 shows as the array of its bytes, as export writes
// it: two different names never print the same.
Json NameBytes(std::string_view s) {
  Json bytes = Json::array();
  for (const unsigned char c : s) bytes.push_back(c);
  return bytes;
}

std::string Quote(std::string_view s) {
  if (!orvx::text::IsValidUtf8(s)) return NameBytes(s).dump();
  std::string out;
  AppendJsonString(out, s);
  return out;
}

// j[key] = name, or j[key + "Bytes"] = its bytes (export's "ModelNameBytes").
void PutName(Json& j, const std::string& key, std::string_view name) {
  if (orvx::text::IsValidUtf8(name))
    j[key] = name;
  else
    j[key + "Bytes"] = NameBytes(name);
}

std::string_view NameOf(const orvx::ModelDatabase& db, std::size_t i) { return db[i].GetModelName().view(); }

std::string Bytes(std::span<const BYTE> b) { return b.empty() ? "(none)" : orvx::text::HexBytes(b.data(), b.size(), ' '); }

std::vector<BYTE> Block(const CPrnStaticInfo& r) {
  std::vector<BYTE> block(static_cast<std::size_t>(r.GetInTraySPSZSizeList(nullptr)));
  r.GetInTraySPSZSizeList(block.data());
  return block;
}

// What one paired record changes: one line of text and one JSON object each.
struct Change {
  std::string text;
  Json json;
};

void CompareRecords(const CPrnStaticInfo& a, const CPrnStaticInfo& b, std::vector<Change>& out) {
  const PrnStaticFields &fa = a.Fields(), &fb = b.Fields();
  if (std::memcmp(&fa, &fb, sizeof fa) != 0) {
    for (const auto& d : orvx::RecordFields()) {
      const std::int64_t va = orvx::ReadField(fa, d), vb = orvx::ReadField(fb, d);
      if (va == vb) continue;
      if (d.name != "Flags") {
        out.push_back({std::string(d.name) + ": " + std::to_string(va) + " -> " + std::to_string(vb),
                       {{"field", d.name}, {"old", va}, {"new", vb}}});
        continue;
      }
      Json on = Json::array(), off = Json::array();
      std::string text = "Flags:";
      for (const auto& flag : orvx::RecordFlags()) {
        const bool was = fa.Flags & flag.bit, is = fb.Flags & flag.bit;
        if (was == is) continue;
        text += std::string(is ? " +" : " -") + std::string(flag.name);
        (is ? on : off).push_back(flag.name);
      }
      if ((fa.Flags ^ fb.Flags) & ~orvx::kDefinedFlagBits) text += " (other bits change)";
      out.push_back({text, {{"field", "Flags"}, {"old", va}, {"new", vb}, {"set", on}, {"cleared", off}}});
    }
  }
  const std::vector<BYTE> ba = Block(a), bb = Block(b);
  if (ba == bb) return;
  std::vector<TraySizes> ta, tb;
  if (!orvx::DecodeSizeLists(ba, ta) || !orvx::DecodeSizeLists(bb, tb)) {
    out.push_back({"size-list block: " + Bytes(ba) + " -> " + Bytes(bb),
                   {{"field", "InTraySPSZSizeList"}, {"old", ba}, {"new", bb}}});
    return;
  }
  // Per tray, as the getters read it: the first entry of each tray.
  const auto find = [](const std::vector<TraySizes>& list, const TraySizes& t) -> const TraySizes* {
    for (const auto& e : list)
      if (e.named == t.named && (t.named ? orvx::text::EqualNoCase(e.name, t.name) : e.number == t.number)) return &e;
    return nullptr;
  };
  std::size_t before = out.size();
  for (const bool fromNew : {false, true}) {
    for (const TraySizes& t : fromNew ? tb : ta) {
      const TraySizes* was = find(ta, t);
      const TraySizes* is = find(tb, t);
      if ((fromNew ? is : was) != &t || (fromNew && was)) continue;  // each tray once, at its first entry
      if (was && is && was->sizes == is->sizes) continue;
      const Json tray = t.named ? Json(t.name) : Json(t.number);
      out.push_back({"size list of " + TrayLabel(t) + ": " + (was ? Bytes(was->sizes) : "(no entry)") + " -> " +
                         (is ? Bytes(is->sizes) : "(no entry)"),
                     {{"field", "InTraySPSZSizeList"},
                      {"tray", tray},
                      {"old", was ? Json(was->sizes) : Json(nullptr)},
                      {"new", is ? Json(is->sizes) : Json(nullptr)}}});
    }
  }
  if (out.size() == before)  // the same lists per tray: order or unread entries differ
    out.push_back({"size-list block (same lists per tray): " + Bytes(ba) + " -> " + Bytes(bb),
                   {{"field", "InTraySPSZSizeList"}, {"old", ba}, {"new", bb}}});
}

// The indexes (into `order`) of a longest increasing run of `order`'s values:
// the records that kept their relative order. The others moved.
std::vector<bool> KeptOrder(const std::vector<std::size_t>& order) {
  std::vector<std::size_t> tails, tailAt, previous(order.size(), kNone);
  for (std::size_t i = 0; i < order.size(); ++i) {
    const auto at = std::lower_bound(tails.begin(), tails.end(), order[i]) - tails.begin();
    if (static_cast<std::size_t>(at) == tails.size()) {
      tails.push_back(order[i]);
      tailAt.push_back(i);
    } else {
      tails[at] = order[i];
      tailAt[at] = i;
    }
    previous[i] = at ? tailAt[at - 1] : kNone;
  }
  std::vector<bool> kept(order.size(), false);
  for (std::size_t i = tailAt.empty() ? kNone : tailAt.back(); i != kNone; i = previous[i]) kept[i] = true;
  return kept;
}

// Lines of a text file (names or requests); a CR before the line end goes.
orvx::Status ReadLines(const std::string& path, std::vector<std::string>& lines) {
  std::string text;
  if (orvx::Status e = orvx::ReadWholeFile(path, text); e.Failed()) return e;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(at, end - at);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
    at = end + 1;
  }
  return {};
}

struct Report {
  Json added = Json::array(), removed = Json::array(), changed = Json::array(), moved = Json::array(),
       lookups = Json::array(), newNames = Json::array(), pictures = Json::array();
  std::vector<std::string> lines;  // the text form, after the summary
  bool full = true;  // false for --summary: entries are counted as nulls, and no line is made
  std::vector<std::string> newNameLines;  // listed after the changed lookups
};

Json Who(const orvx::ModelDatabase& db, std::ptrdiff_t i) {
  if (i < 0) return nullptr;
  Json who = {{"index", i}};
  PutName(who, "name", NameOf(db, static_cast<std::size_t>(i)));
  return who;
}

std::string WhoText(const orvx::ModelDatabase& db, std::ptrdiff_t i) {
  return i < 0 ? "no record" : "record " + std::to_string(i) + " " + Quote(NameOf(db, static_cast<std::size_t>(i)));
}

// The picture request of each line, read as eval reads it, run on the record
// its "model" finds in each database; "db", "vendor" and "group" are not
// used, as the databases are the two being compared.
orvx::Status PictureDrift(const std::string& path, const std::vector<std::string>& lines, const orvx::ModelDatabase& a,
                          const orvx::ModelDatabase& b, Report& report) {
  json::Reader reader;
  PictureCodec codec;
  PictureRequest q;
  for (std::size_t n = 0; n < lines.size(); ++n) {
    const std::string where = path + ":" + std::to_string(n + 1) + ": ";
    if (lines[n].find_first_not_of(" \t") == std::string::npos) continue;
    try {
      ParseRequest(reader, lines[n]);
      codec.Decode(reader, q, RecordFrom::Request);
    } catch (const RequestError& e) {
      return {orvx::Status::Format, where + e.what()};
    }
    if (!reader.Find("op") || !q.hasModel)
      return {orvx::Status::Format, where + "expected a picture request naming a \"model\""};
    const std::string& name = q.model;
    struct Result {
      std::ptrdiff_t index = -1;
      DWORD id = 0;
      std::vector<std::pair<std::string, int>> in, out;
    } result[2];
    const orvx::ModelDatabase* dbs[2] = {&a, &b};
    for (int side = 0; side < 2; ++side) {
      Result& r = result[side];
      r.index = dbs[side]->Lookup(name).index;
      if (r.index < 0) continue;
      r.id = codec.Run((*dbs[side])[static_cast<std::size_t>(r.index)], q);
      if (q.byNames) continue;
      for (std::size_t i = 0; i < q.inCount; ++i) r.in.emplace_back(codec.In(i).GetName().str(), codec.In(i).GetID());
      for (std::size_t i = 0; i < q.outCount; ++i) r.out.emplace_back(codec.Out(i).GetName().str(), codec.Out(i).GetID());
    }
    if (result[0].id == result[1].id && result[0].in == result[1].in && result[0].out == result[1].out) continue;
    if (!report.full) {
      report.pictures.push_back(nullptr);
      continue;
    }
    // A side with no record (an empty database) has no picture ID and no trays.
    const bool found[2] = {result[0].index >= 0, result[1].index >= 0};
    const auto id = [&](int side) { return found[side] ? "0x" + orvx::text::Hex(result[side].id, 8) : "no record"; };
    // Both records, even when they are the same model: the reader sees where each answer came from.
    std::string text = "picture  line " + std::to_string(n + 1) + " " + Quote(name) + ": " + WhoText(a, result[0].index) +
                       " -> " + WhoText(b, result[1].index);
    text += ", picture ID " + id(0) + " -> " + id(1);
    Json trays = Json::array();
    for (const bool out : {false, true}) {
      const auto &was = out ? result[0].out : result[0].in, &is = out ? result[1].out : result[1].in;
      for (std::size_t i = 0; i < std::max(was.size(), is.size()); ++i) {
        if (i < was.size() && i < is.size() && was[i] == is[i]) continue;
        const auto show = [&](int side, std::size_t i) {
          const auto& v = out ? result[side].out : result[side].in;
          return i < v.size() ? Quote(v[i].first) + " ID " + std::to_string(v[i].second)
                              : std::string(found[side] ? "none" : "no record");
        };
        text += std::string("; ") + (out ? "out-tray " : "in-tray ") + std::to_string(i + 1) + " ";  // counted from 1
        if (i < was.size() && i < is.size() && was[i].first == is[i].first)
          text += Quote(was[i].first) + " ID " + std::to_string(was[i].second) + " -> " + std::to_string(is[i].second);
        else
          text += show(0, i) + " -> " + show(1, i);
        const auto tray = [](const std::vector<std::pair<std::string, int>>& v, std::size_t i) {
          return i < v.size() ? Json{{"name", v[i].first}, {"id", v[i].second}} : Json(nullptr);
        };
        trays.push_back({{"kind", out ? "outTray" : "inTray"}, {"position", i}, {"old", tray(was, i)}, {"new", tray(is, i)}});
      }
    }
    report.lines.push_back(text);
    report.pictures.push_back({{"line", n + 1},
                               {"model", name},
                               {"old", Who(a, result[0].index)},
                               {"new", Who(b, result[1].index)},
                               {"oldPictureId", found[0] ? Json(result[0].id) : Json(nullptr)},
                               {"newPictureId", found[1] ? Json(result[1].id) : Json(nullptr)},
                               {"trays", trays}});
  }
  return {};
}

}  // namespace

orvx::Result<bool> Diff(const DiffOptions& o, std::ostream& out) {
  orvx::ModelDatabase a, b;
  for (auto [path, db] : {std::pair{&o.oldPath, &a}, std::pair{&o.newPath, &b}})
    if (orvx::Status e = LoadEitherForm(*path, *db); e.Failed()) return e;
  DiffExtras extras;
  if (!o.namesFile.empty())
    if (orvx::Status e = ReadLines(o.namesFile, extras.names); e.Failed()) return e;
  if (!o.configsFile.empty())
    if (orvx::Status e = ReadLines(o.configsFile, extras.configs); e.Failed()) return e;
  extras.configsLabel = o.configsFile;
  std::string report;
  orvx::Result<bool> differs = Diff(a, b, o, extras, report);
  if (differs) out << report;
  return differs;
}

orvx::Result<bool> Diff(const orvx::ModelDatabase& a, const orvx::ModelDatabase& b, const DiffOptions& o,
                        const DiffExtras& extras, std::string& out) {

  // Pairing: the n-th record of a name in OLD with the n-th of that name in NEW.
  std::vector<std::size_t> partner(a.size(), kNone), partnerOf(b.size(), kNone);
  {
    std::unordered_map<std::string_view, std::pair<std::vector<std::size_t>, std::size_t>> byName;
    byName.reserve(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) byName[NameOf(a, i)].first.push_back(i);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const auto it = byName.find(NameOf(b, j));
      if (it == byName.end() || it->second.second == it->second.first.size()) continue;
      const std::size_t i = it->second.first[it->second.second++];
      partner[i] = j;
      partnerOf[j] = i;
    }
  }
  Report report;
  report.full = !o.summary;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (partner[i] == kNone) {
      if (report.full) report.lines.push_back("removed  " + WhoText(a, static_cast<std::ptrdiff_t>(i)));
      report.removed.push_back(report.full ? Who(a, static_cast<std::ptrdiff_t>(i)) : Json());
    }
  for (std::size_t j = 0; j < b.size(); ++j)
    if (partnerOf[j] == kNone) {
      if (report.full) report.lines.push_back("added    " + WhoText(b, static_cast<std::ptrdiff_t>(j)));
      report.added.push_back(report.full ? Who(b, static_cast<std::ptrdiff_t>(j)) : Json());
    }
  std::vector<std::size_t> order;  // the NEW positions of the pairs, in OLD order
  std::vector<std::size_t> pairedOld;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (partner[i] == kNone) continue;
    order.push_back(partner[i]);
    pairedOld.push_back(i);
    std::vector<Change> changes;
    CompareRecords(a[i], b[partner[i]], changes);
    if (changes.empty()) continue;
    if (!report.full) {
      report.changed.push_back(nullptr);
      continue;
    }
    std::string head = "changed  " + Quote(NameOf(a, i)) + " (record " + std::to_string(i);
    report.lines.push_back(head + (i == partner[i] ? "" : " -> " + std::to_string(partner[i])) + ")");
    Json fields = Json::array();
    for (auto& c : changes) {
      report.lines.push_back("    " + c.text);
      fields.push_back(std::move(c.json));
    }
    Json entry = Json::object();
    PutName(entry, "name", NameOf(a, i));
    entry.update({{"old", i}, {"new", partner[i]}, {"changes", std::move(fields)}});
    report.changed.push_back(std::move(entry));
  }
  const std::vector<bool> kept = KeptOrder(order);
  for (std::size_t k = 0; k < order.size(); ++k) {
    if (kept[k]) continue;
    const std::size_t i = pairedOld[k];
    if (!report.full) {
      report.moved.push_back(nullptr);
      continue;
    }
    report.lines.push_back("moved    " + Quote(NameOf(a, i)) + ": record " + std::to_string(i) + " -> " +
                           std::to_string(order[k]));
    Json entry = Json::object();
    PutName(entry, "name", NameOf(a, i));
    entry.update({{"old", i}, {"new", order[k]}});
    report.moved.push_back(std::move(entry));
  }

  // Lookup drift: each name of either database, with " PCL6" too, and the
  // names given; each once, in that order.
  std::unordered_set<std::string> seen;
  seen.reserve(2 * (a.size() + b.size()) + extras.names.size());
  const auto drift = [&](std::string query) {
    if (!seen.insert(query).second) return;
    const orvx::LookupResult was = a.Lookup(query), is = b.Lookup(query);
    const bool same = was.index < 0 ? is.index < 0
                                    : partner[static_cast<std::size_t>(was.index)] == static_cast<std::size_t>(is.index);
    if (same && was.how == is.how) return;
    // A name that matched nothing and now finds a record is new; any other
    // change (another record, another match, now nothing) changes an
    // answer hosts already get: the regression a reviewer looks for.
    const bool found = was.how == orvx::Match::Default && is.how != orvx::Match::Default;
    if (!report.full) {
      (found ? report.newNames : report.lookups).push_back(nullptr);
      return;
    }
    (found ? report.newNameLines : report.lines)
        .push_back((found ? "new name " : "lookup   ") + Quote(query) + ": " + WhoText(a, was.index) + " (" +
                   orvx::MatchName(was.how) + ") -> " + WhoText(b, is.index) + " (" + orvx::MatchName(is.how) + ")");
    Json oldSide = Who(a, was.index), newSide = Who(b, is.index);
    if (!oldSide.is_null()) oldSide["match"] = orvx::MatchName(was.how);
    if (!newSide.is_null()) newSide["match"] = orvx::MatchName(is.how);
    Json entry = Json::object();
    PutName(entry, "query", query);
    entry.update({{"old", std::move(oldSide)}, {"new", std::move(newSide)}});
    (found ? report.newNames : report.lookups).push_back(std::move(entry));
  };
  for (const orvx::ModelDatabase* db : {&a, &b})
    for (std::size_t i = 0; i < db->size(); ++i) {
      drift(std::string(NameOf(*db, i)));
      drift(std::string(NameOf(*db, i)) + " PCL6");
    }
  for (const auto& n : extras.names)
    if (!n.empty()) drift(n);
  report.lines.insert(report.lines.end(), report.newNameLines.begin(), report.newNameLines.end());
  if (orvx::Status e = PictureDrift(extras.configsLabel, extras.configs, a, b, report); e.Failed()) return e;

  const std::size_t counts[] = {report.added.size(),   report.removed.size(),  report.changed.size(),
                                report.moved.size(),   report.lookups.size(),  report.newNames.size(),
                                report.pictures.size()};
  static const char* const kCountNames[] = {"added",         "removed",  "changed",     "moved",
                                            "lookupChanged", "newNames", "pictureDrift"};
  static const char* const kCountText[] = {"added",           "removed",               "changed",       "moved",
                                           "lookups changed", "names newly found",     "pictures drift"};
  // The --fail-on class of each count.
  static const char* const kCountClass[] = {"records", "records", "records", "records", "lookups", "new-names", "pictures"};
  std::size_t total = 0, failing = 0;
  const bool any = o.failOn.empty() || std::find(o.failOn.begin(), o.failOn.end(), "any") != o.failOn.end();
  for (std::size_t k = 0; k < std::size(counts); ++k) {
    total += counts[k];
    if (any || std::find(o.failOn.begin(), o.failOn.end(), kCountClass[k]) != o.failOn.end()) failing += counts[k];
  }
  if (o.json) {
    Json j = {{"old", o.oldPath}, {"new", o.newPath}};
    Json summary = Json::object();
    for (std::size_t k = 0; k < std::size(counts); ++k) summary[kCountNames[k]] = counts[k];
    j["summary"] = std::move(summary);
    if (!o.summary) {
      j["added"] = std::move(report.added);
      j["removed"] = std::move(report.removed);
      j["changed"] = std::move(report.changed);
      j["moved"] = std::move(report.moved);
      j["lookupDrift"] = std::move(report.lookups);
      j["newNames"] = std::move(report.newNames);
      j["pictureDrift"] = std::move(report.pictures);
    }
    out += j.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
  } else {
    std::string line;
    for (std::size_t k = 0; k < std::size(counts); ++k)
      line += (k ? ", " : "") + std::to_string(counts[k]) + " " + kCountText[k];
    out += (total ? line : "no differences") + "\n";
    if (!o.summary)
      for (const auto& l : report.lines) out += l + "\n";
  }
  return failing != 0;
}

}  // namespace orvdb
