#include "html_page.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "db_json.h"
#include "orvx/database.h"
#include "orvx/whole_file.h"

namespace orvdb {
namespace {

std::string Base64(std::string_view bytes) {
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t v = 0;
    for (std::size_t k = 0; k < 3; ++k)
      v = v << 8 | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    for (std::size_t k = 0; k < 4; ++k) out += k <= n ? kDigits[(v >> (18 - 6 * k)) & 63] : '=';
  }
  return out;
}

std::string AttributeText(std::string_view s) {
  std::string out;
  for (const char c : s) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '"': out += "&quot;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += c;
    }
  }
  return out;
}

// Script text inside <script>: "</script" (any case) would end the element early.
std::string ScriptText(std::string text) {
  for (std::size_t at = 0; (at = text.find("</", at)) != std::string::npos; at += 3) {
    const std::string_view rest = std::string_view(text).substr(at + 2, 6);
    std::string lower(rest);
    for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    if (lower == "script") text.replace(at, 2, "<\\/");
  }
  return text;
}

std::string DataScript(const std::string& id, const std::string& name, std::string_view bytes, bool edit = false) {
  return "<script type=\"application/octet-stream\" id=\"" + id + "\" data-name=\"" + AttributeText(name) + "\"" +
         (edit ? " data-edit=\"true\"" : "") + ">" + Base64(bytes) + "</script>";
}

}  // namespace

std::vector<std::string> DefaultWebDirs() { return {ORVX_WEB_INSTALL_DIR, ORVX_WEB_BUILD_DIR}; }

orvx::Status MakeHtmlPage(const std::string& webDir, const std::string& dbPath, std::string& html, bool edit) {
  // The page would only say what is wrong; say it here and write nothing.
  orvx::ModelDatabase check;
  if (orvx::Status e = LoadEitherForm(dbPath, check); e.Failed()) return e;
  std::string db;
  if (orvx::Status e = orvx::ReadWholeFile(dbPath, db); e.Failed()) return e;
  struct Asset {
    const char* file;
    const char* tag;     // what index.html has in its place
    const char* before;  // the inline element around it
    const char* after;
  };
  static constexpr Asset kAssets[] = {
      {"style.css", "<link rel=\"stylesheet\" href=\"style.css\">", "<style>\n", "</style>"},
      {"orvx_wasm.js", "<script src=\"orvx_wasm.js\"></script>", "<script>\n", "</script>"},
      {"orvx.js", "<script type=\"module\" src=\"orvx.js\"></script>", "<script type=\"module\">\n", "</script>"},
      {"app.js", "<script type=\"module\" src=\"app.js\"></script>", "<script type=\"module\">\n", "</script>"},
  };
  const std::string dir = webDir + "/";
  std::string page, sample;
  for (const char* file : {"index.html", "sample.json"}) {
    if (orvx::Status e = orvx::ReadWholeFile(dir + file, file[0] == 'i' ? page : sample); e.Failed()) return e;
  }
  const std::string marker = "<!-- orvx:data -->";
  const std::size_t dataAt = page.find(marker);
  if (dataAt == std::string::npos) return {orvx::Status::Format, dir + "index.html: no \"" + marker + "\" line: not the orvx page"};
  const std::string name = dbPath.substr(dbPath.find_last_of('/') == std::string::npos ? 0 : dbPath.find_last_of('/') + 1);
  page.replace(dataAt, marker.size(),
               DataScript("orvx-db", name, db, edit) + "\n" + DataScript("orvx-sample", "sample (models.json)", sample));
  for (const Asset& a : kAssets) {
    std::string text;
    if (orvx::Status e = orvx::ReadWholeFile(dir + a.file, text); e.Failed()) return e;
    const std::size_t at = page.find(a.tag);
    if (at == std::string::npos) return {orvx::Status::Format, dir + "index.html: no " + a.tag + ": not the orvx page"};
    page.replace(at, std::string_view(a.tag).size(), a.before + ScriptText(std::move(text)) + a.after);
  }
  html = std::move(page);
  return {};
}

}  // namespace orvdb
