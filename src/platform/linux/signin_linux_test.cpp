#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <mutex>

#include "platform/contract/browser_contract.h"
#include "platform/contract/push_registration_contract.h"
#include "platform/contract/web_sign_in_contract.h"
#include "platform/linux/push_registration_linux.h"
#include "platform/linux/web_sign_in_linux.h"
#include "platform/memory/opened_links_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/random_memory.h"
#include "testing/private_bus.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

/// Minutes pass when the test says so; all else is the real loop.
struct HurriedLoop final : LinuxScheduler {
  VirtualScheduler minutes;
  Timer after(Duration delay, Task task) override {
    return delay < std::chrono::seconds(5) ? LinuxScheduler::after(delay, std::move(task))
                                           : minutes.after(delay, std::move(task));
  }
};

/// A browser's connection to the loopback address in `uri`.
class Visit {
 public:
  Visit(const std::string& uri, const std::string& request)
      : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const std::string_view host = "http://127.0.0.1:";
    EXPECT_TRUE(uri.starts_with(host)) << uri;
    address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(uri.substr(host.size()))));
    connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    send(request);
  }
  void send(const std::string& text) {
    ::send(socket_.get(), text.data(), text.size(), MSG_NOSIGNAL);
  }
  /// All that was answered, once the other end has closed.
  std::optional<std::string> answer() {
    std::array<char, 4096> piece{};
    const auto size = recv(socket_.get(), piece.data(), piece.size(), 0);
    if (size > 0) said_.append(piece.data(), static_cast<std::size_t>(size));
    return size == 0 || (size < 0 && errno == ECONNRESET) ? std::optional(said_) : std::nullopt;
  }

 private:
  Descriptor socket_;
  std::string said_;
};

/// A desktop whose only programs are those that a test puts there.
struct SignInDesktop : DesktopOf<HurriedLoop> {
  MemoryOpenedLinks links{scheduler};
  LinuxWebSignIn all{scheduler, links, session, Log(lines)};
  std::string path = std::getenv("PATH");
  std::string programs = bus.folder() + "/bin";
  std::string opened = bus.folder() + "/opened";

  SignInDesktop() {
    std::filesystem::create_directory(programs);
    setenv("PATH", programs.c_str(), 1);
  }
  ~SignInDesktop() { setenv("PATH", path.c_str(), 1); }
  void putXdgOpen(const std::string& end) {
    const std::string program = programs + "/xdg-open";
    // Written aside: one that an earlier page started may still run.
    std::ofstream(program) << "#!/bin/sh\nexec 2>/dev/null\necho \"$#$1\" >" << opened
                           << ".$$\n/bin/mv " << opened << ".$$ " << opened << "\n"
                           << end << "\n";
    chmod(program.c_str(), 0700);
  }
  /// The one page that xdg-open was started with; empty before.
  std::string shown() {
    std::string line;
    std::getline(std::ifstream(opened), line);
    return line.starts_with('1') ? line.substr(1) : "";
  }
  /// The address in it.
  std::string redirectUri() {
    EXPECT_TRUE(until([&] { return !shown().empty(); }));
    EXPECT_TRUE(shown().starts_with("https://sign.in/?redirect=")) << shown();
    return shown().substr(shown().find('=') + 1);
  }
  WebSignIn& signIn() { return all; }
  void loseInterest() { scheduler.minutes.advance(std::chrono::minutes(10)); }
};

