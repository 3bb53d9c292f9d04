// UTF-8 and UTF-16 at their boundaries, hex digits and case folding.
#include <gtest/gtest.h>

#include <string>

#include "orvx/json_reader.h"
#include "orvx/text.h"

namespace text = orvx::text;

TEST(Text, Utf8AtItsBoundaries) {
  const std::pair<std::string_view, bool> cases[] = {
      {"plain", true},
      {"\x7F", true},
      {"\x80", false},              // a continuation byte cannot lead
      {"\xBF", false},
      {"\xC2\x80", true},            // U+0080, the first two-byte form
      {"\xC1\xBF", false},           // U+007F overlong
      {"\xE0\xA0\x80", true},        // U+0800
      {"\xE0\x9F\xBF", false},       // U+07FF overlong
      {"\xED\x9F\xBF", true},        // U+D7FF
      {"\xED\xA0\x80", false},       // U+D800, a surrogate
      {"\xED\xBF\xBF", false},       // U+DFFF
      {"\xEE\x80\x80", true},        // U+E000
      {"\xF0\x90\x80\x80", true},    // U+10000
      {"\xF1\x80\x80\x80", true},    // U+40000
      {"\xF3\xBF\xBF\xBF", true},    // U+FFFFF
      {"\xF0\x8F\xBF\xBF", false},   // U+FFFF overlong
      {"\xF4\x8F\xBF\xBF", true},    // U+10FFFF
      {"\xF4\x90\x80\x80", false},   // past U+10FFFF
      {"\xF8\x88\x80\x80\x80", false},
      {"\xC3", false},               // cut short
      {"\xE2\x82", false},
      {"\xC3(", false},              // no continuation byte
      {"Caf\xE9", false},
  };
  for (const auto& [s, valid] : cases) EXPECT_EQ(text::IsValidUtf8(s), valid) << testing::PrintToString(s);
  // The view ends where it says, whatever byte follows it in memory.
  EXPECT_TRUE(text::IsValidUtf8(std::string_view("ab\xFF", 2)));
  EXPECT_TRUE(text::IsValidUtf8(std::string_view("\xC3\xA9\xA9", 2)));
  EXPECT_FALSE(text::IsValidUtf8(std::string_view("\xC3\xA9", 1)));

  std::size_t at = 1;
  std::uint32_t c = 0;
  ASSERT_TRUE(text::DecodeUtf8("x\xF0\x9F\x96\xA8y", at, c));
  EXPECT_EQ(c, 0x1F5A8u);
  EXPECT_EQ(at, 5u);
  at = 0;
  EXPECT_FALSE(text::DecodeUtf8("", at, c));
  for (const std::uint32_t cp : {0x0u, 0x7Fu, 0x80u, 0x7FFu, 0x800u, 0xFFFFu, 0x10000u, 0x10FFFFu}) {
    std::string s;
    text::AppendUtf8(s, cp);
    at = 0;
    EXPECT_TRUE(text::DecodeUtf8(s, at, c) && c == cp && at == s.size()) << cp;
  }
}

TEST(Text, Utf16BothWays) {
  const auto le = [](std::initializer_list<unsigned> units) {
    std::string out;
    for (unsigned u : units) (out += static_cast<char>(u & 0xFF)) += static_cast<char>(u >> 8);
    return out;
  };
  const std::pair<std::string, std::string> pairs[] = {  // UTF-8, UTF-16LE
      {"A\xC3\xA9", le({0x41, 0xE9})},
      {"\xEF\xBF\xBF", le({0xFFFF})},
      {"\xF0\x90\x80\x80", le({0xD800, 0xDC00})},  // U+10000
      {"\xF0\x9F\x96\xA8", le({0xD83D, 0xDDA8})},  // U+1F5A8
      {"\xF4\x8F\xBF\xBF", le({0xDBFF, 0xDFFF})},  // U+10FFFF
  };
  for (const auto& [utf8, utf16] : pairs) {
    std::string out = "kept";
    EXPECT_TRUE(text::Utf8ToUtf16(utf8, out));
    EXPECT_EQ(out, "kept" + utf16);
    out = "kept";
    EXPECT_TRUE(text::Utf16ToUtf8(utf16, out));
    EXPECT_EQ(out, "kept" + utf8);
  }
  std::string out;
  for (const std::string& broken :
       {le({0xD83D}), le({0xD83D, 0x41}), le({0xDC00, 0xD800, 0xDC00}), le({0xDFFF}), le({0xDBFF, 0xE000}), std::string("A")})
    EXPECT_FALSE(text::Utf16ToUtf8(broken, out)) << testing::PrintToString(broken);
  EXPECT_FALSE(text::Utf8ToUtf16("\xE9", out));
}

