#include "base/json.h"

#include <gtest/gtest.h>

#include <string>

namespace dw {
namespace {

using namespace std::literals;

TEST(Json, WritesAnyBytesSoTheyReadBackExactly) {
  // Valid UTF-8, stray bytes, an encoded surrogate (not UTF-8), a sequence cut short, controls.
  for (const std::string& s : {"caf\xC3\xA9 \xF0\x9F\x90\x8B"s, "bad\xFFname\x80"s, "\xED\xB2\x80"s,
                               "\xC3"s, "nul\0ctl\x01\x1F\x7F\n\r\t\b\f\"\\/"s, ""s}) {
    json::Value doc{json::Object{{"path", s}, {"list", json::Array{s, -7, nullptr, true}}}};
    for (int indent : {-1, 2}) {
      std::string text = json::write(doc, {.escapeSlashes = indent > 0, .indent = indent});
      auto back = json::parse(text);
      ASSERT_TRUE(back) << text;
      EXPECT_EQ(back->find("path")->string(), s);
      EXPECT_EQ(json::write(*back, {.escapeSlashes = indent > 0, .indent = indent}), text);
    }
  }
  EXPECT_EQ(json::write("a\xFF\x01"s), "\"a\\uDCFF\\u0001\"");

  json::Value v{json::Object{{"p", "/a/b"}}};
  EXPECT_EQ(json::write(v), "{\"p\":\"/a/b\"}");
  EXPECT_EQ(json::write(v, {.escapeSlashes = true}), "{\"p\":\"\\/a\\/b\"}");
  EXPECT_EQ(json::write(v, {.indent = 2}), "{\n  \"p\": \"/a/b\"\n}");
  v.set("q", 1);
  v.set("p", 2);  // replaced in place: the order is that of first setting
  EXPECT_EQ(json::write(v), "{\"p\":2,\"q\":1}");
}

TEST(Json, ReadsOnlyOneWellFormedValue) {
  EXPECT_EQ(
      json::write(
          json::parse("[9223372036854775807, -9223372036854775808, -0, 1.5e3, 0.25]").value()),
      "[9223372036854775807,-9223372036854775808,0,1500,0.25]");
  EXPECT_TRUE(json::parse(" [1] \n"));
  EXPECT_EQ(json::parse("\"\\uD83D\\uDC0B\\u00E9\\/\"").value().string(),
            "\xF0\x9F\x90\x8B\xC3\xA9/");
  // Surrogates: a high one alone, one followed by no low one, a low one that stands for no byte.
  for (auto text :
       {""sv, "{\"a\": [1, 2"sv, "[1, 2,]"sv, "{\"a\" 1}"sv, "{\"a\": 1,}"sv, "[1] x"sv, "\"open"sv,
        "\"\\uD800\""sv, "\"\\uD800\\u0041\""sv, "\"\\uDC41\""sv, "\"\\u12\""sv, "\"\\x41\""sv,
        "\"tab\there\""sv, "\"\xFF\""sv, "01"sv, "1."sv, "-"sv, "tru"sv, "nul"sv})
    EXPECT_FALSE(json::parse(text)) << text;
  EXPECT_FALSE(json::parse(std::string(200, '[') + std::string(200, ']')));  // bounded nesting
}

}  // namespace
}  // namespace dw
