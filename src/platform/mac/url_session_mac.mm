#import "platform/mac/url_session_mac.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "platform/mac/mac_support.h"

@interface BrindleUrlDelegate : NSObject <NSURLSessionDataDelegate>
- (instancetype)initWithTasks:(std::weak_ptr<brindle::mac::UrlTasks>)tasks;
@end

@implementation BrindleUrlDelegate {
  std::weak_ptr<brindle::mac::UrlTasks> _tasks;
}
- (instancetype)initWithTasks:(std::weak_ptr<brindle::mac::UrlTasks>)tasks {
  if ((self = [super init])) _tasks = std::move(tasks);
  return self;
}
- (void)URLSession:(NSURLSession*)session
          dataTask:(NSURLSessionDataTask*)task
    didReceiveData:(NSData*)part {
  if (const auto tasks = _tasks.lock()) tasks->received(task, part);
}
- (void)URLSession:(NSURLSession*)session
                    task:(NSURLSessionTask*)task
    didCompleteWithError:(NSError*)error {
  if (const auto tasks = _tasks.lock()) tasks->ended(task, error);
}
- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                    newRequest:(NSURLRequest*)request
             completionHandler:(void (^)(NSURLRequest*))completionHandler {
  completionHandler(nil);
}
@end

namespace brindle::mac {
namespace {

/// A line end would let a value become another header, or the body.
bool isHeaderAllowed(const HttpHeader& header) {
  const auto spoilt = [](std::string_view text) {
    return std::ranges::any_of(text, [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
  };
  return !header.name.empty() && header.name.find(':') == std::string::npos &&
         !spoilt(header.name) && !spoilt(header.value);
}

NSURLRequestCachePolicy policyOf(const HttpRequest& request) {
  return request.reload ? NSURLRequestReloadIgnoringLocalCacheData
                        : NSURLRequestUseProtocolCachePolicy;
}

bool sameText(NSString* one, NSString* other) {
  return one && other && [one caseInsensitiveCompare:other] == NSOrderedSame;
}

/// Whether somebody else was asked in the end, or for something else. Background sessions follow
/// redirects without asking, some of them without the body, and a page that answers such a request
/// with 200 has taken nothing.
bool wasRedirected(NSURLSessionTask* task) {
  NSURLRequest* asked = task.originalRequest;
  NSURLRequest* last = task.currentRequest;
  if (!asked || !last) return false;
  return !sameText(asked.HTTPMethod, last.HTTPMethod) ||
         !sameText(asked.URL.scheme, last.URL.scheme) || !sameText(asked.URL.host, last.URL.host);
}

int statusOf(NSURLSessionTask* task) {
  NSURLResponse* response = task.response;
  if (![response isKindOfClass:NSHTTPURLResponse.class]) return 0;
  return static_cast<int>(static_cast<NSHTTPURLResponse*>(response).statusCode);
}

}  // namespace

NSURLSession* newUrlSession(NSURLSessionConfiguration* configuration,
                            std::weak_ptr<UrlTasks> tasks) {
  configuration.HTTPShouldSetCookies = NO;
  configuration.HTTPCookieStorage = nil;
  configuration.URLCache = nil;
  configuration.URLCredentialStorage = nil;
  BrindleUrlDelegate* delegate = [[BrindleUrlDelegate alloc] initWithTasks:std::move(tasks)];
  return [NSURLSession sessionWithConfiguration:configuration
                                       delegate:delegate
                                  delegateQueue:NSOperationQueue.mainQueue];
}

NSMutableURLRequest* urlRequestFor(const HttpRequest& request, std::string& problem) {
  NSString* address = httpUrlAllowed(request.url) ? textOf(request.url) : nil;
  NSURL* url = address ? [NSURL URLWithString:address] : nil;
  if (!url) {
    problem = "the address is not allowed";
    return nil;
  }
  NSMutableURLRequest* made = [NSMutableURLRequest requestWithURL:url
                                                      cachePolicy:policyOf(request)
                                                  timeoutInterval:secondsOf(request.timeout)];
  made.HTTPMethod = request.method == HttpRequest::Method::post ? @"POST" : @"GET";
  for (const HttpHeader& header : request.headers) {
    NSString* name = isHeaderAllowed(header) ? textOf(header.name) : nil;
    NSString* value = textOf(header.value);
    if (!name || !value) {
      problem = "a header is not allowed";
      return nil;
    }
    [made setValue:value forHTTPHeaderField:name];
  }
  return made;
}

NSURL* bodyFileOf(const HttpRequest& request, std::string& problem) {
  struct stat about {};
  const char* path = request.bodyFile.c_str();
  NSString* name = textOf(request.bodyFile);
  if (name && stat(path, &about) == 0 && S_ISREG(about.st_mode) && access(path, R_OK) == 0) {
    return [NSURL fileURLWithPath:name];
  }
  problem = "the body file cannot be read";
  return nil;
}

void IncomingAnswer::add(NSURLSessionTask* task, NSData* part) {
  if (body_.size() + part.length > Http::longestAnswer) {
    return giveUp(task, "the answer is too long");
  }
  const Bytes more = bytesOf(part);
  body_.insert(body_.end(), more.begin(), more.end());
}

void IncomingAnswer::giveUp(NSURLSessionTask* task, std::string problem) {
  problem_ = std::move(problem);
  [task cancel];
}

HttpAnswer IncomingAnswer::take(NSURLSessionTask* task, NSError* error, Duration elapsed) {
  if (problem_.empty() && error) problem_ = describe(error);
  if (problem_.empty() && wasRedirected(task)) problem_ = "redirected to somebody else";
  const int status = problem_.empty() ? statusOf(task) : 0;
  if (status == 0) return {0, {}, elapsed, problem_.empty() ? "no answer" : problem_};
  return {status, std::move(body_), elapsed, {}};
}

}  // namespace brindle::mac
