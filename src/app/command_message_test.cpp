#include "app/command_message.h"

#include <gtest/gtest.h>

#include "app/command_line.h"
#include "app/command_text.h"

namespace brindle {
namespace {

using Next = RequestReader::Next;

Request setup() {
  Request request{.command = "setup", .alertDelay = 20, .question = "First \"pet\"?"};
  request.secrets.push_back({"pin", SecretText("12\n{\"v\":1}")});
  request.secrets.push_back({"pinRepeat", SecretText("")});
  return request;
}

TEST(RequestReaderTest, ReadsWhatIsWrittenInWhateverPiecesItComes) {
  const std::string text =
      encodeRequest(setup()) + encodeRequest({.command = "status", .json = true});
  for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, text.size()}) {
    RequestReader reader;
    std::vector<Request> requests;
    for (std::size_t at = 0; at < text.size(); at += piece) {
      reader.feed(std::string_view(text).substr(at, piece));
      for (Request request; reader.next(request) == Next::request;) {
        requests.push_back(std::move(request));
      }
    }
    ASSERT_EQ(requests.size(), 2u) << piece;
    EXPECT_EQ(requests[0].secret("pin")->view(), "12\n{\"v\":1}");
    EXPECT_EQ(requests[0].secret("pinRepeat")->view(), "");
    EXPECT_EQ(requests[0].question, "First \"pet\"?");
    EXPECT_EQ(requests[0].alertDelay, 20);
    EXPECT_EQ(requests[1].command, "status");
    EXPECT_TRUE(requests[1].json);
  }
}

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

TEST(ReplyTest, ComesBackAsItWasAndNothingElseIsOne) {
  const auto fields = [](const Reply& reply) {
    return std::tuple(reply.type, reply.text, reply.exitCode, reply.answerOpen, reply.question);
  };
  const Reply reply{Reply::Type::tried, "Wrong PIN. Photo taken.", 3, true, "Pet?"};
  const auto read = decodeReply(encodeReply(reply));
  ASSERT_TRUE(read);
  EXPECT_EQ(fields(*read), fields(reply));
  for (const char* bad : {"", "{}", "{\"v\":1,\"type\":\"other\",\"text\":\"\"}",
                          "{\"v\":1,\"type\":\"done\",\"text\":\"\",\"exitCode\":256}"}) {
    EXPECT_FALSE(decodeReply(bad)) << bad;
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
  const std::pair<Arguments, std::string> rows[] = {
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
