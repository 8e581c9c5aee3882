#include "service/account.h"

#include "service/pkce.h"
#include "service/session_json.h"
#include "testing/account_fixture.h"

namespace brindle {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;

class AccountTest : public AccountFixture {};

constexpr const char* tryAgain = "Couldn't sign you in. Try again.";
constexpr const char* googleFailed = "Google sign-in didn't finish. Try again.";
constexpr const char* notReachable = "Couldn't reach Brindle. Check your connection.";
constexpr const char* notSaved =
    "Brindle couldn't save this. Check the disk and the keychain, then try again.";
const AccountStatus signedOut{"", "", "", "", true, false};

TEST_F(AccountTest, GoogleGivesASessionThatLastsOverARelaunch) {
  int changes = 0;
  const auto subscription = account->onSessionChange([&] { ++changes; });
  service.once("api/auth/google", {.body = R"({"token":"t","email":"owner@example.org"})"});
  EXPECT_EQ(google(), "");
  const std::string uri = "com.googleusercontent.apps.12-ab:/oauth2redirect";
  const auto verifier = queryField("?" + lastBody("token"), "code_verifier").value_or("");
  EXPECT_EQ(web.page(), settings.google.authorization + "?" +
                            formEncoded({{"client_id", settings.googleClientId},
                                         {"redirect_uri", uri},
                                         {"response_type", "code"},
                                         {"scope", "openid email"},
                                         {"code_challenge", *codeChallenge(crypto, verifier)},
                                         {"code_challenge_method", "S256"},
                                         {"state", queryField(web.page(), "state").value_or("")},
                                         {"prompt", "select_account"}}));
  EXPECT_EQ(lastBody("token"), formEncoded({{"grant_type", "authorization_code"},
                                            {"code", "c/1"},
                                            {"code_verifier", verifier},
                                            {"client_id", settings.googleClientId},
                                            {"redirect_uri", uri}}));
  EXPECT_EQ(service.to("token")[0]->header("Content-Type"), "application/x-www-form-urlencoded");
  EXPECT_EQ(lastBody("api/auth/google"), R"({"idToken":"google-id"})");

  const Session expected{"t", "owner@example.org", "Google", "2026-10-07.2", time.wallTime()};
  EXPECT_EQ(account->session(), expected);
  EXPECT_EQ(kept(), writeSession(expected));
  EXPECT_EQ(preferences.text("agreement.version"), "2026-10-07.2");
  EXPECT_EQ(preferences.real("agreement.at"), secondsSince1970(time.wallTime()));
  EXPECT_EQ(changes, 1);
  launch();
  EXPECT_EQ(account->session(), expected);
}

TEST_F(AccountTest, AGoogleSignInThatFailsLeavesTheSessionAsItWas) {
  ASSERT_EQ(google(), "");
  service.token = "another";
  EXPECT_EQ(google("code=1&state=forged"), googleFailed);
  EXPECT_TRUE(lines.has("google sign-in: not finished, another state came back"));
  EXPECT_TRUE(service.to("token").size() == 1) << "only a code that came with our state is used";
  service.once("token", {.status = 400});
  EXPECT_EQ(google(), googleFailed);
  EXPECT_TRUE(lines.has("google sign-in: no ID token, HTTP 400"));
  EXPECT_EQ(googleAnd([&] { web.fail("no browser"); }), googleFailed);
  EXPECT_TRUE(lines.has("google sign-in: no browser session, no browser"));
  EXPECT_EQ(token(), "scripted-token");
  EXPECT_EQ(lines.all().find("scripted-token"), std::string::npos);

  settings.googleClientId.clear();
  launch();
  EXPECT_EQ(googleAnd([] {}), "Google sign-in isn't available yet. Use Apple or email.");
}

TEST_F(AccountTest, AppleIsToldTheHashOfTheNonceAndTheServiceTheNonce) {
  EXPECT_EQ(appleAnd([&] { apple.cancel(); }), tryAgain);
  EXPECT_TRUE(lines.has("apple sign-in: not finished, cancelled true: "));
  EXPECT_EQ(appleAnd([&] { apple.authorize("apple-id"); }), "");
  const std::string body = lastBody("api/auth/apple");
  const std::string before = R"({"identityToken":"apple-id","nonce":")";
  ASSERT_TRUE(body.starts_with(before)) << body;
  EXPECT_EQ(sha256Hex(crypto, std::string_view(body).substr(before.size(), 43)), apple.nonceHash());
  EXPECT_EQ(account->status().provider, "Apple");
  apple.setAvailable(false);
  EXPECT_EQ(appleAnd([] {}), "Signing in with Apple isn't available here. Use Google or email.");
}

