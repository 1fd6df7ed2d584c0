#include "base/json.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace dw {
namespace {

using namespace std::string_literals;

TEST(Json, RoundTripsAnyBytesExactly) {
  const std::string strings[] = {
      "caf\xC3\xA9 \xF0\x9F\x90\x8B"s,  // valid UTF-8 stays as it is
      "bad\xFFname\x80"s,
      "\xED\xB2\x80"s,  // an encoded surrogate is not UTF-8
      "\xC3"s,          // a sequence cut short
      "nul\0ctl\x01\x1F\x7F\n\r\t\b\f\"\\/"s,
      ""s,
  };
  for (const auto& s : strings) {
    SCOPED_TRACE(json::write(s));
    json::Value doc{json::Object{}};
    doc.set("path", s);
    doc.set("list", json::Array{s, std::int64_t{-7}, nullptr, true});
    for (int indent : {-1, 2}) {
      std::string text = json::write(doc, {.escapeSlashes = indent > 0, .indent = indent});
      // What is written is always valid UTF-8 text with no raw control characters.
      for (unsigned char c : text)
        EXPECT_TRUE(c >= 0x20 || c == '\n') << int(c);
      auto back = json::parse(text);
      ASSERT_TRUE(back);
      EXPECT_EQ(back->find("path")->string(), s);
      EXPECT_EQ(back->find("list")->array()[0].string(), s);
    }
  }
  EXPECT_EQ(json::write("a\xFF"s), "\"a\\uDCFF\"");
  EXPECT_EQ(json::write("\x01"s), "\"\\u0001\"");

  auto numbers = json::parse("[9223372036854775807, -9223372036854775808, -0, 1.5e3, 0.25]");
  ASSERT_TRUE(numbers);
  const auto& n = numbers->array();
  EXPECT_EQ(n[0].integer(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(n[1].integer(), std::numeric_limits<std::int64_t>::min());
  EXPECT_TRUE(n[2].isInteger());
  EXPECT_DOUBLE_EQ(n[3].number(), 1500.0);
  EXPECT_EQ(json::write(*numbers), "[9223372036854775807,-9223372036854775808,0,1500,0.25]");
}

TEST(Json, RejectsAnythingButOneWellFormedValue) {
  const char* bad[] = {
      "",
      "{\"a\": [1, 2",
      "[1, 2,]",
      "{\"a\" 1}",
      "{\"a\": 1,}",
      "[1] x",
      "[1][2]",
      "\"open",
      "\"\\uD800\"",         // a high surrogate alone
      "\"\\uD800\\u0041\"",  // followed by something that is not a low surrogate
      "\"\\uDC41\"",         // a low surrogate alone that stands for no raw byte
      "\"\\u12\"",
      "\"\\x41\"",
      "\"tab\there\"",
      "\"\xFF\"",
      "01",
      "1.",
      "-",
      "tru",
      "nul",
  };
  for (const char* text : bad)
    EXPECT_FALSE(json::parse(text)) << text;

  EXPECT_TRUE(json::parse(" [1] \n"));
  auto pair = json::parse("\"\\uD83D\\uDC0B\\u00E9\\/\"");
  ASSERT_TRUE(pair);
  EXPECT_EQ(pair->string(), "\xF0\x9F\x90\x8B\xC3\xA9/");

  std::string deep(200, '[');
  deep += std::string(200, ']');
  EXPECT_FALSE(json::parse(deep));  // nesting is bounded, not a stack overflow
}

TEST(Json, EscapesSlashesOnlyWhenAsked) {
  json::Value v{json::Object{}};
  v.set("p", "/a/b");
  EXPECT_EQ(json::write(v), "{\"p\":\"/a/b\"}");
  EXPECT_EQ(json::write(v, {.escapeSlashes = true}), "{\"p\":\"\\/a\\/b\"}");
  EXPECT_EQ(json::write(v, {.indent = 2}), "{\n  \"p\": \"/a/b\"\n}");
  // Setting a key again replaces it in place; order is the order of first setting.
  v.set("q", 1);
  v.set("p", 2);
  EXPECT_EQ(json::write(v), "{\"p\":2,\"q\":1}");
}

}  // namespace
}  // namespace dw
