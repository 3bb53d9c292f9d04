// What the library calls alone cost for a file of eval requests: each request
// is prepared beforehand (records, tray names, lists), then only the calls
// eval makes for it are timed. Prints nanoseconds per request; with
// bench/eval_throughput.sh this gives eval's overhead over the library.
// Usage: eval_library_cost REQUESTS.jsonl
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "picture_call.h"

namespace {

struct Prepared {
  enum { Picture, Info, SizeList } kind;
  orvdb::PictureRequest picture;
  WORD vendor = 0, group = 0;
  std::vector<std::array<long long, 3>> calls;  // get: {0,key}, set: {1,key,value}
  std::vector<BYTE> block;
  int tray = -1;
  std::string trayName;
};

Prepared Prepare(const nlohmann::json& j) {
  Prepared p;
  const std::string op = j["op"];
  if (op == "picture") {
    p.kind = Prepared::Picture;
    p.vendor = j.value("vendor", 0);
    p.group = j.value("group", 0);
    auto& r = p.picture;
    r.extended = j.value("entry", std::string("GetPictureIDEx")) == "GetPictureIDEx";
    r.byNames = j.value("form", std::string("trays")) == "names";
    for (const char* key : {"inTrays", "outTrays"}) {
      for (const auto& t : j.value(key, nlohmann::json::array())) {
        auto& tray = key[0] == 'i' ? r.AddIn() : r.AddOut();
        tray.name = t.is_string() ? t.get<std::string>() : t.value("name", std::string());
        if (t.is_object()) tray.id = t.value("id", -1), tray.derivery = t.value("derivery", 2);
      }
    }
    for (const auto& n : j.value("options", nlohmann::json::array())) r.AddOption() = n.get<std::string>();
    for (const auto& n : j.value("docOptions", nlohmann::json::array())) r.AddDocOption() = n.get<std::string>();
    r.duplexUnit = j.value("duplexUnit", 0);
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
  for (std::string line; std::getline(in, line);) requests.push_back(Prepare(nlohmann::json::parse(line)));
  if (requests.empty()) return 2;

  orvdb::PictureCaller caller;
  CPrnStaticInfo record;
  BYTE out[256];
  long long sink = 0;
  const auto start = std::chrono::steady_clock::now();
  for (const Prepared& p : requests) {
    switch (p.kind) {
      case Prepared::Picture:
        record.SetVenderID(p.vendor);
        record.SetModelGroupID(p.group);
        sink += caller.Call(record, p.picture);
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