TEST_F(AccountTest, AnEmailLinkWorksOnceAndAfterARelaunch) {
  const auto finishes = [&] { return service.to("api/verify-finish").size(); };
  EXPECT_EQ(email(" owner@example.org "), "");
  const std::string key = preferences.text("account.pendingState").value();
  EXPECT_EQ(lastBody("api/verify-start"),
            R"({"email":"owner@example.org","state":")" + key + R"("})");
  launch();
  EXPECT_EQ(account->status(),
            (AccountStatus{"pending", "owner@example.org", "", "", true, false}));
  open("brindle:/verify?code=1&state=forged");
  open("other:/verify?code=1&state=" + key);
  EXPECT_EQ(finishes(), 0U);

  const std::string link = "brindle://verify?code=c1&state=" + key;
  service.once("api/verify-finish", {.status = 0});
  open(link);
  EXPECT_EQ(account->status().notice, notReachable);
  open(link);
  EXPECT_EQ(lastBody("api/verify-finish"), R"({"code":"c1","state":")" + key + R"("})");
  EXPECT_EQ(finishes(), 2U) << "followed again after a failure";
  EXPECT_EQ(account->status().provider, "Email");
  open(link);
  EXPECT_EQ(finishes(), 2U) << "a replayed link is nobody's";
  EXPECT_TRUE(lines.has("sign-in link: not taken, awaited false, whole true"));
}

TEST_F(AccountTest, ALinkIsNotAwaitedInVain) {
  ASSERT_EQ(email(), "");
  service.once("api/verify-finish", {.status = 410});
  open("brindle:/v?code=1&state=" + preferences.text("account.pendingState").value());
  EXPECT_EQ(account->status(), (AccountStatus{"", "", "", tryAgain, true, false}));
  service.email = "intruder@example.org";
  ASSERT_EQ(email(), "");
  open("brindle:/v?code=1&state=" + preferences.text("account.pendingState").value());
  EXPECT_EQ(account->status(), (AccountStatus{"", "", "", tryAgain, true, false}))
      << "a session for somebody else than the one who asked";
  for (const char* wrong : {"", "@example.org", "owner@", "a@b@c", "a b@c"}) {
    EXPECT_EQ(email(wrong), "That doesn't look like an email address.") << wrong;
  }
  EXPECT_EQ(service.to("api/verify-start").size(), 2U);
}

TEST_F(AccountTest, EachErrorOfTheServiceHasItsWords) {
  const struct {
    int status;
    std::string error, message, whileOn = message;
  } cases[] = {
      {400, "no_email",
       "Brindle needs your email address to send alerts. Try again and share your email."},
      {409, "terms_changed",
       "Brindle's terms have changed. Agree to the new terms, then try again.",
       "Brindle's terms have changed. Turn Brindle off and agree to the new terms, then try "
       "again."},
      {429, "too_many", "Too many tries. Wait a little, then try again."},
      {503, "google_not_configured", "Google sign-in isn't available yet. Use Apple or email."},
      {400, "bad_email", "That doesn't look like an email address."},
      {502, "send_failed", "Couldn't send the email. Try again shortly."},
      {0, "", notReachable},
      {500, "unheard_of", tryAgain},
  };
  for (const auto& each : cases) {
    for (guardOn = false;; guardOn = true) {
      const ScriptedReply reply{each.status, R"({"error":")" + each.error + R"("})"};
      service.once("api/auth/google", reply);
      service.once("api/verify-start", reply);
      EXPECT_EQ(google(), guardOn ? each.whileOn : each.message);
      EXPECT_EQ(email(), guardOn ? each.whileOn : each.message);
      EXPECT_EQ(state(), "");
      if (guardOn) break;
    }
  }
  EXPECT_TRUE(lines.has("account: not signed in with Google, HTTP 429"));
  service.once("api/auth/google", {.body = "{}"});
  EXPECT_EQ(google(), tryAgain);
}

TEST_F(AccountTest, ANewSignInGivesUpTheOneBefore) {
  ScriptedReply late = service.usualReply("api/auth/google");
  late.delay = seconds(5);
  service.once("api/auth/google", late);
  EXPECT_EQ(google(), "…");
  EXPECT_TRUE(account->status().signingIn);
  account->cancelSignIn();
  time.advance(seconds(6));
  EXPECT_EQ(account->status(), signedOut) << "what the service says late is not taken";

  // One that is being stored is not given up any more.
  ASSERT_EQ(email(), "");
  worker.hold();
  EXPECT_EQ(google(), "…");
  EXPECT_EQ(email(), tryAgain);
  preferences.setFailing(true);
  worker.release();
  time.run();
  EXPECT_TRUE(lines.has("account: time of agreement not stored"));
  EXPECT_TRUE(lines.has("sign-in link: could not be forgotten"));
  EXPECT_EQ(token(), "scripted-token");

  settings.serviceURL.clear();
  launch();
  EXPECT_EQ(email(), "No alert service is set up. Brindle guards this machine without an account.");
}

