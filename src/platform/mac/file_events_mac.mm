#import <CoreServices/CoreServices.h>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"
#include "platform/posix/descriptor.h"

/// Takes the events of one stream. An object, so that the system's own counting keeps it for as
/// long as the stream could still call. Used on the stream's queue only.
@interface BrindleEventSink : NSObject
- (instancetype)initWithExclusions:(std::vector<std::string>)exclusions
                           deliver:(brindle::FileEvents::Deliver)deliver;
- (void)seen:(NSArray<NSString*>*)paths flags:(const FSEventStreamEventFlags*)flags;
- (void)close;
@end

@implementation BrindleEventSink {
  std::vector<std::string> _exclusions;
  brindle::FileEvents::Deliver _deliver;
}
- (instancetype)initWithExclusions:(std::vector<std::string>)exclusions
                           deliver:(brindle::FileEvents::Deliver)deliver {
  if ((self = [super init])) {
    _exclusions = std::move(exclusions);
    _deliver = std::move(deliver);
  }
  return self;
}
- (void)seen:(NSArray<NSString*>*)paths flags:(const FSEventStreamEventFlags*)flags {
  if (!_deliver) return;
  std::vector<brindle::FileEvent> batch;
  batch.reserve(paths.count);
  for (NSString* text in paths) {
    const std::uint32_t now = *flags++;
    std::string path = brindle::mac::stringOf(text);
    // The system takes eight exclusions at most and refuses more altogether.
    const bool excluded = std::ranges::any_of(_exclusions, [&path](const std::string& folder) {
      return path == folder || path.starts_with(folder + "/");
    });
    if (!excluded) batch.push_back({std::move(path), now});
  }
  if (!batch.empty()) _deliver(std::move(batch));
}
- (void)close {
  _deliver = nullptr;
}
@end

namespace brindle {
namespace {

constexpr CFTimeInterval latency = 0.2;  // seconds
/// Not documented; a stream over more of them is not made at all.
constexpr NSUInteger mostPaths = 4096;
constexpr FSEventStreamCreateFlags flags =
    kFSEventStreamCreateFlagUseCFTypes | kFSEventStreamCreateFlagNoDefer |
    kFSEventStreamCreateFlagWatchRoot | kFSEventStreamCreateFlagFileEvents;
static_assert(flags == 0x17);

using Stream = mac::Owned<FSEventStreamRef, FSEventStreamRelease>;

void onEvents(ConstFSEventStreamRef, void* info, std::size_t, void* paths,
              const FSEventStreamEventFlags* each, const FSEventStreamEventId*) {
  [(__bridge BrindleEventSink*)info seen:(__bridge NSArray<NSString*>*)paths flags:each];
}

class MacFileEventStream final : public FileEventStream {
 public:
  MacFileEventStream(Stream stream, dispatch_queue_t queue, BrindleEventSink* sink,
                     std::vector<UnobservedPath> unobserved)
      : stream_(std::move(stream)),
        queue_(queue),
        sink_(sink),
        unobserved_(std::move(unobserved)) {}
  ~MacFileEventStream() override {
    FSEventStreamStop(stream_.get());
    FSEventStreamInvalidate(stream_.get());
    // Behind a batch that is being delivered, before one that the queue may already hold.
    BrindleEventSink* sink = sink_;
    dispatch_sync(queue_, ^{
      [sink close];
    });
  }

  void flush() override { FSEventStreamFlushSync(stream_.get()); }
  std::vector<UnobservedPath> unobserved() const override { return unobserved_; }

