#import <Foundation/Foundation.h>

#include <cerrno>
#include <cstdlib>

#include "platform/file_step.h"
#include "platform/files.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

/// Stands before a bookmark that holds no right to use what it leads to: outside the sandbox the
/// system may refuse to put one in, and none is needed there. Others are kept as they come.
constexpr std::string_view unscopedMark = "unscoped:";

bool isUnscoped(ByteView bookmark) { return textOf(bookmark).starts_with(unscopedMark); }

/// What the system made.
NSData* dataIn(ByteView bookmark) {
  return mac::dataOf(bookmark.subspan(isUnscoped(bookmark) ? unscopedMark.size() : 0));
}

Bookmarks::Problem problemOf(NSError* error) {
  if (![error.domain isEqualToString:NSCocoaErrorDomain]) return Bookmarks::Problem::other;
  switch (error.code) {
    case NSFileNoSuchFileError:
    case NSFileReadNoSuchFileError:
      return Bookmarks::Problem::gone;
    case NSFileReadNoPermissionError:
      return Bookmarks::Problem::denied;
    case NSFileReadCorruptFileError:
      return Bookmarks::Problem::unreadable;
    default:
      return Bookmarks::Problem::other;
  }
}

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

/// The system leaves "/private" out of what it resolves, and tells events with it.
Result<std::string, Bookmarks::Problem> realPath(const std::string& path) {
  const std::unique_ptr<char, FreeText> real(::realpath(path.c_str(), nullptr));
  if (real) return real.get();
  const int error = errno;
  if (error == ENOENT || error == ENOTDIR) return Failure(Bookmarks::Problem::gone);
  if (error == EACCES || error == EPERM) return Failure(Bookmarks::Problem::denied);
  return Failure(Bookmarks::Problem::other);
}

/// Begins the use of what a bookmark leads to; its end gives that back on the very same object.
/// Empty where no right was needed or given.
std::shared_ptr<void> beginAccess(NSURL* url) {
  if (![url startAccessingSecurityScopedResource]) return nullptr;
  return std::shared_ptr<void>((__bridge void*)url,
                               [url](void*) { [url stopAccessingSecurityScopedResource]; });
}

class MacBookmarks final : public Bookmarks {
 public:
  Result<Bytes, Problem> create(const std::string& path) override {
    // Of what a symbolic link leads to: the link stays behind when that moves.
    const auto real = realPath(path);
    if (!real) return Failure(real.error());
    NSString* text = mac::textOf(*real);
    if (!text) return Failure(Problem::other);
    NSURL* url = [NSURL fileURLWithPath:text];
    if (NSData* scoped = bookmarkOf(url, NSURLBookmarkCreationWithSecurityScope, nullptr)) {
      return mac::bytesOf(scoped);
    }
    NSError* error = nil;
    NSData* plain = bookmarkOf(url, 0, &error);
    if (!plain) return Failure(problemOf(error));
    Bytes marked = brindle::bytesOf(unscopedMark);
    const Bytes bytes = mac::bytesOf(plain);
    marked.insert(marked.end(), bytes.begin(), bytes.end());
    return marked;
  }

  Result<ResolvedBookmark, Problem> resolve(ByteView bookmark) override {
    BOOL stale = NO;
    NSError* error = nil;
    std::shared_ptr<void> access;
    NSURL* url = nil;
    if (!isUnscoped(bookmark)) {
      url = resolved(bookmark, NSURLBookmarkResolutionWithSecurityScope, &stale, &error);
      if (url) access = beginAccess(url);
    }
    // A scope belongs to the program as it was signed then; the place is no secret of its own.
    if (!url) url = resolved(bookmark, 0, &stale, &error);
    if (!url) return Failure(problemOf(error));
    auto path = realPath(mac::stringOf(url.path));
    if (!path) return Failure(path.error());
    return ResolvedBookmark{*std::move(path), stale ? true : false, std::move(access)};
  }

  /// What was stored at its making: nothing is looked up, so it works for what is gone, too.
  std::string lastPlace(ByteView bookmark) const override {
    NSDictionary<NSURLResourceKey, id>* stored = [NSURL resourceValuesForKeys:@[ NSURLPathKey ]
                                                             fromBookmarkData:dataIn(bookmark)];
    NSString* text = stored[NSURLPathKey];
    if (!text) return {};
    // The folder as `resolve` would give it; one that is gone stays as it was called.
    const std::string path = mac::stringOf(text);
    const auto folder = realPath(folderOf(path));
    return folder ? joinPath(*folder, nameOf(path)) : path;
  }

  ServiceReport report() const override {
    return {"bookmarks", "Foundation", true, "an item is followed inside its volume"};
  }

 private:
  static NSURL* resolved(ByteView bookmark, NSURLBookmarkResolutionOptions options, BOOL* stale,
                         NSError* __autoreleasing* error) {
    return [NSURL URLByResolvingBookmarkData:dataIn(bookmark)
                                     options:options | NSURLBookmarkResolutionWithoutUI |
                                             NSURLBookmarkResolutionWithoutMounting
                               relativeToURL:nil
                         bookmarkDataIsStale:stale
                                       error:error];
  }
  static NSData* bookmarkOf(NSURL* url, NSURLBookmarkCreationOptions options,
                            NSError* __autoreleasing* error) {
    return [url bookmarkDataWithOptions:options
         includingResourceValuesForKeys:nil
                          relativeToURL:nil
                                  error:error];
  }
};

}  // namespace

std::unique_ptr<Bookmarks> makeMacBookmarks() { return std::make_unique<MacBookmarks>(); }

}  // namespace brindle