TEST_F(AccountTest, SigningOutHoldsWhateverTheKeychainSays) {
  ASSERT_EQ(google(), "");
  preferences.setFailing(true);
  EXPECT_EQ(signOut(), notSaved);
  preferences.setFailing(false);
  keychain.failNextRemove(keychain_code::authFailed);
  EXPECT_EQ(signOut(), "");
  EXPECT_TRUE(lines.has("account: session not removed, -25293, trying at the next start"));
  EXPECT_NE(kept(), "");
  launch();
  EXPECT_EQ(account->status(), signedOut);
  EXPECT_EQ(kept(), "");
  ASSERT_EQ(google(), "");
  worker.hold();
  launch();
  EXPECT_EQ(account->accountEmail(), "owner@example.org") << "what happens now is owed to them";
  EXPECT_EQ(signOut(), "");
  EXPECT_EQ(account->accountEmail(), "");
  worker.release();
  time.run();
  EXPECT_EQ(account->status(), signedOut) << "what was read before is out of date";
}

TEST_F(AccountTest, ATroubledKeychainSignsNobodyInOrOut) {
  keychain.failNextWrite(keychain_code::io);
  EXPECT_EQ(google(), notSaved);
  EXPECT_TRUE(lines.has("account: session not saved, -36"));
  ASSERT_EQ(google(), "");
  keychain.setLocked(true);
  launch();
  EXPECT_TRUE(lines.has("account: session not read, -25308"));
  keychain.setLocked(false);
  time.advance(seconds(2));
  EXPECT_EQ(token(), "scripted-token");
  keychain.setDenied(true);
  launch();
  const int reads = keychain.reads();
  time.advance(minutes(10));
  EXPECT_EQ(keychain.reads(), reads) << "a person who said no is not asked again and again";
  keychain.setDenied(false);
  put("brindle.account", {'{'});
  launch();
  EXPECT_EQ(account->status(), signedOut);
  EXPECT_TRUE(lines.has("account: session not understood, kept until the next sign-in"));
  EXPECT_EQ(kept(), "{");
}

TEST_F(AccountTest, ADeletionGoesOnUntilTheServiceConfirmsIt) {
  const std::string deleting =
      "Deleting your account. Brindle keeps trying until your web vault data is gone.";
  EXPECT_EQ(deleteAccount(), "Nobody is signed in.");
  ASSERT_EQ(google(), "");
  service.always("api/account/delete", {.status = 202});
  EXPECT_EQ(deleteAccount(), deleting);
  EXPECT_EQ(state(), "deleting");
  EXPECT_EQ(token(), "none") << "nothing else is sent under this account";
  EXPECT_EQ(signOut(), deleting) << "the session is needed to finish";
  time.advance(minutes(10));
  EXPECT_EQ(lines.count("account: not deleted yet, HTTP 202"), 2U);

  launch();
  EXPECT_EQ(account->status().notice, deleting);
  service.usual("api/account/delete");
  time.advance(minutes(10));
  EXPECT_TRUE(lines.has("account: deleted"));
  EXPECT_EQ(account->status(), signedOut);
  EXPECT_EQ(kept(), "");
  EXPECT_EQ(deleted, std::vector<std::string>{service.email});
  launch();
  EXPECT_EQ(deleted.size(), 2U) << "this run may have ended before all was gone";
  launch();
  EXPECT_EQ(deleted.size(), 2U);
  EXPECT_TRUE(preferences.keys("account.").empty());
}

TEST_F(AccountTest, ADeletionThatTheServiceNoLongerKnowsWaitsForANewSignIn) {
  const auto tries = [&] { return service.to("api/account/delete").size(); };
  ASSERT_EQ(google(), "");
  service.always("api/account/delete", {.status = 401});
  EXPECT_EQ(deleteAccount(),
            "Your account isn't deleted yet. Sign in to it again, so that Brindle can finish.");
  time.advance(std::chrono::hours(3));
  EXPECT_EQ(tries(), 1U) << "and then it waits";
  service.email = "somebody@example.org";
  EXPECT_EQ(google(), "Another account is being deleted. Sign in to that one first.");
  service.email = "Owner@example.org";
  service.token = "fresh";
  service.always("api/account/delete", {.delay = seconds(1)});
  ASSERT_TRUE(preferences.remove("agreement.version"));
  EXPECT_EQ(google(), "") << "nobody has to agree to anything to be deleted";
  EXPECT_EQ(service.to("api/account/delete").back()->header("Authorization"), "Bearer fresh");
  preferences.setFailing(true);
  time.advance(seconds(1));
  EXPECT_TRUE(lines.has("account: deleted, but that could not be stored"));
  preferences.setFailing(false);
  time.advance(minutes(10));
  EXPECT_EQ(state(), "");
  EXPECT_EQ(tries(), 2U) << "not asked for twice";
  ASSERT_TRUE(account->gate().agree());
  ASSERT_EQ(google(), "");
  launch();
  EXPECT_EQ(deleted.size(), 1U) << "a new account of the same person loses nothing";
}

}  // namespace
}  // namespace brindle
