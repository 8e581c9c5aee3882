#include "app/command_message.h"

#include <gtest/gtest.h>

#include "app/command_line.h"
#include "app/command_text.h"

namespace brindle {
namespace {

using Next = RequestReader::Next;

TEST(RequestReaderTest, BelievesNothing) {
  const std::string rows[] = {
      "\n",
      "garbage\n",
      "{\"v\":2,\"command\":\"on\"}\n",
      "{\"v\":1,\"command\":\"on\",\"secrets\":7}\n",
      "{\"v\":1,\"command\":\"on\",\"secrets\":[{\"name\":\"pin\",\"size\":-1}]}\n",
      "{\"v\":1,\"command\":\"on\",\"secrets\":[{\"name\":\"pin\",\"size\":1025}]}\n",
      "{\"v\":1,\"command\":\"on\",\"secrets\":[{\"name\":\"pin\",\"size\":1e400}]}\n",
      "{\"v\":1,\"command\":\"on\",\"secrets\":[{},{},{},{},{}]}\n",
      "{\"v\":1,\"command\":\"\xff\"}\n",
      std::string(8193, '{'),
  };
  for (const auto& row : rows) {
    RequestReader reader;
    reader.feed(row);
    Request request;
    EXPECT_EQ(reader.next(request), Next::bad) << row.substr(0, 80);
    reader.feed(encodeRequest({.command = "status"}));
    EXPECT_EQ(reader.next(request), Next::bad) << "for good";
  }
}

TEST(CommandLineTest, TakesTheseAndNoOthers) {
  using Mode = CommandLine::Mode;
  using Arguments = std::vector<std::string_view>;
  const auto read = [](Arguments arguments) { return readCommandLine(arguments); };
  EXPECT_EQ(read({})->mode, Mode::desktop);
  EXPECT_TRUE(read({"--at-login"})->atLogin && read({"guard", "--at-login"})->atLogin);
  EXPECT_EQ(read({"setup", "--alert-delay", "45"})->request.alertDelay, 45);
  EXPECT_TRUE(read({"setup", "--replace-pin"})->request.replacePin);
  EXPECT_EQ(read({"setup", "--start-at-login", "no"})->request.startAtLogin, false);
  EXPECT_EQ(read({"delete", "--photos"})->request.target, "photos");
  EXPECT_EQ(read({"delete", "d73d0d23-c20b-4bc0-9698-803dcdf6ff41"})->request.target,
            "D73D0D23-C20B-4BC0-9698-803DCDF6FF41");
  EXPECT_EQ(read({"account", "sign-in", "email", "a@b.example"})->request.value, "a@b.example");
  EXPECT_EQ(read({"account", "sign-out"})->request.target, "sign-out");
  EXPECT_EQ(read({"open", "brindle:x"})->request.value, "brindle:x");
  EXPECT_TRUE(read({"vault", "keys", "--json"})->request.json);
  const auto join = read({"vault", "join", "A1", "--yes"});
  EXPECT_TRUE(join->request.value == "A1" && join->request.agreed);
  EXPECT_FALSE(read({"vault", "join", "A1"})->request.agreed);
  const std::pair<Arguments, std::string> rows[] = {
      {{"vault", "on", "--json"}, "vault does not take on --json"},
      {{"account", "sign-in"}, "account does not take sign-in"},
      {{"alerts"}, "alerts needs one of: on, off"},
      {{"fly"}, "no such command: fly"},
      {{"on", "730164"}, "on does not take 730164"},
      {{"status", "--at-login"}, "only a guard is started at login"},
      {{"delete"}, "delete takes EVENT, --photos or --all"},
      {{"delete", "7"}, "7 is no event; \"brindle history\" shows them"},
      {{"setup", "--alert-delay", "4s"}, "--alert-delay takes whole seconds"},
      {{"setup", "--pin", "7"},
       "setup takes --alert-delay SECONDS and --start-at-login yes|no, or --replace-pin"},
  };
  for (const auto& [arguments, why] : rows) {
    const auto refused = read(arguments);
    ASSERT_FALSE(refused) << why;
    EXPECT_EQ(refused.error(), why);
  }
}

TEST(CommandTextTest, NamesChosenByOthersCannotDriveTheTerminal) {
  UnlockEvent event;
  event.trigger = Trigger{"watched-file", "a\x1b[2Jb\xc2\x9b\n"};
  const auto text = historyText({std::make_shared<const UnlockEvent>(event)});
  EXPECT_NE(text.find("watched-file a?[2Jb???"), std::string::npos) << text;
  event.photoFiles = {"../../etc/passwd", "A-0.jpg"};
  const auto json = historyJson({std::make_shared<const UnlockEvent>(event)}, "/photos");
  EXPECT_NE(json.find("\"photos\":[\"/photos/A-0.jpg\"]"), std::string::npos) << json;
}

}  // namespace
}  // namespace brindle