TEST(Text, HexAndLetterCase) {
  const std::pair<char, int> digits[] = {{'0', 0}, {'9', 9}, {'a', 10}, {'f', 15}, {'A', 10}, {'F', 15},
                                         {'g', -1}, {'G', -1}, {'/', -1}, {':', -1}, {'@', -1}, {'`', -1}};
  for (const auto& [c, v] : digits) EXPECT_EQ(text::HexDigit(c), v) << c;
  EXPECT_EQ(text::Hex(0x1A2B, 6), "001a2b");
  EXPECT_EQ(text::Hex(0xFFFFFFFF, 8) + text::Hex(0x123, 2), "ffffffff23");  // the low digits
  const unsigned char bytes[] = {0x00, 0x0F, 0xA0};
  EXPECT_EQ(text::HexBytes(bytes, 3, ' '), "00 0f a0");
  EXPECT_EQ(text::HexBytes(bytes, 3, 0), "000fa0");

  EXPECT_EQ(text::FoldCase("AZaz@[`{\xC9"), "azaz@[`{\xC9");  // ASCII letters only
  EXPECT_TRUE(text::EqualNoCase("Cassette 1", "cASSETTE 1"));
  EXPECT_FALSE(text::EqualNoCase("Cassette 1", "Cassette 1 "));
  EXPECT_FALSE(text::EqualNoCase("[", "{"));
}

// The JSON reader's \u escapes: a pair decodes to one code point; any broken
// half, or a digit that is no hex digit in either half, is refused.
TEST(Text, JsonEscapesAndSurrogatePairs) {
  const std::pair<const char*, const char*> cases[] = {
      {R"("\u00e9\ud83d\ude00")", "\xC3\xA9\xF0\x9F\x98\x80"},
      {R"("\ud83d\ude00x")", "\xF0\x9F\x98\x80x"},
      {R"("\ud83d")", nullptr},        {R"("\ud83d\u0041")", nullptr}, {R"("\ud83dx\ude00")", nullptr},
      {R"("\ud83d/ude00")", nullptr},  {R"("\ud83d\ue000")", nullptr}, {R"("\ud83d\uZe00")", nullptr},
      {R"("\ud83d\udZ00")", nullptr},  {R"("\ud83d\ude0Z")", nullptr}, {R"("\ude00")", nullptr},
      {R"("\u00eZ")", nullptr},        {R"("\u00e")", nullptr},       {R"("\ud83d\u0dfff")", nullptr},
  };
  for (const auto& [text, decoded] : cases) {
    orvx::json::Reader reader;
    EXPECT_EQ(reader.Parse(text), decoded != nullptr) << text << ": " << reader.Error();
    if (decoded) {
      EXPECT_EQ(orvx::json::String(reader.Root()), decoded) << text;
    }
  }
}

// Past sixteen members the reader finds members through its hash table, which a
// second text reuses: the last of a repeated name wins, and the first text's names are gone.
TEST(Text, JsonMembersOfALargeObject) {
  orvx::json::Reader reader;
  std::string text = "{";
  for (int i = 0; i < 20; ++i) text += "\"k" + std::to_string(i) + "\":" + std::to_string(i) + ",";
  text += "\"k3\":33}";  // the reader's values stay views into the text
  ASSERT_TRUE(reader.Parse(text));
  EXPECT_EQ(reader.MemberCount(), 20u);
  ASSERT_NE(reader.Find("k3"), nullptr);
  EXPECT_EQ(reader.Find("k3")->text, "33");
  ASSERT_NE(reader.Find("k19"), nullptr);
  EXPECT_EQ(reader.Find("k20"), nullptr);
  text = "{";
  for (int i = 0; i < 20; ++i) text += "\"j" + std::to_string(i) + "\":" + std::to_string(i) + ",";
  text += "\"j\":0}";
  ASSERT_TRUE(reader.Parse(text));
  EXPECT_EQ(reader.Find("k3"), nullptr);
  ASSERT_NE(reader.Find("j19"), nullptr);
}
