#pragma once

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/http.h"
#include "platform/memory/http_memory.h"
#include "platform/scheduler.h"
#include "testing/scripted_vault.h"

namespace brindle {

/// One request as the service got it.
struct ScriptedRequest {
  std::string method;  ///< "GET" or "POST"
  std::string path;    ///< "api/watch/pending"
  std::vector<HttpHeader> headers;
  Bytes body;
  std::string channel;   ///< the background session's identifier; empty for ordinary requests
  Duration firstByte{};  ///< when it began to arrive, awake time of the service's scheduler

  /// The value of the first header of this name, in any case; empty when there is none.
  std::string_view header(std::string_view name) const;
  std::string_view text() const { return textOf(body); }
};

/// What is answered, and how.
struct ScriptedReply {
  int status = 200;  ///< 0: the connection is closed without an answer
  std::string body = "{}";
  Duration delay{};
  int copies = 1;                            ///< 0: it is never answered; 2: twice
  bool held = false;                         ///< waits for `release`
  std::optional<std::size_t> cutAfter = {};  ///< closed after so many bytes of the body
};

/// The alert service as a test needs it: it keeps every request and answers by script. It knows the
/// routes and answers them as if everything were fine where no script says otherwise. Main thread
/// only; the scheduler may be a virtual one.
class ScriptedService {
 public:
  using Answer = std::function<void(const ScriptedReply&)>;

  explicit ScriptedService(Scheduler& scheduler) : scheduler_(scheduler) {}

  /// Answers the next request whose path begins with this, before `always` does. Several wait in
  /// order.
  void once(std::string path, ScriptedReply reply);
  /// Answers every request whose path begins with this; the longest such path counts.
  void always(std::string path, ScriptedReply reply);
  /// Forgets what was scripted for this very path.
  void usual(const std::string& path);
  /// What is answered without a script, to build another reply from.
  ScriptedReply usualReply(std::string_view path) const;
  /// Where it gives a reply, no script is asked.
  std::function<std::optional<ScriptedReply>(const ScriptedRequest&)> decide;
  /// While it cannot be reached, nothing is kept and every connection ends.
  void setReachable(bool reachable) { reachable_ = reachable; }

  /// The held replies, oldest first, and letting one go: releasing 1 before 0 turns the order
  /// round.
  std::size_t held() const { return held_.size(); }
  void release(std::size_t which = 0);
  void releaseAll();

  const std::deque<ScriptedRequest>& requests() const { return requests_; }
  /// Those whose path begins with this.
  std::vector<const ScriptedRequest*> to(std::string_view path) const;
  std::function<void(const ScriptedRequest&)> onRequest;
  void forgetRequests() { requests_.clear(); }

  /// For `setServer` of the memory backends; the service outlives their use of it.
  MemoryServer server();
  /// A request that is here whole. `answer` is called for each copy, perhaps from inside.
  void receive(ScriptedRequest request, Answer answer);

  // The session that signing in gives, and the terms in force.
  std::string token = "scripted-token";
  std::string email = "owner@example.org";
  std::string termsVersion = "2026-10-07.2";
  /// An upload or a deletion that gets a 2xx, even a held one, has its effect on arrival.
  ScriptedVault vault;

 private:
  ScriptedReply replyTo(const ScriptedRequest& request);
  void give(const ScriptedReply& reply, const Answer& answer);
  std::string sessionBody(std::string_view provider) const;

  Scheduler& scheduler_;
  bool reachable_ = true;
  std::deque<ScriptedRequest> requests_;
  std::map<std::string, std::deque<ScriptedReply>, std::less<>> once_;
  std::map<std::string, ScriptedReply, std::less<>> always_;
  std::deque<std::pair<ScriptedReply, Answer>> held_;
  std::list<Timer> late_;
};

}  // namespace brindle
