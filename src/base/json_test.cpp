#include <gtest/gtest.h>

#include <limits>

#include "base/json_fields.h"
#include "base/json_writer.h"

namespace brindle {
namespace {

template <class T>
std::optional<T> readAs(std::string_view text) {
  const auto json = parseJson(text);
  T value{};
  if (!json || !readJson(*json, value)) return std::nullopt;
  return value;
}

TEST(JsonReadingTest, IntegersAreWholeAndInRange) {
  using Signed = std::int64_t;
  using Unsigned = std::uint64_t;
  EXPECT_EQ(readAs<Signed>("3"), 3);
  EXPECT_EQ(readAs<Signed>("3.0"), 3);
  EXPECT_EQ(readAs<Signed>("-3e2"), -300);
  EXPECT_EQ(readAs<Signed>("9223372036854775807"), std::numeric_limits<Signed>::max());
  EXPECT_EQ(readAs<Unsigned>("18446744073709551615"), std::numeric_limits<Unsigned>::max());
  for (const char* wrong : {"1.5", "9223372036854775808", "1e19", "1e400", "\"3\"", "null", "true",
                            "[3]", "-9223372036854777856"}) {
    EXPECT_EQ(readAs<Signed>(wrong), std::nullopt) << wrong;
  }
  for (const char* wrong : {"-1", "18446744073709551616", "0.5"}) {
    EXPECT_EQ(readAs<Unsigned>(wrong), std::nullopt) << wrong;
  }
  EXPECT_EQ(readAs<double>("1e400"), std::nullopt);
  EXPECT_EQ(readAs<double>("7"), 7.0);
}

TEST(JsonReadingTest, RefusesWhatIsNoDocument) {
  const std::string deep = std::string(65, '[') + std::string(65, ']');
  for (const std::string_view text : {"", "{\"a\":1", "1 2", "\"\xff\"", "{'a':1}", deep.c_str()}) {
    EXPECT_FALSE(parseJson(text)) << text;
  }
  EXPECT_TRUE(parseJson(std::string(30, '[') + std::string(30, ']')));
}

TEST(JsonFieldsTest, EachFieldIsAsForgivingAsItSays) {
  struct Row {
    const char* text;
    bool readable;
    std::int64_t required, strict, lenient;
  };
  const Row rows[] = {{R"({"r":1,"s":2,"l":3})", true, 1, 2, 3},
                      {R"({"r":1})", true, 1, 7, 7},
                      {R"({"r":1,"s":null,"l":null})", true, 1, 7, 7},
                      {R"({"r":1,"l":"x"})", true, 1, 7, 7},
                      {R"({"r":1,"s":"x"})", false, 1, 7, 7},
                      {R"({"r":null})", false, 7, 7, 7},
                      {R"({"s":2})", false, 7, 2, 7},
                      {"[]", false, 7, 7, 7}};
  for (const Row& row : rows) {
    std::int64_t required = 7, strict = 7, lenient = 7;
    const auto json = parseJson(row.text);
    ASSERT_TRUE(json);
    JsonFields in(*json);
    in.required("r", required).strict("s", strict).lenient("l", lenient);
    EXPECT_EQ(in.readable(), row.readable) << row.text;
    EXPECT_EQ(std::tie(required, strict, lenient), std::tie(row.required, row.strict, row.lenient))
        << row.text;
  }
}

TEST(JsonWriterTest, WritesPlainAndRepairedText) {
  std::string out;
  JsonWriter(out)
      .beginObject()
      .field("text", "a\"\\\n\t\r\x01\xff")
      .field("numbers", 1.5)
      .key("list")
      .beginArray()
      .value(true)
      .value(std::uint64_t{18446744073709551615u})
      .value(-5)
      .value(0.1)
      .value(std::numeric_limits<double>::infinity())
      .beginObject()
      .endObject()
      .endArray()
      .field("time", WallTime{})
      .endObject();
  EXPECT_EQ(out,
            "{\"text\":\"a\\\"\\\\\\n\\t\\r\\u0001\xef\xbf\xbd\",\"numbers\":1.5,"
            "\"list\":[true,18446744073709551615,-5,0.1,null,{}],"
            "\"time\":\"1970-01-01T00:00:00Z\"}");
}

}  // namespace
}  // namespace brindle
