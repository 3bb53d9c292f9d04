// One line on what each field of a model record is, for every face that
// shows a record: `orvdb show` and the workbench page read this table, and
// docs/database-format.md gives the same lines (the tool's end-to-end test
// holds the two together). Header-only, so that any target can read it.
//
// What an information value means is its host's: the library stores the
// value, answers it through GetInfo and reads it nowhere itself (not in the
// lookup, the size lists or the picture rules). The lines say so, and say
// what the library does know: other keys, and how GetInfo reads the value.
#pragma once

#include <string_view>

namespace orvdb {

struct FieldNote {
  std::string_view field;
  std::string_view note;
};

inline constexpr FieldNote kFieldNotes[] = {
    {"ModelName", "the name the lookup matches: exact, then a leading \"hp\" read as \"HP\", then a substring"},
    {"VenderID", "product line, 1 printer and 2 copier; with ModelGroupID it chooses the picture rule"},
    {"ModelGroupID", "model group; with VenderID it chooses the picture rule (orvdb rules)"},
    {"BasedModelGroupID", "the group this model is based on; stored only, nothing in the library reads it"},
    {"IconBaseIdx", "the host's icon base index for the model"},
    {"Flags", "the thirteen capability flags, one bit each (FlagNames); other bits mean nothing"},
    {"SpareByte", "no key and no getter: stored and copied only"},
    {"Info0304", "a host value, also read and set by key 0x1008"},
    {"Info040A", "a host value; 255 means not set (GetInfo answers -1); key 0x0481 sets it too"},
    {"Info1200000", "a 32-bit host value; GetInfo answers one above 2147483647 as negative"},
    {"Info1210000", "a 32-bit host value; GetInfo answers one above 2147483647 as negative"},
    {"Info1220000", "a 32-bit host value; GetInfo answers one above 2147483647 as negative"},
    {"Info1230000", "a 32-bit host value; GetInfo answers one above 2147483647 as negative"},
    {"InTraySPSZSizeList", "the paper-size codes each input tray takes, by tray number or tray name"},
};

// Every other information field.
inline constexpr std::string_view kHostValueNote = "a host value: stored and answered by GetInfo, read by nothing else";

// The note of the field named `field`: its line above, else kHostValueNote
// for an information field ("Info..."), else "".
constexpr std::string_view FieldNoteOf(std::string_view field) {
  for (const FieldNote& n : kFieldNotes)
    if (n.field == field) return n.note;
  return field.starts_with("Info") ? kHostValueNote : std::string_view{};
}

}  // namespace orvdb
