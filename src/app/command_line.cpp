#include "app/command_line.h"

#include <algorithm>
#include <array>

#include "app/command_line_triggers.h"
#include "app/typed_number.h"
#include "base/uuid.h"

namespace brindle {
namespace {

using Read = Result<CommandLine, std::string>;
using Mode = CommandLine::Mode;

Failure<std::string> wrong(std::string why) { return Failure<std::string>(std::move(why)); }

Read readSetup(Request request, std::span<const std::string_view> rest) {
  if (rest.size() == 1 && rest[0] == "--replace-pin") {
    request.replacePin = true;
    return CommandLine{Mode::request, std::move(request)};
  }
  for (; !rest.empty(); rest = rest.subspan(2)) {
    if (rest.size() < 2) return wrong(std::string(rest[0]) + " needs a value");
    if (rest[0] == "--alert-delay") {
      request.alertDelay = typedNumber(rest[1]);
      if (!request.alertDelay) return wrong("--alert-delay takes whole seconds");
    } else if (rest[0] == "--start-at-login" && (rest[1] == "yes" || rest[1] == "no")) {
      request.startAtLogin = rest[1] == "yes";
    } else {
      return wrong(
          "setup takes --alert-delay SECONDS and --start-at-login yes|no, or --replace-pin");
    }
  }
  return CommandLine{Mode::request, std::move(request)};
}

Read readDelete(Request request, std::span<const std::string_view> rest) {
  if (rest.size() != 1) return wrong("delete takes EVENT, --photos or --all");
  if (rest[0] == "--photos" || rest[0] == "--all") {
    request.target = rest[0].substr(2);
  } else if (const auto id = Uuid::parse(rest[0])) {
    request.target = id->upper();
  } else {
    return wrong(std::string(rest[0]) + " is no event; \"brindle history\" shows them");
  }
  return CommandLine{Mode::request, std::move(request)};
}

Read readWatch(Request request, std::span<const std::string_view> rest) {
  const bool lists = rest.empty() || rest[0] == "list";
  request.json = lists && rest.size() == 2 && rest[1] == "--json";
  request.target = lists ? "list" : rest[0];
  const bool whole = rest.size() < 2 || request.json;
  if (lists && whole) return CommandLine{Mode::request, std::move(request)};
  if (rest.size() != 2 || rest[1].empty() || (rest[0] != "add" && rest[0] != "remove")) {
    return wrong("watch takes add PATH|APP, list [--json] or remove NAME|ID");
  }
  request.value = rest[1];
  return CommandLine{Mode::request, std::move(request)};
}

Read readTripwire(Request request, std::span<const std::string_view> rest) {
  if (rest.size() != 2) return wrong("tripwire takes NAME FOLDER");
  request.target = rest[0];
  request.value = rest[1];
  return CommandLine{Mode::request, std::move(request)};
}

/// What is asked of the account and the service, word by word.
struct Form {
  std::string_view command;
  std::string_view words;   ///< after the command
  std::string_view target;  ///< what the guard is told
  bool takesValue = false;  ///< one more word, which may be left out
};
constexpr std::array forms{
    Form{"account", "sign-in email", "sign-in-email", true},
    Form{"account", "sign-in google", "sign-in-google"},
    Form{"account", "sign-in apple", "sign-in-apple"},
    Form{"account", "sign-out", "sign-out"},
    Form{"account", "delete", "delete"},
    Form{"account", "", ""},
    Form{"terms", "agree", "agree"},
    Form{"terms", "", ""},
    Form{"alerts", "on", "on"},
    Form{"alerts", "off", "off"},
    Form{"backstop", "on", "on"},
    Form{"backstop", "off", "off"},
    Form{"other-devices", "on", "on"},
    Form{"other-devices", "off", "off"},
    Form{"open", "", "", true},
    Form{"vault", "on", "on"},
    Form{"vault", "off", "off"},
    Form{"vault", "status", "status"},
    Form{"vault", "", "status"},
    Form{"vault", "keys", "keys"},
    Form{"vault", "queue", "queue"},
    Form{"vault", "setup", "setup"},
    Form{"vault", "join", "join", true},
};

Read readForm(Request request, std::span<const std::string_view> rest) {
  const auto join = [](std::span<const std::string_view> words) {
    std::string all;
    for (const std::string_view word : words) all.append(all.empty() ? "" : " ").append(word);
    return all;
  };
  for (const Form& form : forms) {
    if (form.command != request.command) continue;
    const bool whole = join(rest) == form.words;
    const bool valued =
        form.takesValue && !rest.empty() && join(rest.first(rest.size() - 1)) == form.words;
    if (!whole && !valued) continue;
    request.target = form.target;
    if (valued && !whole) request.value = rest.back();
    return CommandLine{Mode::request, std::move(request)};
  }
  if (rest.empty()) return wrong(request.command + " needs one of: on, off");
  return wrong(request.command + " does not take " + join(rest));
}

/// Options at the end: the answer for a program, and a yes without being asked.
std::span<const std::string_view> takeVaultOptions(Request& request,
                                                   std::span<const std::string_view> rest) {
  if (rest.empty()) return rest;
  const bool shows =
      rest.size() == 1 || rest[0] == "status" || rest[0] == "keys" || rest[0] == "queue";
  request.json = shows && rest.back() == "--json";
  request.agreed = rest[0] == "join" && rest.size() > 2 && rest.back() == "--yes";
  return request.json || request.agreed ? rest.first(rest.size() - 1) : rest;
}

Read readRequest(std::string_view name, std::span<const std::string_view> rest) {
  Request request{.command = std::string(name)};
  if (name == "setup") return readSetup(std::move(request), rest);
  if (name == "delete") return readDelete(std::move(request), rest);
  if (name == "watch") return readWatch(std::move(request), rest);
  if (name == "tripwire") return readTripwire(std::move(request), rest);
  if (name == "alarm" || name == "schedule" || name == "idle" || name == "log") {
    auto read = readTriggerRequest(std::move(request), rest);
    if (!read) return wrong(std::move(read).error());
    return CommandLine{Mode::request, std::move(*read)};
  }
  if (name == "vault") rest = takeVaultOptions(request, rest);
  if (std::ranges::find(forms, name, &Form::command) != forms.end()) {
    return readForm(std::move(request), rest);
  }
  constexpr std::array<std::string_view, 5> hasJson{"status", "history", "doctor", "outbox",
                                                    "notices"};
  if (std::ranges::find(hasJson, name) != hasJson.end() && rest.size() == 1 &&
      rest[0] == "--json") {
    request.json = true;
    rest = {};
  }
  if (!rest.empty()) return wrong(std::string(name) + " does not take " + std::string(rest[0]));
  return CommandLine{Mode::request, std::move(request)};
}

}  // namespace

Result<CommandLine, std::string> readCommandLine(std::span<const std::string_view> arguments) {
  if (arguments.empty()) return CommandLine{};
  if (arguments.back() == atLoginArgument) {
    auto line = readCommandLine(arguments.first(arguments.size() - 1));
    const bool guards = line && (line->mode == Mode::desktop || line->mode == Mode::guard);
    if (!guards) return wrong("only a guard is started at login");
    line->atLogin = true;
    return line;
  }
  static constexpr std::array<std::pair<std::string_view, Mode>, 6> modes{{
      {"guard", Mode::guard},
      {"rehearse", Mode::rehearse},
      {"help", Mode::help},
      {"--help", Mode::help},
      {"-h", Mode::help},
      {"--version", Mode::version},
  }};
  static constexpr std::array<std::string_view, 23> requests{
      "setup",   "on",    "off",      "status", "history",  "delete",        "doctor", "confirm",
      "account", "terms", "outbox",   "alerts", "backstop", "other-devices", "open",   "notices",
      "vault",   "watch", "tripwire", "alarm",  "schedule", "idle",          "log"};
  const std::string_view name = arguments[0];
  const auto rest = arguments.subspan(1);
  const auto mode = std::ranges::find(modes, name, &std::pair<std::string_view, Mode>::first);
  if (mode != modes.end()) {
    if (!rest.empty()) return wrong(std::string(name) + " takes nothing more");
    return CommandLine{mode->second, {}};
  }
  if (std::ranges::find(requests, name) != requests.end()) return readRequest(name, rest);
  return wrong("no such command: " + std::string(name));
}

std::string_view usageText() {
  return R"(usage: brindle [COMMAND]

  (none)             run with windows and a menu (needs a desktop)
  guard              run without windows; the owner proves themself in this terminal
  setup              choose PIN, question and answer, alert delay
                     [--alert-delay SECONDS] [--start-at-login yes|no]
                     --replace-pin: a new PIN, while off, for one that can't be read any more
  on, off            turn the guard on or off
  confirm            "that was me", for the unlock that waits for it
  status [--json]    whether it is on, and whether it can do its work
  history [--json]   what happened while it was on
  delete EVENT       delete one event; --photos: all photos; --all: everything
  account            who is signed in; sign-in email [ADDRESS] | google | apple; sign-out; delete
  terms [agree]      the terms of the alert service; agreeing to them
  outbox [--json]    what the alert service has still to be told, and why it waits
  notices [--json]   what the owner's other devices told this one
  alerts on|off      whether an unconfirmed unlock is e-mailed
  backstop on|off    whether the service itself alerts when this machine falls silent
  other-devices on|off  whether the owner's devices tell each other
  vault              sealed copies at the service: on, off, status, keys, queue [--json];
                     setup: where the owner makes their key; join CODE [--yes]: an organisation
                     that gets copies too
  watch              what is watched while on: list [--json];
                     add PATH|APP: a file, a folder with all that is in it, an app;
                     remove NAME|ID
  tripwire NAME FOLDER  puts a decoy there that nobody has a reason to open
  alarm              what it sounds for: unplugged|lid|unconfirmed on|off; awake on|off: no idle
                     sleep while on; test: a short chirp; stop: ends it
  schedule           when Brindle turns itself on: list [--json]; add TIME DAY...: 09:00 mon tue,
                     weekdays, weekend, daily; remove|on|off NUMBER
  idle MINUTES|off   check in when you come back to a machine left unlocked
  log [--json]       how the unlocks of the last 30 days ended; --own: include your own unlocks
  open LINK          take up a link of a sign-in e-mail
  doctor [--json]    every service: which backend, whether it answers, why not
  rehearse           play the whole story on devices in memory, in a private folder

Secrets are never taken from arguments or the environment. Exit codes: 0 done, 1 could not be
done, 2 wrong usage, 3 no guard is running, 4 no proof was given, 5 the guard did not answer.
doctor: 1 when lock signals, camera, keychain or files do not answer.
)";
}

}  // namespace brindle
