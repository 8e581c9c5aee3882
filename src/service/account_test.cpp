#include "service/account.h"

#include "base/reference_date.h"
#include "service/pkce.h"
#include "service/session_json.h"
#include "testing/account_fixture.h"

namespace brindle {
namespace {

class AccountTest : public AccountFixture {};

constexpr const char* tryAgain = "Couldn't sign you in. Try again.";
constexpr const char* googleFailed = "Google sign-in didn't finish. Try again.";
constexpr const char* notReachable = "Couldn't reach Brindle. Check your connection.";

TEST_F(AccountTest, GoogleGivesASessionThatLastsOverARelaunch) {
  int changes = 0;
  const auto subscription = account->onSessionChange([&] { ++changes; });
  EXPECT_EQ(google(), "");
  EXPECT_TRUE(web.page().starts_with("https://accounts.example/auth?client_id=12-ab.apps."));
  const std::string uri = "com.googleusercontent.apps.12-ab:/oauth2redirect";
  for (const auto& [name, value] : FormFields{{"redirect_uri", uri},
                                              {"response_type", "code"},
                                              {"scope", "openid email"},
                                              {"code_challenge_method", "S256"},
                                              {"prompt", "select_account"}}) {
    EXPECT_EQ(queryField(web.page(), name), value);
  }
  const std::string form = lastBody("token");
  const auto verifier = queryField("?" + form, "code_verifier");
  ASSERT_TRUE(verifier);
  EXPECT_EQ(queryField(web.page(), "code_challenge"), codeChallenge(crypto, *verifier));
  EXPECT_EQ(form, formEncoded({{"grant_type", "authorization_code"},
                               {"code", "c/1"},
                               {"code_verifier", *verifier},
                               {"client_id", settings.googleClientId},
                               {"redirect_uri", uri}}));
  EXPECT_EQ(service.to("token")[0]->header("Content-Type"), "application/x-www-form-urlencoded");
  EXPECT_EQ(lastBody("api/auth/google"), R"({"idToken":"google-id"})");
  EXPECT_EQ(service.to("api/auth/google")[0]->header("Authorization"), "");

  const Session expected{"scripted-token", "owner@example.org", "Google", "2026-10-07.2",
                         time.wallTime()};
  EXPECT_EQ(account->session(), expected);
  EXPECT_EQ(stored(), writeSession(expected));
  EXPECT_EQ(preferences.text("agreement.version"), "2026-10-07.2");
  EXPECT_EQ(preferences.real("agreement.at"), secondsSince1970(time.wallTime()));
  EXPECT_EQ(changes, 1);
  launch();
  EXPECT_EQ(account->session(), expected);
  EXPECT_EQ(account->status(),
            (AccountStatus{"session", "owner@example.org", "Google", "", true, false}));
  EXPECT_EQ(lines.all().find("scripted-token"), std::string::npos);
}

TEST_F(AccountTest, AGoogleSignInThatFailsLeavesTheSessionAsItWas) {
  ASSERT_EQ(google(), "");
  service.token = "another";
  EXPECT_EQ(google("code=1&state=forged"), googleFailed);
  EXPECT_TRUE(lines.has("google sign-in: not finished, another state came back"));
  EXPECT_EQ(google("state=STATE&error=access_denied"), googleFailed);
  EXPECT_EQ(google("code=1&code=2&state=STATE"), googleFailed);
  EXPECT_EQ(service.to("token").size(), 1U) << "only a code that came with our state is exchanged";
  service.once("token", {.status = 400});
  EXPECT_EQ(google(), googleFailed);
  EXPECT_TRUE(lines.has("google sign-in: no ID token, HTTP 400"));

  const auto begun = [&](const std::function<void()>& then) {
    const Told told;
    account->signInWithGoogle(told.done());
    time.run();
    EXPECT_TRUE(account->status().signingIn);
    then();
    time.run();
    return *told.text;
  };
  EXPECT_EQ(begun([&] { web.cancel(); }), googleFailed);
  EXPECT_EQ(begun([&] { web.fail("no browser"); }), googleFailed);
  EXPECT_TRUE(lines.has("google sign-in: no browser session, no browser"));
  EXPECT_EQ(begun([&] { account->cancelSignIn(); }), tryAgain);
  EXPECT_FALSE(web.waiting()) << "given up in the browser too";
  random.setFailing(true);
  EXPECT_EQ(toldBy([&](Account::Done done) { account->signInWithGoogle(done); }), googleFailed);
  random.setFailing(false);
  EXPECT_EQ(token(), "scripted-token");

  settings.googleClientId.clear();
  launch();
  EXPECT_EQ(toldBy([&](Account::Done done) { account->signInWithGoogle(done); }),
            "Google sign-in isn't available yet. Use Apple or email.");
}

TEST_F(AccountTest, AppleIsToldTheHashOfTheNonceAndTheServiceTheNonce) {
  const auto run = [&](const std::function<void()>& then) {
    const Told told;
    account->signInWithApple(told.done());
    time.run();
    then();
    time.run();
    return *told.text;
  };
  EXPECT_EQ(run([&] { apple.cancel(); }), tryAgain);
  EXPECT_TRUE(lines.has("apple sign-in: not finished, cancelled true: "));
  EXPECT_EQ(run([&] { apple.authorize("apple-id"); }), "");
  const std::string body = lastBody("api/auth/apple");
  const std::string before = R"({"identityToken":"apple-id","nonce":")";
  ASSERT_TRUE(body.starts_with(before)) << body;
  EXPECT_EQ(sha256Hex(crypto, std::string_view(body).substr(before.size(), 43)), apple.nonceHash());
  EXPECT_EQ(account->status().provider, "Apple");
  apple.setAvailable(false);
  EXPECT_EQ(run([] {}), "Signing in with Apple isn't available here. Use Google or email.");
}

TEST_F(AccountTest, AnEmailLinkWorksOnceAndAfterARelaunch) {
  EXPECT_EQ(email(" owner@example.org "), "");
  EXPECT_EQ(state(), "pending");
  const std::string code = preferences.text("account.pendingState").value();
  EXPECT_EQ(lastBody("api/verify-start"),
            R"({"email":"owner@example.org","state":")" + code + R"("})");
  launch();
  EXPECT_EQ(account->status().email, "owner@example.org");
  open("brindle:/verify?code=1&state=forged");
  open("brindle:/verify?state=" + code);
  open("other:/verify?code=1&state=" + code);
  EXPECT_EQ(lines.count("sign-in link: not taken, awaited true, whole true"), 1U);
  EXPECT_TRUE(service.to("api/verify-finish").empty());

  const std::string link = "brindle://verify?code=c1&state=" + code;
  service.once("api/verify-finish", {.status = 0});
  open(link);
  EXPECT_EQ(account->status().notice, notReachable);
  EXPECT_EQ(state(), "pending") << "the link can be followed again";
  service.once("api/verify-finish", {.body = service.usualReply("api/verify-finish").body,
                                     .delay = std::chrono::seconds(1)});
  open(link);
  open(link);
  time.advance(std::chrono::seconds(1));
  EXPECT_EQ(lastBody("api/verify-finish"), R"({"code":"c1","state":")" + code + R"("})");
  EXPECT_EQ(service.to("api/verify-finish").size(), 2U) << "a double click posts once";
  EXPECT_EQ(account->status(),
            (AccountStatus{"session", "owner@example.org", "Email", "", true, false}));
  open(link);
  EXPECT_EQ(service.to("api/verify-finish").size(), 2U) << "a replayed link is nobody's";
  EXPECT_TRUE(lines.has("sign-in link: not taken, awaited false, whole true"));
}

TEST_F(AccountTest, ARefusedLinkIsNotAwaitedAnyMore) {
  ASSERT_EQ(email(), "");
  service.once("api/verify-finish", {.status = 410, .body = "{}"});
  open("brindle:/v?code=1&state=" + preferences.text("account.pendingState").value());
  EXPECT_EQ(state(), "");
  EXPECT_EQ(account->status().notice, tryAgain);
  for (const char* wrong : {"", "owner", "@example.org", "owner@", "a@b@c", "a b@c"}) {
    EXPECT_EQ(email(wrong), "That doesn't look like an email address.") << wrong;
  }
  preferences.setFailing(true);
  EXPECT_EQ(email(),
            "Brindle couldn't save this. Check the disk and the keychain, then try again.");
  preferences.setFailing(false);
  EXPECT_EQ(service.to("api/verify-start").size(), 1U);
}

TEST_F(AccountTest, EachErrorOfTheServiceHasItsWords) {
  const struct {
    int status;
    const char* body;
    const char* message;
    const char* whileOn;
  } cases[] = {
      {400, R"({"error":"no_email"})",
       "Brindle needs your email address to send alerts. Try again and share your email.", ""},
      {409, R"({"error":"terms_changed"})",
       "Brindle's terms have changed. Agree to the new terms, then try again.",
       "Brindle's terms have changed. Turn Brindle off and agree to the new terms, then try "
       "again."},
      {429, R"({"error":"too_many"})", "Too many tries. Wait a little, then try again.", ""},
      {503, R"({"error":"google_not_configured"})",
       "Google sign-in isn't available yet. Use Apple or email.", ""},
      {400, R"({"error":"bad_email"})", "That doesn't look like an email address.", ""},
      {502, R"({"error":"send_failed"})", "Couldn't send the email. Try again shortly.", ""},
      {0, "", notReachable, ""},
      {500, "<html>", tryAgain, ""},
      {400, R"({"error":7})", tryAgain, ""},
      {200, R"({"token":"t"})", tryAgain, ""},
      {204, R"({"token":"t","email":"e"})", tryAgain, ""},
  };
  for (const auto& each : cases) {
    for (const bool on : {false, true}) {
      guardOn = on;
      service.once("api/auth/google", {.status = each.status, .body = each.body});
      const std::string_view message = on && *each.whileOn ? each.whileOn : each.message;
      EXPECT_EQ(google(), message) << each.body;
      EXPECT_EQ(token(), "none");
      if (each.status == 200 || each.status == 204) continue;
      service.once("api/verify-start", {.status = each.status, .body = each.body});
      EXPECT_EQ(email(), message) << each.body;
      EXPECT_EQ(state(), "");
    }
  }
  EXPECT_TRUE(lines.has("account: not signed in with Google, HTTP 429"));
}

TEST_F(AccountTest, ANewSignInGivesUpTheOneBefore) {
  const Told first;
  ScriptedReply late = service.usualReply("api/auth/google");
  late.delay = std::chrono::seconds(5);
  service.once("api/auth/google", late);
  account->signInWithGoogle(first.done());
  time.run();
  redirect("code=1&state=STATE");
  EXPECT_EQ(email(), "");
  EXPECT_EQ(*first.text, googleFailed);
  time.advance(std::chrono::seconds(6));
  EXPECT_EQ(state(), "pending") << "what the service says late is not taken";

  // One that is being stored is not given up any more.
  worker.hold();
  EXPECT_EQ(google(), "…");
  EXPECT_EQ(email(), tryAgain);
  preferences.setFailing(true);
  worker.release();
  time.run();
  EXPECT_TRUE(lines.has("account: time of agreement not stored")) << lines.all();
  EXPECT_TRUE(lines.has("sign-in link: could not be forgotten"));
  preferences.setFailing(false);
  EXPECT_EQ(token(), "scripted-token");

  settings.serviceURL.clear();
  launch();
  EXPECT_EQ(email(), "No alert service is set up. Brindle guards this machine without an account.");
}

TEST_F(AccountTest, WhoseAccountItIsShowsBeforeTheKeychainAnswers) {
  EXPECT_EQ(account->accountEmail(), "");
  ASSERT_EQ(google(), "");
  worker.hold();
  launch();
  EXPECT_EQ(token(), "none");
  EXPECT_EQ(account->accountEmail(), "owner@example.org");
  worker.release();
  time.run();
  EXPECT_EQ(signOut(), "");
  worker.hold();
  launch();
  EXPECT_EQ(account->accountEmail(), "");
  worker.release();
}

TEST_F(AccountTest, SigningOutHoldsWhateverTheKeychainSays) {
  ASSERT_EQ(google(), "");
  preferences.setFailing(true);
  EXPECT_NE(signOut(), "");
  EXPECT_EQ(state(), "session") << "not half signed out";
  preferences.setFailing(false);
  keychain.failNextRemove(keychain_code::authFailed);
  EXPECT_EQ(signOut(), "");
  EXPECT_EQ(token(), "none");
  EXPECT_TRUE(lines.has("account: session not removed, -25293, trying at the next start"));
  EXPECT_NE(stored(), "");
  launch();
  EXPECT_EQ(account->status(), (AccountStatus{"", "", "", "", true, false}));
  EXPECT_EQ(stored(), "");
  EXPECT_EQ(google(), "");
  launch();
  EXPECT_EQ(token(), "scripted-token");
}

TEST_F(AccountTest, ATroubledKeychainSignsNobodyInOrOut) {
  keychain.failNextWrite(keychain_code::io);
  EXPECT_EQ(google(),
            "Brindle couldn't save this. Check the disk and the keychain, then try again.");
  EXPECT_TRUE(lines.has("account: session not saved, -36"));
  EXPECT_EQ(token(), "none");
  ASSERT_EQ(google(), "");
  keychain.setLocked(true);
  launch();
  EXPECT_FALSE(account->status().loaded);
  time.advance(std::chrono::minutes(10));
  EXPECT_EQ(lines.count("account: session not read, -25308"), 1U);
  keychain.setLocked(false);
  time.advance(std::chrono::minutes(1));
  EXPECT_EQ(token(), "scripted-token");
  ASSERT_EQ(keychain.write(here, item, viewOf("{")), keychain_code::success);
  launch();
  EXPECT_EQ(token(), "none");
  EXPECT_TRUE(lines.has("account: session not understood, kept until the next sign-in"));
  EXPECT_EQ(stored(), "{");
}

TEST_F(AccountTest, ADeletionGoesOnUntilTheServiceConfirmsIt) {
  const std::string deleting =
      "Deleting your account. Brindle keeps trying until your web vault data is gone.";
  EXPECT_EQ(deleteAccount(), "Nobody is signed in.");
  ASSERT_EQ(google(), "");
  preferences.setFailing(true);
  EXPECT_NE(deleteAccount(), "");
  EXPECT_EQ(state(), "session") << "what cannot be noted down is not begun";
  preferences.setFailing(false);

  service.always("api/account/delete", {.status = 202});
  EXPECT_EQ(deleteAccount(), deleting);
  EXPECT_EQ(state(), "deleting");
  EXPECT_EQ(token(), "none") << "nothing else is sent under this account";
  EXPECT_EQ(preferences.boolean("account.deleting"), true);
  EXPECT_EQ(service.to("api/account/delete")[0]->header("Authorization"), "Bearer scripted-token");
  EXPECT_EQ(signOut(), deleting) << "the session is needed to finish";
  time.advance(std::chrono::minutes(10));
  EXPECT_EQ(service.to("api/account/delete").size(), 2U);
  EXPECT_EQ(lines.count("account: not deleted yet, HTTP 202"), 2U);

  service.setReachable(false);
  launch();
  EXPECT_EQ(account->status().notice, deleting);
  service.setReachable(true);
  service.usual("api/account/delete");
  time.advance(std::chrono::minutes(10));
  EXPECT_TRUE(lines.has("account: deleted"));
  EXPECT_EQ(account->status(), (AccountStatus{"", "", "", "", true, false}));
  EXPECT_EQ(stored(), "");
  EXPECT_TRUE(preferences.keys("account.").empty());
  launch();
  EXPECT_EQ(state(), "");
}

TEST_F(AccountTest, ADeletionThatTheServiceNoLongerKnowsWaitsForANewSignIn) {
  ASSERT_EQ(google(), "");
  service.always("api/account/delete", {.status = 401});
  EXPECT_EQ(deleteAccount(),
            "Your account isn't deleted yet. Sign in to it again, so that Brindle can finish.");
  launch();
  time.advance(std::chrono::hours(3));
  EXPECT_EQ(service.to("api/account/delete").size(), 2U) << "at each start, and then it waits";
  service.email = "somebody@example.org";
  EXPECT_EQ(google(), "Another account is being deleted. Sign in to that one first.");
  service.email = "Owner@example.org";
  service.token = "fresh";
  service.usual("api/account/delete");
  ASSERT_TRUE(preferences.remove("agreement.version"));
  service.once("api/account/delete", {.delay = std::chrono::seconds(1)});
  EXPECT_EQ(google(), "") << "nobody has to agree to anything to be deleted";
  EXPECT_EQ(readSession(stored())->termsVersion, "");
  EXPECT_EQ(service.to("api/account/delete").back()->header("Authorization"), "Bearer fresh");
  preferences.setFailing(true);
  time.advance(std::chrono::seconds(1));
  EXPECT_TRUE(lines.has("account: deleted, but that could not be stored"));
  EXPECT_EQ(state(), "deleting");
  preferences.setFailing(false);
  time.advance(std::chrono::minutes(10));
  EXPECT_EQ(state(), "");
  EXPECT_EQ(service.to("api/account/delete").size(), 3U) << "not asked for twice";
}

}  // namespace
}  // namespace brindle
