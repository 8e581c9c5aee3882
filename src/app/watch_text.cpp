#include "app/watch_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "app/command_text.h"

namespace brindle {
namespace {

using Items = std::vector<WatchedItem>;

std::size_t missing(const Items& items) {
  return static_cast<std::size_t>(
      std::ranges::count_if(items, [](const WatchedItem& each) { return each.state.missing; }));
}

std::size_t unwatchable(const Items& items) {
  return static_cast<std::size_t>(std::ranges::count_if(
      items, [](const WatchedItem& each) { return !each.state.unwatchable.empty(); }));
}

std::string counts(const Items& items) {
  std::string text = items.size() == 1 ? "1 item" : fmt::format("{} items", items.size());
  if (missing(items) > 0) text += fmt::format(", {} missing", missing(items));
  if (unwatchable(items) > 0) text += fmt::format(", {} not watchable", unwatchable(items));
  return text;
}

std::string inQuotes(const std::string& name) { return "'" + plainText(name) + "'"; }

std::string standing(const WatchTargetState& state) {
  if (state.missing) return ", missing";
  return state.unwatchable.empty() ? "" : ", not watchable: " + plainText(state.unwatchable);
}

constexpr std::string_view notSaved = "But that could not be saved yet.\n";

}  // namespace

std::string watchLine(const Items& items) {
  return items.empty() ? "" : "Watched: " + counts(items) + "\n";
}

void writeWatchStatus(JsonWriter& out, const Items& items) {
  out.beginObject()
      .field("items", items.size())
      .field("missing", missing(items))
      .field("unwatchable", unwatchable(items))
      .endObject();
}

std::string watchListText(const Items& items) {
  if (items.empty()) return "Nothing is watched besides unlocks.\n";
  std::string text;
  for (const WatchedItem& each : items) {
    const WatchTarget& target = each.target;
    const std::string where = each.path.empty() ? target.bundleID : each.path;
    text += fmt::format("{}  {:<8}  {}{}{}\n", target.id.upper(),
                        WatchTarget::kindNames.of(target.kind), plainText(target.displayName),
                        where.empty() ? "" : " (" + plainText(where) + ")", standing(each.state));
  }
  return text;
}

std::string watchListJson(const Items& items) {
  std::string text;
  JsonWriter out(text);
  out.beginArray();
  for (const auto& [target, state, path] : items) {
    out.beginObject().field("id", target.id);
    out.field("kind", WatchTarget::kindNames.of(target.kind)).field("name", target.displayName);
    out.field("place", target.placeName).field("path", path).field("app", target.bundleID);
    out.field("addedAt", target.addedAt).field("missing", state.missing);
    out.field("unwatchable", state.unwatchable).endObject();
  }
  out.endArray();
  return text + "\n";
}

std::string notLookedAt(std::size_t items) {
  return fmt::format("there was no time to see whether openings of {} are seen", items);
}

ServiceReport watchReport(const Items& items, const std::string& problem, bool withNames) {
  ServiceReport report{"watched items", "watch list", problem.empty(), counts(items)};
  if (!problem.empty()) report.detail += "; " + plainText(problem);
  for (const WatchedItem& each : items) {
    if (each.state == WatchTargetState{}) continue;
    report.answered = false;
    if (!withNames) continue;
    report.detail += "; " + inQuotes(each.target.displayName) + standing(each.state).substr(1);
  }
  return report;
}

std::string addedText(const WatchList::AddedTarget& added, const WatchTargetState& state) {
  const WatchTarget& target = added.target;
  const std::string name = inQuotes(target.displayName);
  std::string text = target.kind == WatchTarget::Kind::tripwire
                         ? "The tripwire " + name + " is in " + inQuotes(target.placeName) +
                               ". While Brindle is on, whoever opens it is photographed.\n"
                         : name + " is watched while Brindle is on.\n";
  if (!state.unwatchable.empty())
    text += "Openings may go unseen: " + plainText(state.unwatchable) + "\n";
  if (!added.saved) text += notSaved;
  return text;
}

std::string notAddedText(const WatchTarget& target) {
  return inQuotes(target.displayName) +
         " can't be watched: the list of watched items can't be saved now.\n";
}

std::string removedText(const WatchTarget& target, WatchList::Removed how, bool running) {
  const std::string name = inQuotes(target.displayName);
  const std::string gone = name + " isn't watched any more.\n";
  switch (how) {
    case WatchList::Removed::done:
      return target.kind == WatchTarget::Kind::tripwire ? "The tripwire " + name + " is gone.\n"
                                                        : gone;
    case WatchList::Removed::notSaved:
      return running ? gone + std::string(notSaved)
                     : "That can't be saved now, so " + name + " may still be watched.\n";
    case WatchList::Removed::decoyNotFound:
      return gone + "Its decoy wasn't found, so none was deleted.\n";
    case WatchList::Removed::decoyLeft:
      return gone +
             "What lies in its place isn't what Brindle put there any more, and was left alone.\n";
    case WatchList::Removed::notListed:
      break;
  }
  return name + " isn't watched.\n";
}

}  // namespace brindle
