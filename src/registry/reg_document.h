// A registry store file in memory: the registry editor's export format, kept
// with its comments, blank lines and order so that writing it back changes
// only what was changed.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "orvx/afx_registry.h"
#include "orvx/status.h"

namespace orvx::registry {

struct Value {
  std::string name;  // empty: the key's default value ("@")
  DWORD type = REG_NONE;
  std::vector<BYTE> data;
};

// A line of a key's section: a value, or a blank or comment line kept as written.
struct Item {
  bool isValue = false;
  std::string raw;
  Value value;
};

// Names are found through indexes by their letter-case-folded spelling, so
// that parsing and every lookup stay linear in the file however many keys and
// values it holds; `items` and `keys` keep the file's order for writing back.
struct Key {
  std::string path;  // as written, hive included: HKEY_CURRENT_USER\Software\...
  std::vector<Item> items;
  std::vector<std::size_t> values;                        // indexes into items of the values, in order
  std::unordered_map<std::string, std::size_t> byName;    // folded value name -> index into items
};

struct Document {
  enum class Encoding { Utf8, Utf8Bom, Utf16 };
  Encoding encoding = Encoding::Utf8;
  bool crlf = false;
  std::string header = "Windows Registry Editor Version 5.00";
  std::vector<std::string> preamble{""};  // lines between the header and the first key
  std::vector<Key> keys;
  std::unordered_map<std::string, std::size_t> byPath;  // folded key path -> index into keys
};

// A store file as read: missing (not `exists`, `error` NoStore), read and
// parsed (`doc`), or there but unreadable or malformed (`error` says why;
// BadStore names the file and the line, also in `where`).
struct Snapshot {
  bool exists = false;
  std::shared_ptr<const Document> doc;
  Status error;
};
// The file's content, parsed once for each state of it.
Snapshot ReadStore(const std::string& file);
// Tells the cache that `file` now holds `doc`, just written under the
// store's lock, so that the next read need not parse it again.
void Remember(const std::string& file, std::shared_ptr<const Document> doc);

// Fails with the line of the first fault in `where`; `parsed` is then unchanged.
Status Parse(std::string_view bytes, Document& parsed);
// The file's bytes. Fails when the text cannot be encoded as the document's
// encoding asks (a UTF-16 file and a name that is not UTF-8).
Status Serialize(const Document& doc, std::string& bytes);

bool EqualNoCase(std::string_view a, std::string_view b);

Key* FindKey(Document& doc, std::string_view path);
const Key* FindKey(const Document& doc, std::string_view path);
// A key exists when it has a section, or a section lies below it.
bool KeyExists(const Document& doc, std::string_view path);
Value* FindValue(Key& key, std::string_view name);
const Value* FindValue(const Key& key, std::string_view name);
// The key's value number `index` in file order, or null past the last.
const Value* ValueAt(const Key& key, std::size_t index);
// Adds or replaces a value; a new one goes after the key's last value.
void SetValue(Key& key, Value value);
// Adds a key section at the end of the document.
Key& AddKey(Document& doc, std::string path);


}  // namespace orvx::registry
