// What the library calls alone cost for a file of eval requests: each request
// is prepared beforehand (records, tray names, lists), then only the calls
// eval makes for it are timed. Prints nanoseconds per request; with
// bench/eval_throughput.sh this gives eval's overhead over the library.
// Usage: eval_library_cost REQUESTS.jsonl
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <stdexcept>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "orvx/database.h"
#include "picture_codec.h"

namespace {

struct Prepared {
  enum { Picture, Info, SizeList } kind;
  orvdb::PictureRequest picture;
  WORD vendor = 0, group = 0;
  const orvx::ModelDatabase* db = nullptr;  // a database's model: looked up as eval does, per request
  std::vector<std::array<long long, 3>> calls;  // get: {0,key}, set: {1,key,value}
  std::vector<BYTE> block;
  int tray = -1;
  std::string trayName;
};

std::map<std::string, std::unique_ptr<orvx::ModelDatabase>> databases;

// A picture request is read with eval's own decoder; the others as plain JSON.
Prepared Prepare(const std::string& line, orvdb::PictureCodec& codec) {
  const nlohmann::json j = nlohmann::json::parse(line);
  Prepared p;
  const std::string op = j["op"];
  if (op == "picture") {
    p.kind = Prepared::Picture;
    orvx::json::Reader reader;
    orvdb::ParseRequest(reader, line);
    codec.Decode(reader, p.picture, orvdb::RecordFrom::Request);
    p.vendor = static_cast<WORD>(p.picture.vendor);
    p.group = static_cast<WORD>(p.picture.group);
    if (p.picture.hasDb) {
      auto& db = databases[p.picture.db];
      if (!db) {
        db = std::make_unique<orvx::ModelDatabase>();
        if (const orvx::Status error = db->LoadFile(p.picture.db); error.Failed()) throw std::runtime_error(error.message);
      }
      p.db = db.get();
    }
  } else if (op == "info") {
    p.kind = Prepared::Info;
    for (const auto& c : j["calls"])
      p.calls.push_back({c[0] == "set", c[1].get<long long>(), c.size() > 2 ? c[2].get<long long>() : 0});
  } else {
    p.kind = Prepared::SizeList;
    p.block = j["block"].get<std::vector<BYTE>>();
    if (j.contains("tray")) p.tray = j["tray"];
    if (j.contains("trayName")) p.trayName = j["trayName"];
  }
  return p;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: eval_library_cost REQUESTS.jsonl\n");
    return 2;
  }
  std::ifstream in(argv[1]);
  std::vector<Prepared> requests;
  orvdb::PictureCodec codec;
  for (std::string line; std::getline(in, line);) requests.push_back(Prepare(line, codec));
  if (requests.empty()) return 2;

  CPrnStaticInfo record;
  BYTE out[256];
  long long sink = 0;
  const auto start = std::chrono::steady_clock::now();
  for (const Prepared& p : requests) {
    switch (p.kind) {
      case Prepared::Picture:
        if (p.db) {
          sink += codec.Run((*p.db)[static_cast<std::size_t>(p.db->Lookup(p.picture.model).index)], p.picture);
          break;
        }
        record.SetVenderID(p.vendor);
        record.SetModelGroupID(p.group);
        sink += codec.Run(record, p.picture);
        break;
      case Prepared::Info:
        record.Fields() = PrnStaticFields{};
        for (const auto& c : p.calls)
          sink += c[0] ? record.SetInfoQuery(static_cast<DWORD>(c[1]), static_cast<DWORD>(c[2]))
                       : record.GetInfo(static_cast<DWORD>(c[1]));
        break;
      case Prepared::SizeList:
        record.SetInTraySPSZSizeList(static_cast<int>(p.block.size()), p.block.data());
        sink += p.trayName.empty() ? record.GetInTraySPSZSizeList(p.tray, out)
                                   : record.GetInTraySPSZSizeList(p.trayName.c_str(), out);
        break;
    }
  }
  const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
  std::printf("%.1f\n", elapsed.count() / static_cast<double>(requests.size()));
  return sink == 42 ? 1 : 0;  // keeps the calls from being optimised away
}