 private:
  Stream stream_;  // released last, when nothing can call any more
  dispatch_queue_t queue_;
  BrindleEventSink* sink_;
  const std::vector<UnobservedPath> unobserved_;
};

/// The paths as the system takes them; those it cannot take, or that may not be looked at, are
/// noted. One that is not there is watched all the same: its coming is told.
NSMutableArray<NSString*>* observable(const ObservedPaths& paths,
                                      std::vector<UnobservedPath>& unobserved) {
  NSMutableArray<NSString*>* all = [NSMutableArray array];
  for (const auto* each : {&paths.files, &paths.folders}) {
    for (const std::string& path : *each) {
      NSString* text = mac::textOf(path);
      if (!text) {
        unobserved.push_back({path, "its name is not UTF-8"});
      } else if (all.count == mostPaths) {
        unobserved.push_back(
            {path, "the system observes " + std::to_string(mostPaths) + " items at most"});
      } else if (access(path.c_str(), F_OK) != 0 && (errno == EACCES || errno == EPERM)) {
        unobserved.push_back({path, "the permission to look at it is missing"});
      } else {
        [all addObject:text];
      }
    }
  }
  return all;
}

Stream createStream(NSArray<NSString*>* paths, BrindleEventSink* sink) {
  FSEventStreamContext context{0, (__bridge void*)sink, CFRetain, CFRelease, nullptr};
  return Stream(FSEventStreamCreate(nullptr, onEvents, &context, (__bridge CFArrayRef)paths,
                                    kFSEventStreamEventIdSinceNow, latency, flags));
}

void exclude(FSEventStreamRef stream, const std::vector<std::string>& folders) {
  NSMutableArray<NSString*>* all = [NSMutableArray array];
  for (const std::string& folder : folders) {
    if (NSString* text = mac::textOf(folder)) [all addObject:text];
  }
  // A refusal costs only work: the sink leaves them out as well.
  if (all.count != 0) (void)FSEventStreamSetExclusionPaths(stream, (__bridge CFArrayRef)all);
}

/// Here an opening shows as a date that the system writes to the file as an attribute, which only
/// programs do that open documents: an opening of our own leaves none. So this one only shows that
/// the item may be opened, and its volume says whether such a date can be kept and is told of.
bool openingWouldBeSeen(const std::string& path) {
  const Descriptor opened(uninterrupted(
      [&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
  struct statfs volume {};
  return opened && fstatfs(opened.get(), &volume) == 0 && (volume.f_flags & MNT_LOCAL) != 0 &&
         (volume.f_flags & MNT_RDONLY) == 0;
}

/// Main thread only; the thread that opens just holds it weakly.
struct Probe {
  std::function<void(bool)> done;
  Timer patienceOver;
  void tell(bool seen) {
    patienceOver.cancel();
    if (const auto told = std::exchange(done, nullptr)) told(seen);
  }
};

class MacFileEvents final : public FileEvents {
 public:
  explicit MacFileEvents(Scheduler& scheduler) : scheduler_(scheduler) {}

  Result<std::unique_ptr<FileEventStream>, std::string> open(const ObservedPaths& paths,
                                                             Deliver deliver) override {
    std::vector<UnobservedPath> unobserved;
    NSArray<NSString*>* watched = observable(paths, unobserved);
    if (watched.count == 0) {
      return Failure(unobserved.empty() ? std::string("nothing to observe")
                                        : unobserved.front().why);
    }
    BrindleEventSink* sink = [[BrindleEventSink alloc] initWithExclusions:paths.exclusions
                                                                  deliver:std::move(deliver)];
    Stream stream = createStream(watched, sink);
    if (!stream) return Failure(std::string("the system makes no event stream"));
    exclude(stream.get(), paths.exclusions);
    dispatch_queue_t queue = dispatch_queue_create("brindle.watch", DISPATCH_QUEUE_SERIAL);
    FSEventStreamSetDispatchQueue(stream.get(), queue);
    if (!FSEventStreamStart(stream.get())) {
      FSEventStreamInvalidate(stream.get());
      return Failure(std::string("the system does not start the event stream"));
    }
    return std::make_unique<MacFileEventStream>(std::move(stream), queue, sink,
                                                std::move(unobserved));
  }

  Subscription probe(const std::string& path, std::function<void(bool seen)> done) override {
    const auto probe = std::make_shared<Probe>();
    probe->done = std::move(done);
    const std::weak_ptr<Probe> weak = probe;
    const auto answer = [weak](bool seen) {
      if (const auto waiting = weak.lock()) waiting->tell(seen);
    };
    // An opening may hang on a server that is away, or wait for the person to allow it.
    probe->patienceOver = scheduler_.after(patience, [answer] { answer(false); });
    const std::string item = path;
    dispatch_async(dispatch_queue_create("brindle.probe", DISPATCH_QUEUE_SERIAL), ^{
      const bool seen = openingWouldBeSeen(item);
      mac::onMain([answer, seen] { answer(seen); });
    });
    return Subscription([probe] {
      probe->done = nullptr;
      probe->patienceOver.cancel();
    });
  }

  ServiceReport report() const override {
    return {"file events", "FSEvents", true,
            "an opening under another hard link's name is not told, nor one by a program that does "
            "not open documents"};
  }

 private:
  static constexpr std::chrono::seconds patience{10};
  Scheduler& scheduler_;
};

}  // namespace

std::unique_ptr<FileEvents> makeMacFileEvents(Scheduler& scheduler) {
  return std::make_unique<MacFileEvents>(scheduler);
}

}  // namespace brindle
