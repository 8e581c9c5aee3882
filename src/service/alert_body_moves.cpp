#include "service/alert_body_moves.h"

#include <optional>

namespace brindle {
namespace {

constexpr auto earlierBodiesLapse = std::chrono::hours(24);

std::optional<AlertBody> copyBody(Files& files, const std::string& from, const std::string& name,
                                  const std::string& outbox) {
  const auto content = files.read(from);
  const auto boundary = content ? boundaryOf(*content) : std::nullopt;
  if (!boundary || !files.makeFolder(outbox)) return std::nullopt;
  if (!files.writeWhole(joinPath(outbox, name), *content)) return std::nullopt;
  AlertBody body;
  body.id = alertBodyId(name).value_or(Uuid{});
  body.boundary = *boundary;
  body.file = name;
  body.from = from;
  return body;
}

}  // namespace

MovedAlertBodies copyEarlierAlertBodies(Files& files, const std::string& temporary,
                                        const std::string& outbox) {
  MovedAlertBodies moved;
  for (const auto& name : files.list(temporary).value_or(std::vector<std::string>{})) {
    const auto there = files.exists(joinPath(outbox, name));
    if (!alertBodyId(name) || (there && *there)) continue;  // an earlier run of ours copied it
    auto body = copyBody(files, joinPath(temporary, name), name, outbox);
    if (body) {
      moved.copied.push_back(std::move(*body));
    } else {
      ++moved.notCopied;
    }
  }
  return moved;
}

bool hasLapsed(const AlertBody& body, WallTime now) {
  return !body.from.empty() && now > body.takenOver && now - body.takenOver >= earlierBodiesLapse;
}

}  // namespace brindle
