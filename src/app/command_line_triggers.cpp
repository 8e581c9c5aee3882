#include "app/command_line_triggers.h"

#include <algorithm>
#include <array>

namespace brindle {
namespace {

using Words = std::span<const std::string_view>;
using Read = Result<Request, std::string>;

Failure<std::string> wrong(std::string why) { return Failure<std::string>(std::move(why)); }

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::ranges::find(words, word) != words.end();
}

Read readAlarm(Request request, Words rest) {
  if (rest.empty()) return request;
  request.target = rest[0];
  const bool deed = isOneOf(rest[0], {"test", "stop"});
  if (deed && rest.size() == 1) return request;
  const bool setting = isOneOf(rest[0], {"unplugged", "lid", "unconfirmed", "awake"});
  if (!setting || rest.size() != 2 || !isOneOf(rest[1], {"on", "off"})) {
    return wrong("alarm takes test, stop, or unplugged|lid|unconfirmed|awake on|off");
  }
  request.value = rest[1];
  return request;
}

Read readSchedule(Request request, Words rest) {
  request.json = !rest.empty() && rest.back() == "--json";
  if (request.json) rest = rest.first(rest.size() - 1);
  request.target = rest.empty() ? "list" : rest[0];
  if (request.target == "list" && rest.size() < 2) return request;
  if (request.json) return wrong("only schedule list takes --json");
  if (request.target == "add" && rest.size() > 1) {
    for (const std::string_view word : rest.subspan(1)) {
      request.value.append(request.value.empty() ? "" : " ").append(word);
    }
    return request;
  }
  if (isOneOf(request.target, {"remove", "on", "off"}) && rest.size() == 2) {
    request.value = rest[1];
    return request;
  }
  return wrong(
      "schedule takes list [--json], add TIME DAY... (09:00 mon tue), or remove|on|off NUMBER");
}

Read readIdle(Request request, Words rest) {
  if (rest.size() > 1) return wrong("idle takes MINUTES or off");
  if (!rest.empty()) request.target = rest[0];
  return request;
}

Read readLog(Request request, Words rest) {
  for (const std::string_view word : rest) {
    if (word == "--json") {
      request.json = true;
    } else if (word == "--own") {
      request.target = "own";
    } else {
      return wrong("log takes --own and --json");
    }
  }
  return request;
}

}  // namespace

Read readTriggerRequest(Request request, Words rest) {
  if (request.command == "alarm") return readAlarm(std::move(request), rest);
  if (request.command == "schedule") return readSchedule(std::move(request), rest);
  if (request.command == "idle") return readIdle(std::move(request), rest);
  return readLog(std::move(request), rest);
}

}  // namespace brindle
