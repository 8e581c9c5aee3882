#include <map>
#include <utility>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"
#include "platform/mac/url_session_mac.h"

namespace brindle {
namespace {

/// Shared, so that the session's delegate and whoever cancels find it gone.
class HttpTasks final : public mac::UrlTasks, public std::enable_shared_from_this<HttpTasks> {
 public:
  using Done = std::function<void(HttpAnswer)>;

  explicit HttpTasks(Scheduler& scheduler) : scheduler_(scheduler) {}

  void open() {
    session_ = mac::newUrlSession(NSURLSessionConfiguration.ephemeralSessionConfiguration,
                                  weak_from_this());
  }
  /// A session keeps its delegate until it is told that it is no longer needed.
  void close() { [session_ invalidateAndCancel]; }

  Subscription send(const HttpRequest& request, Done done) {
    std::string problem;
    NSURLSessionTask* task = newTask(request, problem);
    if (!task) return refuse(problem, std::move(done));
    const NSUInteger number = task.taskIdentifier;
    Transfer& transfer = transfers_[number];
    transfer.task = task;
    transfer.done = std::move(done);
    transfer.begun = scheduler_.awakeTime();
    // The system's own limit starts anew whenever something arrives.
    transfer.limit = scheduler_.after(request.timeout, [this, number] { timeOut(number); });
    [task resume];
    return Subscription([weak = weak_from_this(), number] {
      if (const auto self = weak.lock()) self->cancel(number);
    });
  }

  void received(NSURLSessionTask* task, NSData* part) override {
    const auto found = transfers_.find(task.taskIdentifier);
    if (found != transfers_.end()) found->second.incoming.add(task, part);
  }

  void ended(NSURLSessionTask* task, NSError* error) override {
    auto node = transfers_.extract(task.taskIdentifier);
    if (node.empty()) return;  // cancelled
    Transfer& transfer = node.mapped();
    transfer.done(transfer.incoming.take(task, error, scheduler_.awakeTime() - transfer.begun));
  }

 private:
  struct Transfer {
    NSURLSessionTask* task = nil;
    Done done;
    Duration begun{};
    mac::IncomingAnswer incoming;
    Timer limit;
  };

  NSURLSessionTask* newTask(const HttpRequest& request, std::string& problem) {
    NSMutableURLRequest* made = mac::urlRequestFor(request, problem);
    if (!made) return nil;
    if (request.bodyFile.empty()) {
      if (!request.body.empty()) made.HTTPBody = mac::dataOf(request.body);
      return [session_ dataTaskWithRequest:made];
    }
    NSURL* file = mac::bodyFileOf(request, problem);
    return file ? [session_ uploadTaskWithRequest:made fromFile:file] : nil;
  }

  Subscription refuse(std::string problem, Done done) {
    const auto waiting = std::make_shared<Done>(std::move(done));
    scheduler_.post([waiting, problem = std::move(problem)] {
      if (const Done told = std::exchange(*waiting, nullptr)) told({0, {}, {}, problem});
    });
    return Subscription([waiting] { *waiting = nullptr; });
  }

  void timeOut(NSUInteger number) {
    const auto found = transfers_.find(number);
    if (found != transfers_.end()) found->second.incoming.giveUp(found->second.task, "timed out");
  }

  void cancel(NSUInteger number) {
    const auto node = transfers_.extract(number);
    if (!node.empty()) [node.mapped().task cancel];
  }

  Scheduler& scheduler_;
  NSURLSession* session_ = nil;
  std::map<NSUInteger, Transfer> transfers_;
};

class MacHttp final : public Http {
 public:
  explicit MacHttp(Scheduler& scheduler) : tasks_(std::make_shared<HttpTasks>(scheduler)) {
    tasks_->open();
  }
  ~MacHttp() override { tasks_->close(); }

  Subscription send(HttpRequest request, std::function<void(HttpAnswer)> done) override {
    return tasks_->send(request, std::move(done));
  }
  ServiceReport report() const override {
    return {"http", "NSURLSession", true,
            "https, and whatever the bundle's transport security allows"};
  }

 private:
  std::shared_ptr<HttpTasks> tasks_;
};

}  // namespace

std::unique_ptr<Http> makeMacHttp(Scheduler& scheduler) {
  return std::make_unique<MacHttp>(scheduler);
}

}  // namespace brindle
