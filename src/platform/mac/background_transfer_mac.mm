#include <map>
#include <set>
#include <utility>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"
#include "platform/mac/url_session_mac.h"

namespace brindle {
namespace {

using Tasks = NSArray<NSURLSessionTask*>;

/// How long the system goes on by itself while no program of ours is there to end a transfer.
constexpr NSTimeInterval longestAlone = 24 * 60 * 60;

/// Shared, so that the session's delegate and the system's answers find it gone.
class BackgroundTasks final : public mac::UrlTasks,
                              public std::enable_shared_from_this<BackgroundTasks> {
 public:
  using OnResult = std::function<void(const TransferResult&)>;
  using Descriptions = std::vector<std::string>;

  explicit BackgroundTasks(Scheduler& scheduler) : scheduler_(scheduler) {}

  void open(const std::string& identifier, OnResult onResult) {
    onResult_ = std::move(onResult);
    NSURLSessionConfiguration* configuration = [NSURLSessionConfiguration
        backgroundSessionConfigurationWithIdentifier:mac::plainText(identifier)];
    configuration.timeoutIntervalForResource = longestAlone;
    configuration.discretionary = NO;
    // From here on the system tells what ended before; nothing of it comes inside this call.
    session_ = mac::newUrlSession(configuration, weak_from_this());
    list([](BackgroundTasks& self, Tasks* tasks) {
      for (NSURLSessionTask* task in tasks) self.goesOn(task);
    });
  }

  bool send(const HttpRequest& request, const std::string& description) {
    std::string problem;
    NSMutableURLRequest* made = mac::urlRequestFor(request, problem);
    NSURL* file = mac::bodyFileOf(request, problem);
    NSURLSession* session = session_;
    if (!made || !file || !session) return false;
    __block NSURLSessionTask* task = nil;
    // It throws for a file that has gone meanwhile.
    const bool taken = mac::withoutException(^{
      task = [session uploadTaskWithRequest:made fromFile:file];
    });
    if (!taken || !task) return false;
    task.taskDescription = mac::plainText(description);
    begin(task, description, request.timeout);
    [task resume];
    return true;
  }

  void cancel(std::string_view description) {
    // What an earlier run left may not have been listed yet.
    cancelled_.emplace(description);
    for (auto& [number, transfer] : transfers_) {
      if (transfer.description == description) drop(transfer);
    }
  }

  void unfinished(std::function<void(Descriptions)> done) {
    if (!session_) return scheduler_.post([done = std::move(done)] { done({}); });
    list([done = std::move(done)](BackgroundTasks& self, Tasks* tasks) {
      Descriptions all;
      for (NSURLSessionTask* task in tasks) {
        if (self.goesOn(task)) all.push_back(mac::stringOf(task.taskDescription));
      }
      done(std::move(all));
    });
  }

  void received(NSURLSessionTask* task, NSData* part) override {
    known(task).incoming.add(task, part);
  }

  void ended(NSURLSessionTask* task, NSError* error) override {
    known(task);
    auto node = transfers_.extract(task.taskIdentifier);
    Transfer& transfer = node.mapped();
    if (transfer.cancelled) return;
    const Duration elapsed = scheduler_.awakeTime() - transfer.begun;
    const OnResult told = onResult_;  // it may destroy us
    told({transfer.description, transfer.incoming.take(task, error, elapsed)});
  }

 private:
  struct Transfer {
    NSURLSessionTask* task = nil;
    std::string description;
    Duration begun{};
    mac::IncomingAnswer incoming;
    Timer limit;
    bool cancelled = false;
  };
  using Listed = std::function<void(BackgroundTasks&, Tasks*)>;

  void list(Listed listed) {
    const auto weak = weak_from_this();
    [session_ getAllTasksWithCompletionHandler:^(Tasks* tasks) {
      mac::onMain([weak, listed, tasks] {
        if (const auto self = weak.lock()) listed(*self, tasks);
      });
    }];
  }

  Transfer& begin(NSURLSessionTask* task, const std::string& description, Duration timeout) {
    const NSUInteger number = task.taskIdentifier;
    Transfer& transfer = transfers_[number];
    transfer.task = task;
    transfer.description = description;
    transfer.begun = scheduler_.awakeTime();
    // The system restarts the request's own limit at each of its tries.
    transfer.limit = scheduler_.after(timeout, [this, number] { timeOut(number); });
    return transfer;
  }

  /// The transfer of an earlier run is taken up: its time begins anew.
  Transfer& known(NSURLSessionTask* task) {
    const auto found = transfers_.find(task.taskIdentifier);
    if (found != transfers_.end()) return found->second;
    const std::string description = mac::stringOf(task.taskDescription);
    const std::chrono::duration<double> timeout(task.originalRequest.timeoutInterval);
    Transfer& transfer = begin(task, description, std::chrono::duration_cast<Duration>(timeout));
    if (cancelled_.contains(description)) drop(transfer);
    return transfer;
  }

  /// One that has been told must not be taken up again: the list may be older than that.
  bool goesOn(NSURLSessionTask* task) {
    const bool ours = transfers_.contains(task.taskIdentifier);
    const bool ends = task.state == NSURLSessionTaskStateCompleted ||
                      task.state == NSURLSessionTaskStateCanceling;
    return (ours || !ends) && !known(task).cancelled;
  }

  static void drop(Transfer& transfer) {
    transfer.cancelled = true;
    transfer.limit.cancel();
    [transfer.task cancel];
  }

  void timeOut(NSUInteger number) {
    const auto found = transfers_.find(number);
    if (found != transfers_.end()) found->second.incoming.giveUp(found->second.task, "timed out");
  }

  Scheduler& scheduler_;
  NSURLSession* session_ = nil;
  OnResult onResult_;
  std::map<NSUInteger, Transfer> transfers_;
  std::set<std::string, std::less<>> cancelled_;  ///< in this run
};

/// The session is never invalidated, or what is under way would be cancelled; the system goes on
/// with it when the process ends, and tells the next one.
class MacBackgroundTransfer final : public BackgroundTransfer {
 public:
  MacBackgroundTransfer(Scheduler& scheduler, std::string identifier)
      : identifier_(std::move(identifier)), tasks_(std::make_shared<BackgroundTasks>(scheduler)) {}

  void start(std::function<void(const TransferResult&)> onResult) override {
    tasks_->open(identifier_, std::move(onResult));
  }
  bool send(const HttpRequest& request, const std::string& description) override {
    return tasks_->send(request, description);
  }
  void cancel(std::string_view description) override { tasks_->cancel(description); }
  void unfinished(std::function<void(std::vector<std::string>)> done) override {
    tasks_->unfinished(std::move(done));
  }
  ServiceReport report() const override {
    return {"background transfer", "NSURLSession", true,
            "the system sends on when this program has ended"};
  }

 private:
  std::string identifier_;
  std::shared_ptr<BackgroundTasks> tasks_;
};

}  // namespace

std::unique_ptr<BackgroundTransfer> makeMacBackgroundTransfer(Scheduler& scheduler,
                                                              std::string identifier) {
  return std::make_unique<MacBackgroundTransfer>(scheduler, std::move(identifier));
}

}  // namespace brindle
