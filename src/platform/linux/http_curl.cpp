#include "platform/linux/http_curl.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <list>
#include <map>
#include <span>

#include "platform/posix/descriptor.h"

// libcurl checks the types of options by macros, which cannot read a lambda.
#undef curl_easy_setopt
#undef curl_easy_getinfo
#undef curl_multi_setopt

namespace brindle {
namespace {

/// More at once overflow a small server's queue; with too few, requests that a server leaves
/// hanging would keep an urgent one from leaving.
constexpr long mostConnections = 24;
constexpr Duration longestConnecting = std::chrono::seconds(15);

struct FreeEasy {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct FreeList {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
struct FreeMulti {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

/// A line end would let a value become another header, or the body.
bool headersAllowed(const std::vector<HttpHeader>& headers) {
  const auto spoilt = [](std::string_view text) {
    return std::ranges::any_of(text, [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
  };
  return std::ranges::none_of(headers, [&](const HttpHeader& each) {
    return each.name.empty() || each.name.contains(':') || spoilt(each.name) || spoilt(each.value);
  });
}

std::unique_ptr<curl_slist, FreeList> headerList(const std::vector<HttpHeader>& headers) {
  std::unique_ptr<curl_slist, FreeList> list;
  const auto add = [&](const std::string& line) {
    if (curl_slist* longer = curl_slist_append(list.get(), line.c_str())) {
      (void)list.release();  // the longer list is the same one, or its first
      list.reset(longer);
    }
  };
  // A name before a semicolon is sent without a value; a name before nothing is not sent.
  for (const auto& [name, value] : headers) add(value.empty() ? name + ";" : name + ": " + value);
  // Waiting for "100 Continue" costs a second with servers that do not know it.
  add("Expect:");
  const auto isType = [](const HttpHeader& each) { return each.name == "Content-Type"; };
  if (std::ranges::none_of(headers, isType)) add("Content-Type:");
  return list;
}

long millisecondsAtLeastOne(Duration time) { return std::max(millisecondsOf(time), 1L); }

/// A request under way. libcurl keeps its address.
struct Transfer {
  HttpRequest request;
  std::function<void(HttpAnswer)> done;
  Duration begun{};
  std::unique_ptr<CURL, FreeEasy> easy;
  std::unique_ptr<curl_slist, FreeList> headers;
  Descriptor file;
  curl_off_t bodySize = 0;
  curl_off_t bodySent = 0;
  HttpAnswer answer;
  bool tooLong = false;

  bool openBody();
  std::size_t read(std::span<char> space);
  bool keep(ByteView part);
};

bool Transfer::openBody() {
  bodySize = static_cast<curl_off_t>(request.body.size());
  if (request.bodyFile.empty()) return true;
  file = Descriptor(uninterrupted(
      [&] { return ::open(request.bodyFile.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
  struct stat about {};
  if (!file || ::fstat(file.get(), &about) != 0 || !S_ISREG(about.st_mode)) return false;
  bodySize = about.st_size;
  return true;
}

/// A file that became shorter, or cannot be read any more, ends the request: the length is
/// promised.
std::size_t Transfer::read(std::span<char> space) {
  if (bodySent == bodySize) return 0;
  const std::size_t most = std::min(space.size(), static_cast<std::size_t>(bodySize - bodySent));
  const ssize_t count =
      uninterrupted([&] { return ::pread(file.get(), space.data(), most, bodySent); });
  if (count <= 0) return CURL_READFUNC_ABORT;
  bodySent += count;
  return static_cast<std::size_t>(count);
}

bool Transfer::keep(ByteView part) {
  tooLong = answer.body.size() + part.size() > Http::longestAnswer;
  if (!tooLong) answer.body.insert(answer.body.end(), part.begin(), part.end());
  return !tooLong;
}

size_t onBody(char* bytes, size_t, size_t size, void* transfer) {
  const ByteView part = viewOf({bytes, size});
  return static_cast<Transfer*>(transfer)->keep(part) ? size : 0;
}
size_t onRead(char* space, size_t, size_t size, void* transfer) {
  return static_cast<Transfer*>(transfer)->read({space, size});
}
/// Needed when a kept connection turns out to be closed and the request goes out again.
int onSeek(void* transfer, curl_off_t offset, int origin) {
  if (origin != SEEK_SET) return CURL_SEEKFUNC_CANTSEEK;
  static_cast<Transfer*>(transfer)->bodySent = offset;
  return CURL_SEEKFUNC_OK;
}

void describeBody(Transfer& transfer) {
  CURL* easy = transfer.easy.get();
  curl_easy_setopt(easy, CURLOPT_POST, 1L);
  curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, transfer.bodySize);
  if (!transfer.file) {
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, textOf(transfer.request.body).data());
    // Without an address libcurl would ask for the body.
    if (transfer.request.body.empty()) curl_easy_setopt(easy, CURLOPT_POSTFIELDS, "");
    return;
  }
  curl_easy_setopt(easy, CURLOPT_READFUNCTION, &onRead);
  curl_easy_setopt(easy, CURLOPT_READDATA, &transfer);
  curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, &onSeek);
  curl_easy_setopt(easy, CURLOPT_SEEKDATA, &transfer);
}

void describe(Transfer& transfer, const std::string& authorities) {
  CURL* easy = transfer.easy.get();
  const HttpRequest& request = transfer.request;
  transfer.headers = headerList(request.headers);
  curl_easy_setopt(easy, CURLOPT_PRIVATE, &transfer);
  curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR,
                   request.url.starts_with("https:") ? "https" : "http");
  curl_easy_setopt(easy, CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
  if (isLoopbackUrl(request.url)) curl_easy_setopt(easy, CURLOPT_PROXY, "");
  curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  if (!authorities.empty()) curl_easy_setopt(easy, CURLOPT_CAINFO, authorities.c_str());
  curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  // A name server that hangs holds its own thread only; libcurl would wait for it when we cancel.
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, millisecondsAtLeastOne(request.timeout));
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, millisecondsAtLeastOne(longestConnecting));
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, transfer.headers.get());
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &onBody);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &transfer);
  if (request.method == HttpRequest::Method::post) describeBody(transfer);
}

bool libraryReady() {
  static const bool ready = [] {
    // OpenSSL writes to sockets without MSG_NOSIGNAL; a server that is gone must not end us.
    return std::signal(SIGPIPE, SIG_IGN) != SIG_ERR &&
           curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  }();
  return ready;
}

std::string problemOf(const Transfer& transfer, CURLcode result) {
  return transfer.tooLong ? "the answer is too long" : curl_easy_strerror(result);
}

}  // namespace

/// What libcurl calls back. Shared, so that whatever was posted or handed out finds it gone.
class CurlHttp::Engine : public std::enable_shared_from_this<Engine> {
 public:
  Engine(MainLoop& loop, std::string authorities);

