#include "platform/linux/http_curl.h"

#include <gtest/gtest.h>
#include <netdb.h>
#include <poll.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <semaphore>
#include <thread>

#include "platform/contract/http_contract.h"
#include "testing/child_process.h"
#include "testing/linux_loop.h"
#include "testing/scripted_service_socket.h"
#include "testing/temporary_folder.h"

namespace {
// A name server that answers nothing until it is told to.
std::binary_semaphore asked(0), hanging(0), ended(0);
}  // namespace

/// In place of the C library's, for libcurl too.
extern "C" int getaddrinfo(const char*, const char*, const addrinfo*, addrinfo**) {
  asked.release();
  hanging.acquire();
  ended.release();
  return EAI_AGAIN;
}

namespace brindle {
namespace {

using std::chrono::milliseconds;

struct CurlBackend {
  LinuxScheduler loop;
  TemporaryFolder folder;
  ScriptedService service{loop};
  ScriptedServiceSocket socket{loop, service};
  std::optional<CurlHttp> curl{std::in_place, loop};

  // An environment's proxy is not asked for this machine itself.
  CurlBackend() { ::setenv("http_proxy", "http://127.0.0.1:9", 1); }
  Http& http() { return *curl; }
  std::string url() const { return socket.url(); }
  std::string put(const std::string& name, const Bytes& bytes) {
    std::ofstream(folder / name, std::ios::binary) << textOf(bytes);
    return folder / name;
  }
  bool until(const std::function<bool()>& done) { return runUntil(loop, done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Curl, HttpContract, CurlBackend);

class CurlHttpTest : public HttpContract<CurlBackend> {
 protected:
  /// Nothing is ready, and no timer of this process is armed, as the kernel tells it.
  bool quiet() {
    backend.loop.processReady();
    pollfd waiting{backend.loop.fd(), POLLIN, 0};
    if (::poll(&waiting, 1, 0) != 0) return false;
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
      std::ifstream file(each.path());
      const std::string about(std::istreambuf_iterator<char>(file), {});
      if (about.contains("it_value: (") && !about.contains("it_value: (0, 0)")) return false;
    }
    return true;
  }
};

TEST_F(CurlHttpTest, TheRequestHasLeftWhenSendReturns) {
  LinuxScheduler far;  // only the server lives here: the client's loop stands still meanwhile
  ScriptedService there(far);
  ScriptedServiceSocket socket(far, there);
  for (const std::size_t times : {1u, 2u}) {
    Answers answers;
    HttpRequest request = to("");
    request.url = socket.url() + "/api/watch/pending";
    request.body = Bytes(500, 'x');
    const Subscription sent = send(request, answers);
    EXPECT_TRUE(runUntil(far, [&] { return there.requests().size() == times; }));
    EXPECT_TRUE(backend.until([&] { return !answers.empty(); }));
    EXPECT_EQ(socket.accepted(), 1u) << "a kept connection is used again";
  }
}

TEST_F(CurlHttpTest, IdleItWaitsForNothingAndAKeptConnectionThatEndedIsReplaced) {
  HttpRequest upload = to("api/alert");
  upload.bodyFile = backend.put("body", Bytes(200'000, 7));
  for (const bool underTheRequest : {false, true}) {
    EXPECT_EQ(answerTo(to("api/terms")).status, 200);
    EXPECT_TRUE(quiet());
    if (underTheRequest) service().once("api/alert", {.status = 0});
    if (!underTheRequest) backend.socket.closeConnections();
    EXPECT_TRUE(quiet()) << "nobody is told that a kept connection ended";
    EXPECT_EQ(answerTo(upload).status, 200);
    EXPECT_TRUE(last().body == Bytes(200'000, 7)) << "not whole";
  }
}

TEST_F(CurlHttpTest, ItMayEndWithRequestsUnderWayAndWithAnswersNotYetTold) {
  service().always("api/watch", {.held = true});
  Answers answers;
  Subscription held = send(to("api/watch/pending"), answers);
  ASSERT_TRUE(backend.until([&] { return service().held() == 1; }));
  Subscription early = send(HttpRequest{}, answers);
  backend.curl.reset();
  backend.loop.processReady();
  EXPECT_TRUE(answers.empty());
}

TEST_F(CurlHttpTest, ANameServerThatHangsHoldsUpNobody) {
  HttpRequest request = to("");
  request.url = "https://service.invalid/api/watch/pending";
  Answers answers;
  for (const bool cancelled : {true, false}) {
    Subscription sent = send(request, answers);
    ASSERT_TRUE(asked.try_acquire_for(std::chrono::seconds(10)));
    std::thread rescue([] {
      // Whoever waits for the name server, waits this long.
      if (!ended.try_acquire_for(std::chrono::seconds(3))) hanging.release();
    });
    const Duration before = backend.loop.awakeTime();
    if (cancelled) sent.end();
    EXPECT_TRUE(cancelled || backend.until([&] { return !answers.empty(); }));
    EXPECT_LT(backend.loop.awakeTime() - before, std::chrono::seconds(2));
    hanging.release();
    rescue.join();
  }
  EXPECT_EQ(answers.at(0).status, 0);
}

TEST_F(CurlHttpTest, RefusesHeadersThatWouldBecomeOthersAndFilesThatShrink) {
  HttpRequest split = to("api/alert");
  for (const HttpHeader& bad : {HttpHeader{"A", "1\r\nB: 2"}, HttpHeader{"A: 1\nB", "2"}}) {
    split.headers = {bad};
    EXPECT_EQ(answerTo(split).problem, "a header is not allowed");
  }
  HttpRequest request = to("api/alert");
  request.bodyFile = backend.put("shrinks", Bytes(30'000'000, 1));
  Answers answers;
  const Subscription sent = send(request, answers);
  std::filesystem::resize_file(request.bodyFile, 1000);
  EXPECT_TRUE(backend.until([&] { return !answers.empty() && answers[0].status == 0; }));
  EXPECT_TRUE(service().requests().empty());
}

TEST_F(CurlHttpTest, OnlyACertificateThatIsTrustedForTheHostIsAccepted) {
  const std::string cert = backend.folder / "cert.pem", key = backend.folder / "key.pem";
  ASSERT_EQ(bash("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2"
                 " -subj /CN=test -addext subjectAltName=IP:127.0.0.1 -keyout " +
                 key + " -out " + cert + " 2>/dev/null"),
            0);
  const std::string pipe = backend.folder / "said";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const ChildProcess server({"bash", "-c",
                             "exec openssl s_server -accept 127.0.0.1:0 -www -cert " + cert +
                                 " -key " + key + " >" + pipe + " 2>&1"});
  std::ifstream said(pipe);
  std::string port;
  while (port != "ACCEPT" && said >> port) {
  }
  said >> port;
  port.erase(0, port.find(':') + 1);
  HttpRequest request = to("");
  request.method = HttpRequest::Method::get;
  request.timeout = std::chrono::seconds(10);
  request.url = "https://127.0.0.1:" + port + "/";
  EXPECT_NE(answerTo(request).problem.find("certificate"), std::string::npos);
  backend.curl.emplace(backend.loop, cert);
  EXPECT_EQ(answerTo(request).status, 200);
  request.url = "https://localhost:" + port + "/";
  EXPECT_EQ(answerTo(request).status, 0) << "a certificate for another name";
}

}  // namespace
}  // namespace brindle
