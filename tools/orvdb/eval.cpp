#include "eval.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <charconv>
#include <chrono>
#include <stdexcept>

#include "db_file.h"
#include "db_json.h"
#include "orvx/text.h"

namespace orvdb {
namespace {

using json::Kind;
using json::Value;

constexpr long long kIntMin = -2147483648LL, kIntMax = 2147483647LL;

void AppendNumber(std::string& out, long long v) {
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  out.append(buf, r.ptr);
}

}  // namespace

orvx::ModelDatabase& Evaluator::Load(const std::string& path) {
  orvx::FileState state;
  if (const orvx::Status e = orvx::StatFile(path, state); e.Failed()) throw RequestError(e.message);
  ++uses_;
  Cached* slot = nullptr;
  for (Cached& c : databases_) {
    if (c.state.identity != state.identity) continue;
    if (c.still && c.state == state) {
      c.lastUse = uses_;
      return c.db;
    }
    slot = &c;  // the same file, changed since: its slot is reused
    break;
  }
  // The clock is read before the file: a change after this read stamps
  // times later than `state`'s when the file had been still for a while.
  const std::int64_t now =
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  orvx::ModelDatabase db;
  if (const orvx::Status e = orvx::LoadFile(path, db); e.Failed()) throw RequestError(e.message);
  if (!slot)
    slot = databases_.size() < kCachedDatabases
               ? &databases_.emplace_back()
               : &*std::min_element(databases_.begin(), databases_.end(),
                                    [](const Cached& a, const Cached& b) { return a.lastUse < b.lastUse; });
  *slot = {state, now - std::max(state.modified, state.changed) >= kStillNanoseconds, uses_, std::move(db)};
  return slot->db;
}

void Evaluator::Picture(std::string& out) {
  codec_.Decode(reader_, request_, RecordFrom::Request);
  const ChosenRecord chosen =
      ChooseRecord(request_, [&](const std::string& path) -> orvx::ModelDatabase& { return Load(path); }, record_);
  codec_.Answer(request_, chosen, out);
}

void Evaluator::SizeList(std::string& out) {
  static constexpr MemberNames<5> kNames{std::array<std::string_view, 5>{"op", "block", "tray", "trayName", "whole"}};
  const auto m = Members(reader_, kNames, "a sizelist request");
  const Value* blockValue = m[1];
  if (!blockValue || blockValue->kind != Kind::Array) throw RequestError("\"block\" must be an array of byte values");
  // A block holds at most 255 bytes (its first byte is its length): bytes
  // past that are checked but never read.
  BYTE block[256];
  std::size_t length = 0;
  reader_.ForEach(*blockValue, [&](const Value& b) {
    long long v;
    if (!json::ToInteger(b, v) || v < 0 || v > 255) throw RequestError("\"block\" must be an array of byte values");
    if (length < sizeof block) block[length] = static_cast<BYTE>(v);
    ++length;
  });
  length = std::min(length, sizeof block);
  const Value* tray = m[2];
  const Value* trayName = m[3];
  const Value* whole = m[4];
  if ((tray != nullptr) + (trayName != nullptr) + (whole != nullptr) != 1)
    throw RequestError("give exactly one of \"tray\", \"trayName\" and \"whole\"");
  record_.SetInTraySPSZSizeList(static_cast<int>(length), block);
  BYTE list[256];
  int result;
  if (tray) {
    result = record_.GetInTraySPSZSizeList(static_cast<int>(Integer(tray, "tray", 0, kIntMin, kIntMax)), list);
  } else if (trayName) {
    Text(trayName, "trayName", text_);
    result = record_.GetInTraySPSZSizeList(text_.c_str(), list);
  } else {
    if (whole->kind != Kind::True) throw RequestError("\"whole\" must be true");
    result = record_.GetInTraySPSZSizeList(list);
  }
  out += "{\"result\":";
  AppendNumber(out, result);
  out += ",\"bytes\":[";
  for (int i = 0; i < result; ++i) {
    if (i) out += ',';
    AppendNumber(out, list[i]);
  }
  out += "]}";
}

void Evaluator::Info(std::string& out) {
  static constexpr MemberNames<2> kNames{std::array<std::string_view, 2>{"op", "calls"}};
  const Value* calls = Members(reader_, kNames, "an info request")[1];
  if (!calls || calls->kind != Kind::Array) throw RequestError("\"calls\" must be an array");
  record_.Fields() = PrnStaticFields{};  // a fresh record's values
  out += "{\"results\":[";
  std::size_t n = 0;
  reader_.ForEach(*calls, [&](const Value& c) {
    const std::string shape = "call " + std::to_string(n) + " must be [\"get\", KEY] or [\"set\", KEY, VALUE]";
    if (c.kind != Kind::Array) throw RequestError(shape);
    Value items[3];
    std::size_t count = 0;
    json::ForEachElement(c, [&](const Value& item) {
      if (count < 3) items[count] = item;
      ++count;
    });
    if (count == 0 || items[0].kind != Kind::String) throw RequestError(shape);
    const auto key = [&](const Value& v) {
      long long k;
      if (!json::ToInteger(v, k) || k < 0 || k > 0xFFFFFFFFLL)
        throw RequestError("call " + std::to_string(n) + ": keys and values are integers from 0 to 4294967295");
      return static_cast<DWORD>(k);
    };
    Text(&items[0], "call", text_);
    int result;
    if (text_ == "get" && count == 2) result = record_.GetInfo(key(items[1]));
    else if (text_ == "set" && count == 3) result = record_.SetInfoQuery(key(items[1]), key(items[2]));
    else throw RequestError(shape);
    if (n++) out += ',';
    AppendNumber(out, result);
  });
  out += "]}";
}

void Evaluator::Lookup(std::string& out) {
  static constexpr MemberNames<3> kNames{std::array<std::string_view, 3>{"op", "db", "name"}};
  const auto m = Members(reader_, kNames, "a lookup request");
  const Value* db = m[1];
  if (!db) throw RequestError("\"db\" is required");
  Text(db, "db", path_);
  text_.clear();
  Text(m[2], "name", text_);
  const orvx::ModelDatabase& records = Load(path_);
  const orvx::LookupResult found = records.Lookup(text_);
  if (found.index < 0) {
    out += "{\"index\":null}";
    return;
  }
  out += "{\"index\":";
  AppendNumber(out, found.index);
  out += ",\"modelName\":";
  AppendJsonString(out, records[static_cast<std::size_t>(found.index)].GetModelName().view());
  out += ",\"match\":\"";
  out += orvx::MatchName(found.how);
  out += "\"}";
}

void Evaluator::Answer(std::string_view line, std::string& out) {
  const std::size_t start = out.size();
  try {
    ParseRequest(reader_, line);
    const Value* op = reader_.Find("op");
    if (!op) throw RequestError("missing \"op\"");
    if (op->kind != Kind::String) throw RequestError("\"op\" must be a string");
    op_.clear();
    json::AppendString(*op, op_);
    const std::string_view name = op_;
    if (name == "picture") Picture(out);
    else if (name == "sizelist") SizeList(out);
    else if (name == "info") Info(out);
    else if (name == "lookup") Lookup(out);
    else throw RequestError(name.empty() ? "missing \"op\"" : "unknown op " + Quoted(name));
  } catch (const RequestError& e) {
    out.resize(start);
    AppendError(out, e.what());
  } catch (const std::exception& e) {
    out.resize(start);
    AppendError(out, std::string("request failed: ") + e.what());
  }
}

void Evaluator::Run(std::istream& in, std::ostream& out) {
  std::string line;
  std::string answers;
  while (std::getline(in, line)) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    Answer(line, answers);
    answers += '\n';
    // Batch the answers, but never keep one back while the next request is
    // not there yet: a script may be waiting for it.
    if (answers.size() > (1 << 16) || in.rdbuf()->in_avail() <= 0) {
      out.write(answers.data(), static_cast<std::streamsize>(answers.size()));
      answers.clear();
    }
  }
  out.write(answers.data(), static_cast<std::streamsize>(answers.size()));
  out.flush();
}

}  // namespace orvdb