  Subscription send(HttpRequest request, std::function<void(HttpAnswer)> done);
  void stop();
  bool usable() const { return multi_ != nullptr; }

 private:
  using Ref = std::shared_ptr<Transfer>;

  static int onSocket(CURL*, curl_socket_t socket, int what, void* engine, void*);
  static int onTimer(CURLM*, long milliseconds, void* engine);
  /// Why it could not begin; empty when it did.
  std::string begin(const Ref& transfer);
  void act(curl_socket_t socket);
  void collect();
  void end(const Ref& transfer);
  void forget(const Ref& transfer);
  Subscription cancelling(const Ref& transfer);

  MainLoop& loop_;
  std::string authorities_;
  std::unique_ptr<CURLM, FreeMulti> multi_;
  std::list<Ref> transfers_;
  std::map<curl_socket_t, Subscription> watches_;
  curl_socket_t newest_ = CURL_SOCKET_BAD;  ///< the last one that libcurl began to wait for
  Timer timer_;
};

CurlHttp::Engine::Engine(MainLoop& loop, std::string authorities)
    : loop_(loop),
      authorities_(std::move(authorities)),
      multi_(libraryReady() ? curl_multi_init() : nullptr) {
  CURLM* multi = multi_.get();
  curl_multi_setopt(multi, CURLMOPT_SOCKETFUNCTION, &Engine::onSocket);
  curl_multi_setopt(multi, CURLMOPT_SOCKETDATA, this);
  curl_multi_setopt(multi, CURLMOPT_TIMERFUNCTION, &Engine::onTimer);
  curl_multi_setopt(multi, CURLMOPT_TIMERDATA, this);
  curl_multi_setopt(multi, CURLMOPT_MAX_HOST_CONNECTIONS, mostConnections);
  curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, mostConnections);
}

int CurlHttp::Engine::onSocket(CURL*, curl_socket_t socket, int what, void* self, void*) {
  Engine& engine = *static_cast<Engine*>(self);
  engine.watches_.erase(socket);
  if (what == CURL_POLL_REMOVE) return 0;
  const unsigned in = what & CURL_POLL_IN ? POLLIN : 0;
  const unsigned out = what & CURL_POLL_OUT ? POLLOUT : 0;
  engine.newest_ = socket;
  engine.watches_[socket] = engine.loop_.watch(
      socket, in | out, [&engine, socket](std::uint32_t) { engine.act(socket); });
  return 0;
}

int CurlHttp::Engine::onTimer(CURLM*, long milliseconds, void* self) {
  Engine& engine = *static_cast<Engine*>(self);
  engine.timer_.cancel();
  if (milliseconds < 0) return 0;
  engine.timer_ = engine.loop_.after(std::chrono::milliseconds(milliseconds),
                                     [&engine] { engine.act(CURL_SOCKET_TIMEOUT); });
  return 0;
}

/// libcurl looks for itself what came up: an error told as such would make it drop what can still
/// be read.
void CurlHttp::Engine::act(curl_socket_t socket) {
  const auto self = shared_from_this();
  int running = 0;
  curl_multi_socket_action(multi_.get(), socket, 0, &running);
  collect();
}

Subscription CurlHttp::Engine::send(HttpRequest request, std::function<void(HttpAnswer)> done) {
  auto transfer = std::make_shared<Transfer>();
  transfer->request = std::move(request);
  transfer->done = std::move(done);
  transfer->begun = loop_.awakeTime();
  transfers_.push_back(transfer);
  transfer->answer.problem = begin(transfer);
  if (!transfer->answer.problem.empty()) {
    end(transfer);
    return cancelling(transfer);
  }
  // The first turn connects, or sends on a kept connection; the second finds a server on this
  // machine connected already, and sends.
  newest_ = CURL_SOCKET_BAD;
  act(CURL_SOCKET_TIMEOUT);
  if (newest_ != CURL_SOCKET_BAD) act(newest_);
  return cancelling(transfer);
}

std::string CurlHttp::Engine::begin(const Ref& transfer) {
  if (!httpUrlAllowed(transfer->request.url)) return "the address is not allowed";
  if (!headersAllowed(transfer->request.headers)) return "a header is not allowed";
  if (!transfer->openBody()) return "the body file cannot be read";
  transfer->easy.reset(curl_easy_init());
  if (!multi_ || !transfer->easy) return "libcurl cannot be used";
  describe(*transfer, authorities_);
  const CURLMcode added = curl_multi_add_handle(multi_.get(), transfer->easy.get());
  if (added == CURLM_OK) return {};
  transfer->easy.reset();
  return curl_multi_strerror(added);
}

void CurlHttp::Engine::collect() {
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    Transfer* ended = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &ended);
    const CURLcode result = message->data.result;
    const auto found = std::ranges::find(transfers_, ended, &Ref::get);
    if (found == transfers_.end()) continue;
    long status = 0;
    if (result == CURLE_OK) curl_easy_getinfo(ended->easy.get(), CURLINFO_RESPONSE_CODE, &status);
    ended->answer.status = static_cast<int>(status);
    if (result != CURLE_OK) ended->answer.problem = problemOf(*ended, result);
    if (result != CURLE_OK) ended->answer.body.clear();
    end(*found);
  }
}

