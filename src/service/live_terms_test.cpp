#include "service/live_terms.h"

#include "testing/account_fixture.h"

namespace brindle {
namespace {

using std::chrono::hours;

class LiveTermsTest : public AccountFixture {
 protected:
  LiveTerms& terms() { return account->terms(); }
  TermsGate& gate() { return account->gate(); }
  std::size_t fetches() const { return service.to("api/terms").size(); }
  void fetchNow(const ScriptedReply& reply) {
    service.once("api/terms", reply);
    terms().fetch();
    time.run();
  }
};

TEST_F(LiveTermsTest, AreFetchedAtStartAndDailyAndKept) {
  EXPECT_EQ(fetches(), 1U);
  EXPECT_EQ(preferences.text("terms.live.version"), "2026-10-07.2");
  EXPECT_EQ(preferences.real("terms.live.checkedAt"), secondsSince1970(time.wallTime()));
  time.sleepFor(hours(30));
  time.run();
  EXPECT_EQ(fetches(), 2U) << "a day asleep counts";
  time.setWallTime(time.wallTime() - hours(24 * 365));
  time.advance(hours(24));
  EXPECT_EQ(fetches(), 3U) << "a clock set back stops nothing";
  service.setReachable(false);
  launch();
  EXPECT_EQ(terms().privacy(), "https://example.org/privacy") << "kept over a relaunch";
}

TEST_F(LiveTermsTest, OnlyAWholeReplyWithStatus200IsTaken) {
  const std::string later =
      R"({"version":"2026-10-09","terms":"https://a.example","privacy":"https://a.example"})";
  fetchNow({.status = 204, .body = later});
  EXPECT_TRUE(lines.has("terms: not fetched, HTTP 204"));
  fetchNow({.body = "{"});
  fetchNow({.body = R"({"version":"2026-10-09x","terms":"https://a.example","privacy":"x"})"});
  EXPECT_EQ(terms().version(), "2026-10-07.2");
  EXPECT_TRUE(gate().hasAgreed());

  fetchNow({.body = later});
  EXPECT_TRUE(lines.has("terms: fetched, version 2026-10-09, kept true"));
}

TEST_F(LiveTermsTest, NewerTermsStopSigningInAndTurningOnUntilAgreedTo) {
  const std::string words = "Brindle's terms have changed. Agree to the new terms, then try again.";
  ASSERT_TRUE(preferences.remove("agreement.version"));
  EXPECT_EQ(gate().refusal(), std::nullopt) << "without an account there is nothing to agree to";
  EXPECT_EQ(gate().notice(), "");
  EXPECT_EQ(email(), words);
  EXPECT_TRUE(service.to("api/verify-start").empty());
  ASSERT_TRUE(gate().agree());
  ASSERT_EQ(google(), "");
  EXPECT_EQ(gate().refusal(), std::nullopt);

  service.termsVersion = "2026-10-07.3";
  EXPECT_EQ(email(), words) << "asked for right before signing in";
  EXPECT_EQ(gate().refusal(), words);
  EXPECT_EQ(account->status().notice, "We've updated our terms.");
  ASSERT_TRUE(gate().agree());
  EXPECT_EQ(gate().refusal(), std::nullopt);
}

TEST_F(LiveTermsTest, ATooOldBuildIsSaidAndTheGuardWorksOn) {
  fetchNow({.body = R"({"version":"2026-10-07","terms":"https://a.example",)"
                    R"("privacy":"https://a.example","minimumBuild":{"macos":"6"}})"});
  EXPECT_TRUE(gate().updateNeeded());
  EXPECT_EQ(account->status().notice,
            "This Brindle is too old for its service. Update it; until then it guards this "
            "machine alone.");
  EXPECT_EQ(google(), "");
  EXPECT_EQ(gate().refusal(), std::nullopt);
}

}  // namespace
}  // namespace brindle
