#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/memory/apple_sign_in_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/http_memory.h"
#include "platform/memory/opened_links_memory.h"
#include "platform/memory/web_sign_in_memory.h"
#include "service/account.h"
#include "service/form_query.h"
#include "testing/owner_fixture.h"
#include "testing/scripted_service.h"

namespace brindle {

/// An account over memory backends, on virtual time, with a service by script that also plays
/// Google's token endpoint. The terms are agreed to.
class AccountFixture : public OwnerFixture {
 protected:
  using Operation = std::function<void(Account::Done)>;

  void SetUp() override {
    http.setServer(service.server());
    service.always("token", {.body = R"({"id_token":"google-id"})"});
    launch();
    ASSERT_TRUE(account->gate().agree());
  }
  void TearDown() override {
    account.reset();
    EXPECT_EQ(time.pending(), 0U) << "a timer outlives the account";
  }
  void launch() {
    account.reset();
    account = std::make_unique<Account>(
        Account::Services{http, items, worker, preferences, time, crypto, random, web, apple, links,
                          Log(lines), [this] { return guardOn; }},
        settings);
    deletions = account->onDeleted([this](const std::string& mail) { deleted.push_back(mail); });
    account->start();
    time.run();
  }

  /// What the person is told once `then` has happened too; "…" while that is nothing.
  std::string told(
      const Operation& operation, const std::function<void()>& then = [] {}) {
    const auto text = std::make_shared<std::string>("…");
    operation([text](const std::string& message) { *text = message; });
    time.run();
    then();
    time.run();
    return *text;
  }
  std::string googleAnd(const std::function<void()>& then) {
    return told([this](auto done) { account->signInWithGoogle(done); }, then);
  }
  /// "STATE" stands for the state that the browser was given.
  std::string google(std::string query = "code=c%2F1&state=STATE") {
    return googleAnd([&] {
      const auto at = query.find("STATE");
      const std::string state = queryField(web.page(), "state").value_or("");
      web.redirect(at == std::string::npos ? query : query.replace(at, 5, state));
    });
  }
  std::string appleAnd(const std::function<void()>& then) {
    return told([this](auto done) { account->signInWithApple(done); }, then);
  }
  std::string email(const std::string& address = "owner@example.org") {
    return told([&](auto done) { account->signInWithEmail(address, done); });
  }
  std::string signOut() {
    return told([this](auto done) { account->signOut(done); });
  }
  std::string deleteAccount() {
    return told([this](auto done) { account->deleteAccount(done); });
  }
  void open(const std::string& link) {
    links.open(link);
    time.run();
  }
  std::string token() const { return account->session() ? account->session()->token : "none"; }
  std::string state() const { return account->status().state; }
  std::string kept() { return std::string(textOf(stored("brindle.account"))); }
  std::string lastBody(std::string_view path) const {
    const auto all = service.to(path);
    return all.empty() ? "nothing" : std::string(all.back()->text());
  }

  ScriptedService service{time};
  MemoryFiles files;
  MemoryHttp http{time, files};
  MemoryWebSignIn web{time};
  MemoryAppleSignIn apple{time};
  MemoryOpenedLinks links{time};
  bool guardOn = false;
  ServiceSettings settings{"https://service.example",
                           "12-ab.apps.googleusercontent.com",
                           {"https://accounts.example/auth", "https://accounts.example/token"},
                           5,
                           false,
                           ""};
  std::unique_ptr<Account> account;
  std::vector<std::string> deleted;  ///< whose accounts are no more
  Subscription deletions;
};

}  // namespace brindle
