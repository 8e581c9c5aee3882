#pragma once

#import <Foundation/Foundation.h>

#include <memory>
#include <string>

#include "platform/http.h"

namespace brindle::mac {

/// Whoever sent the tasks of a session. Called on the main thread.
class UrlTasks {
 public:
  virtual ~UrlTasks() = default;
  virtual void received(NSURLSessionTask* _Nonnull task, NSData* _Nonnull part) = 0;
  virtual void ended(NSURLSessionTask* _Nonnull task, NSError* _Nullable error) = 0;
};

/// A session that keeps neither cookies nor credentials nor answers, and takes a redirect for the
/// answer where the system asks. It owns its delegate until it is invalidated; the delegate knows
/// `tasks` weakly.
NSURLSession* _Nonnull newUrlSession(NSURLSessionConfiguration* _Nonnull configuration,
                                     std::weak_ptr<UrlTasks> tasks);

/// Nothing for what may not be sent, and `problem` says why. Without the body.
NSMutableURLRequest* _Nullable urlRequestFor(const HttpRequest& request, std::string& problem);

/// Nothing, and `problem` says why, unless it is an ordinary file that can be read.
NSURL* _Nullable bodyFileOf(const HttpRequest& request, std::string& problem);

/// The answer to one task while it comes in.
class IncomingAnswer {
 public:
  /// Gives the task up when its answer becomes too long.
  void add(NSURLSessionTask* _Nonnull task, NSData* _Nonnull part);
  /// The task ends soon, without an answer.
  void giveUp(NSURLSessionTask* _Nonnull task, std::string problem);
  /// At the task's end.
  HttpAnswer take(NSURLSessionTask* _Nonnull task, NSError* _Nullable error, Duration elapsed);

 private:
  Bytes body_;
  std::string problem_;
};

}  // namespace brindle::mac
