#include "testing/scripted_service.h"

#include <algorithm>
#include <utility>

namespace brindle {
namespace {

bool sameName(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::ranges::equal(a, b, {}, lower, lower);
}

/// The path below the server's root, without a query.
std::string pathOf(std::string_view url) {
  const std::size_t host = url.find("://");
  if (host == std::string_view::npos) return {};
  const std::size_t slash = url.find('/', host + 3);
  if (slash == std::string_view::npos) return {};
  return std::string(url.substr(slash + 1, url.find('?', slash) - slash - 1));
}

/// The entry with the longest path that begins this one.
template <class Map>
auto longestIn(Map& map, std::string_view path) {
  auto best = map.end();
  for (auto each = map.begin(); each != map.end(); ++each) {
    const bool longer = best == map.end() || each->first.size() > best->first.size();
    if (path.starts_with(each->first) && longer) best = each;
  }
  return best;
}

}  // namespace

std::string_view ScriptedRequest::header(std::string_view name) const {
  const auto found = std::ranges::find_if(
      headers, [&](const HttpHeader& each) { return sameName(each.name, name); });
  return found == headers.end() ? std::string_view() : found->value;
}

void ScriptedService::once(std::string path, ScriptedReply reply) {
  once_[std::move(path)].push_back(std::move(reply));
}

void ScriptedService::always(std::string path, ScriptedReply reply) {
  always_[std::move(path)] = std::move(reply);
}

void ScriptedService::usual(const std::string& path) {
  once_.erase(path);
  always_.erase(path);
}

std::string ScriptedService::sessionBody(std::string_view provider) const {
  return R"({"token":")" + token + R"(","email":")" + email + R"(","provider":")" +
         std::string(provider) + R"(","termsVersion":")" + termsVersion +
         R"(","acceptedAt":825000000})";  // seconds since 2001
}

ScriptedReply ScriptedService::usualReply(std::string_view path) const {
  if (path == "api/auth/apple") return {.body = sessionBody("Apple")};
  if (path == "api/auth/google") return {.body = sessionBody("Google")};
  if (path == "api/verify-finish") return {.body = sessionBody("Email")};
  if (path == "api/terms") {
    return {.body = R"({"version":")" + termsVersion +
                    R"(","terms":"https://example.org/terms",)"
                    R"("privacy":"https://example.org/privacy","minimumBuild":{"macos":1}})"};
  }
  if (path == "api/vault/keys") return {.body = vault.keysBody(email)};
  const bool known = path == "api/verify-start" || path == "api/account/delete" ||
                     path == "api/alert" || path.starts_with("api/watch/") ||
                     path.starts_with("api/push/") || ScriptedVault::knows(path);
  return known ? ScriptedReply{} : ScriptedReply{.status = 404, .body = R"({"error":"unknown"})"};
}

ScriptedReply ScriptedService::replyTo(const ScriptedRequest& request) {
  if (decide) {
    if (auto decided = decide(request)) return *decided;
  }
  if (const auto next = longestIn(once_, request.path); next != once_.end()) {
    ScriptedReply reply = std::move(next->second.front());
    next->second.pop_front();
    if (next->second.empty()) once_.erase(next);
    return reply;
  }
  const auto scripted = longestIn(always_, request.path);
  if (scripted != always_.end()) return scripted->second;
  return ScriptedVault::knows(request.path) ? vault.answer(request, email)
                                            : usualReply(request.path);
}

void ScriptedService::receive(ScriptedRequest request, Answer answer) {
  if (!reachable_) return answer({.status = 0});
  requests_.push_back(std::move(request));
  const ScriptedReply reply = replyTo(requests_.back());
  if (reply.status / 100 == 2) vault.accepted(requests_.back());
  if (onRequest) onRequest(requests_.back());
  if (reply.held) return held_.emplace_back(reply, std::move(answer)), void();
  if (reply.delay <= Duration::zero()) return give(reply, answer);
  std::erase_if(late_, [](const Timer& each) { return !each.armed(); });
  late_.push_back(scheduler_.after(reply.delay, [this, reply, answer] { give(reply, answer); }));
}

void ScriptedService::give(const ScriptedReply& reply, const Answer& answer) {
  for (int copy = 0; copy < reply.copies; ++copy)
    answer(reachable_ ? reply : ScriptedReply{.status = 0});
}

void ScriptedService::release(std::size_t which) {
  if (which >= held_.size()) return;
  const auto [reply, answer] = std::move(held_[which]);
  held_.erase(held_.begin() + static_cast<std::ptrdiff_t>(which));
  give(reply, answer);
}

void ScriptedService::releaseAll() {
  while (!held_.empty()) release();
}

std::vector<const ScriptedRequest*> ScriptedService::to(std::string_view path) const {
  std::vector<const ScriptedRequest*> all;
  for (const ScriptedRequest& each : requests_) {
    if (each.path.starts_with(path)) all.push_back(&each);
  }
  return all;
}

MemoryServer ScriptedService::server() {
  return [this](const MemoryRequest& seen, std::function<void(HttpAnswer)> answer) {
    const bool post = seen.request.method == HttpRequest::Method::post;
    receive({post ? "POST" : "GET", pathOf(seen.request.url), seen.request.headers, seen.body,
             seen.session, scheduler_.awakeTime()},
            [answer = std::move(answer)](const ScriptedReply& reply) {
              const bool whole = reply.status != 0 && !reply.cutAfter;
              answer(whole ? HttpAnswer{reply.status, bytesOf(reply.body), {}, {}}
                           : HttpAnswer{0, {}, {}, "the connection was closed"});
            });
  };
}

}  // namespace brindle