struct XdgOpenBackend : SignInDesktop {
  std::list<Visit> visits;
  XdgOpenBackend() { putXdgOpen("exit 0"); }
  void comeBack(const std::string& query) {
    const std::string uri = redirectUri();
    visits.emplace_back(uri, "GET /oauth2redirect?" + query + " HTTP/1.1\r\nHost: x\r\n\r\n");
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(XdgOpen, WebSignInContract, XdgOpenBackend);

struct XdgBrowserBackend : SignInDesktop {
  LinuxBrowser own{scheduler, session, Log(lines)};
  XdgBrowserBackend() { putXdgOpen("exit 0"); }
  Browser& browser() { return own; }
  void breakDown() { putXdgOpen("exit 4"); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(XdgOpen, BrowserContract, XdgBrowserBackend);

using Options = std::map<std::string, sdbus::Variant>;

class PortalPeer : public Peer {
 public:
  explicit PortalPeer(const std::string& address)
      : Peer(address, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop") {
    object()
        .registerMethod("OpenURI")
        .onInterface("org.freedesktop.portal.OpenURI")
        .implementedAs([this](const std::string&, const std::string& page, const Options& options) {
          {
            const std::lock_guard lock(mutex_);
            page_ = page;
          }
          std::string sender = object().getCurrentlyProcessedMessage()->getSender().substr(1);
          std::ranges::replace(sender, '.', '_');
          const sdbus::ObjectPath path = "/org/freedesktop/portal/desktop/request/" + sender + "/" +
                                         options.at("handle_token").get<std::string>();
          if (answer >= 0) respond(path, static_cast<std::uint32_t>(answer));
          return path;
        });
    serve();
  }
  ~PortalPeer() override { end(); }
  std::string page() {
    const std::lock_guard lock(mutex_);
    return page_;
  }
  std::atomic<int> answer = -1;

 private:
  std::mutex mutex_;
  std::string page_;
  void respond(const sdbus::ObjectPath& path, std::uint32_t how) {
    const auto request = sdbus::createObject(connection(), path);
    auto response = request->createSignal("org.freedesktop.portal.Request", "Response");
    response << how << Options();
    request->emitSignal(response);
  }
};

struct PortalBackend : SignInDesktop {
  PortalPeer portal{bus.address()};
  PortalBackend() {
    links.setRegistered("com.corvane.test");
    EXPECT_TRUE(until([&] { return all.report().answered; }));
  }
  void comeBack(const std::string& query) {
    links.open("com.corvane.test:/oauth2redirected");
    links.open("com.corvane.test:/oauth2redirect?" + query);
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Portal, WebSignInContract, PortalBackend);

struct PortalBrowserBackend : PortalBackend {
  LinuxBrowser own{scheduler, session, Log(lines)};
  Browser& browser() { return own; }
  std::string shown() { return portal.page(); }
  void breakDown() { portal.answer = 2; }  // and there is no xdg-open
};
INSTANTIATE_TYPED_TEST_SUITE_P(Portal, BrowserContract, PortalBrowserBackend);

using PortalTest = WebSignInContract<PortalBackend>;

TEST_F(PortalTest, APersonWhoDeclinesCancelsAndAPortalThatCannotLeavesItToXdgOpen) {
  backend.portal.answer = 1;
  auto subscription = begin();
  ASSERT_TRUE(ended(1));
  EXPECT_EQ(ends[0].how, WebSignInEnd::How::cancelled);
  backend.portal.answer = 2;
  backend.putXdgOpen("exit 4");
  subscription = begin();
  EXPECT_EQ(backend.redirectUri(), "com.corvane.test:/oauth2redirect");
  ASSERT_TRUE(ended(2));
  EXPECT_EQ(ends[1].problem, "xdg-open ended with 4");
}

using LoopbackTest = WebSignInContract<XdgOpenBackend>;

TEST_F(LoopbackTest, OnlyAWholeGetOfTheOnePathComesBackAndNobodyHoldsItUp) {
  const auto subscription = begin();
  const std::pair<std::string, std::string> rows[] = {
      {"GET /favicon.ico HTTP/1.1\r\n\r\n", "404"},
      {"POST /oauth2redirect?code=1 HTTP/1.1\r\n\r\n", "404"},
      {"GET /" + std::string(20000, 'a'), "431"}};
  std::optional<std::string> said;
  for (const auto& [request, answer] : rows) {
    Visit visit(redirectUri, request);
    ASSERT_TRUE(backend.until([&] { return (said = visit.answer()).has_value(); }));
    EXPECT_TRUE(said->starts_with("HTTP/1.1 " + answer)) << request << *said;
  }
  Visit slow(redirectUri, "GET /oauth2redirect?code=");
  Visit inPieces(redirectUri, "GET /oauth2redirect?co");
  backend.until([] { return true; });
  backend.scheduler.minutes.advance(std::chrono::seconds(9));
  EXPECT_TRUE(ends.empty());
  inPieces.send("de=1 HTTP/1.1\r\nAccept: */*\r\n\r\n");
  ASSERT_TRUE(backend.until([&] { return (said = inPieces.answer()).has_value(); }));
  EXPECT_NE(said->find("You can close this window."), said->npos);
  ASSERT_TRUE(ended(1));
  EXPECT_EQ(ends[0].link, redirectUri + "?code=1");
  ASSERT_TRUE(backend.until([&] { return slow.answer().has_value(); })) << "closed behind it";
}

class DistributorPeer : public Peer {
 public:
  explicit DistributorPeer(const std::string& address)
      : Peer(address, "org.unifiedpush.Distributor.test", "/org/unifiedpush/Distributor"),
        caller_(sdbus::createSessionBusConnectionWithAddress(address)) {
    object()
        .registerMethod("Register")
        .onInterface("org.unifiedpush.Distributor1")
        .implementedAs([this](const std::string&, const std::string& token,
                              const std::string&) -> std::tuple<std::string, std::string> {
          const std::lock_guard lock(mutex_);
          tokens_.push_back(token);
          if (endpoint_.empty()) return {"REGISTRATION_FAILED", "no server"};
          tell(token, "NewEndpoint", endpoint_);
          return {"REGISTRATION_SUCCEEDED", ""};
        });
    serve();
  }
  ~DistributorPeer() override { end(); }
  void give(const std::string& endpoint) {
    {
      const std::lock_guard lock(mutex_);
      endpoint_ = endpoint;
    }
    call("NewEndpoint", endpoint);
  }
  std::vector<std::string> tokens() {
    const std::lock_guard lock(mutex_);
    return tokens_;
  }
  /// To whoever registered last.
  template <class... More>
  void call(const std::string& method, const More&... more) {
    const std::lock_guard lock(mutex_);
    if (!tokens_.empty()) tell(tokens_.back(), method, more...);
  }
  template <class... More>
  void tell(const std::string& token, const std::string& method, const More&... more) {
    sdbus::createProxy(*caller_, "com.corvane.brindle", "/org/unifiedpush/Connector")
        ->callMethod(method)
        .onInterface("org.unifiedpush.Connector1")
        .withArguments(token, more...)
        .dontExpectReply();
  }

 private:
  std::unique_ptr<sdbus::IConnection> caller_;
  std::mutex mutex_;
  std::string endpoint_;
  std::vector<std::string> tokens_;
};

struct PushBackend : Desktop {
  DistributorPeer distributor{bus.address()};
  MemoryPreferences preferences;
  MemoryRandom random;
  std::unique_ptr<LinuxPushRegistration> all = make();

  std::unique_ptr<LinuxPushRegistration> make() {
    return std::make_unique<LinuxPushRegistration>(session, preferences, random, Log(lines));
  }
  PushRegistration& push() { return *all; }
  void give(const std::string& endpoint) { distributor.give(endpoint); }
  void takeBack() { distributor.call("Unregistered"); }
  void send(const Bytes& message) { distributor.call("Message", message, std::string("id")); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(UnifiedPush, PushRegistrationContract, PushBackend);

using UnifiedPushTest = PushRegistrationContract<PushBackend>;

TEST_F(UnifiedPushTest, OnlyOurTokenIsBelievedItIsKeptAndARefusalIsTold) {
  backend.distributor.leave();
  auto subscription = listen();
  ASSERT_TRUE(says("none"));
  backend.distributor.comeBack();
  said.clear();
  subscription = listen();
  ASSERT_TRUE(says("none"));
  backend.give("https://push.test/1");
  ASSERT_TRUE(says("https://push.test/1"));
  backend.distributor.tell("guess", "NewEndpoint", std::string("https://evil.test/"));
  backend.distributor.tell("guess", "Message", bytesOf("boo"), std::string());
  backend.give("http://no.tls/");
  backend.send(bytesOf("last"));
  ASSERT_TRUE(says("last"));
  EXPECT_EQ(said, (std::vector<std::string>{"none", "https://push.test/1", "last"}));

  backend.give("https://push.test/2");
  subscription.end();
  backend.all.reset();
  backend.all = backend.make();
  subscription = listen();
  ASSERT_TRUE(says("https://push.test/2"));
  const auto tokens = backend.distributor.tokens();
  ASSERT_EQ(tokens.size(), 2U);
  EXPECT_EQ(tokens[0], tokens[1]);
}

}  // namespace
}  // namespace brindle