void CurlHttp::Engine::end(const Ref& transfer) {
  transfer->answer.elapsed = loop_.awakeTime() - transfer->begun;
  loop_.post([weak = weak_from_this(), transfer] {
    const auto self = weak.lock();
    const auto tell = std::exchange(transfer->done, nullptr);
    if (self) self->forget(transfer);
    if (tell) tell(std::move(transfer->answer));
  });
}

/// Never from inside one of libcurl's own calls.
void CurlHttp::Engine::forget(const Ref& transfer) {
  if (transfer->easy) curl_multi_remove_handle(multi_.get(), transfer->easy.get());
  transfer->easy.reset();
  transfers_.remove(transfer);
}

Subscription CurlHttp::Engine::cancelling(const Ref& transfer) {
  return Subscription([weak = weak_from_this(), known = std::weak_ptr(transfer)] {
    const auto self = weak.lock();
    const auto under = known.lock();
    if (!self || !under) return;
    under->done = nullptr;
    self->forget(under);
  });
}

void CurlHttp::Engine::stop() {
  while (!transfers_.empty()) {
    const Ref transfer = transfers_.front();
    transfer->done = nullptr;
    forget(transfer);
  }
  multi_.reset();  // which may still ask for a wait
  timer_.cancel();
  watches_.clear();
}

CurlHttp::CurlHttp(MainLoop& loop, std::string authorities)
    : engine_(std::make_shared<Engine>(loop, std::move(authorities))) {}

CurlHttp::~CurlHttp() { engine_->stop(); }

Subscription CurlHttp::send(HttpRequest request, std::function<void(HttpAnswer)> done) {
  return engine_->send(std::move(request), std::move(done));
}

ServiceReport CurlHttp::report() const {
  const curl_version_info_data* about = curl_version_info(CURLVERSION_NOW);
  std::string detail = std::string("libcurl ") + about->version;
  if (about->ssl_version) detail += std::string(", ") + about->ssl_version;
  const bool secure = (about->features & CURL_VERSION_SSL) != 0;
  return {"network", "libcurl", secure && engine_->usable(), detail};
}

}  // namespace brindle
