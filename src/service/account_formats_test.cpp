#include <gtest/gtest.h>

#include "base/reference_date.h"
#include "platform/memory/crypto_memory.h"
#include "platform/memory/preferences_memory.h"
#include "service/account_replies_json.h"
#include "service/form_query.h"
#include "service/pkce.h"
#include "service/service_settings.h"
#include "service/session_json.h"
#include "service/terms_version.h"

namespace brindle {
namespace {

TEST(TermsVersionTest, TheLaterOneIsRequiredAndTiesGoToTheBuiltIn) {
  const std::string ours = "2026-10-07.2";
  for (const std::string live : {"2026-10-07.3", "2026-10-07.10", "2026-10-08"}) {
    EXPECT_EQ(laterTermsVersion(ours, live), live);
  }
  for (const char* live : {"2026-10-07.02", "2026-10-08x", "2027-1-01", "2027-01-01."}) {
    EXPECT_EQ(laterTermsVersion(ours, live), ours) << live;
  }
  EXPECT_FALSE(coversTerms("2026-10-07.1", "2026-10-07.2"));
}

TEST(SessionJsonTest, IsWrittenInOrderAndReadInBothFormsOfTheDate) {
  const std::string golden =
      R"({"token":"t.1","email":"ö@b.example","provider":"Email","termsVersion":"2026-10-07.2",)"
      R"("acceptedAt":825000000.5})";
  const Session session{"t.1", "ö@b.example", "Email", "2026-10-07.2",
                        fromSecondsSince2001(825'000'000.5)};
  EXPECT_EQ(writeSession(session), golden);
  EXPECT_EQ(readSession(golden), session);
  const auto dated = [](const std::string& date) {
    return readSession(R"({"token":"t","email":"e","acceptedAt":)" + date + "}");
  };
  EXPECT_EQ(dated(R"("2027-02-22T14:40:00Z")")->acceptedAt, fromSecondsSince2001(825'000'000));
  for (const char* damaged : {"1e300", R"("0463-02-21T14:40:00Z")", "true"}) {
    EXPECT_EQ(dated(damaged), (Session{"t", "e", "", "", std::nullopt})) << "no reason to sign out";
  }
  for (const char* wrong : {R"({"token":"t"})", R"({"token":"","email":"e"})",
                            R"({"token":"t\r\nX: y","email":"e"})"}) {
    EXPECT_FALSE(readSession(wrong)) << wrong;
  }
}

TEST(TermsReplyTest, IsTakenWholeOrNotAtAll) {
  const std::string link = "https://b.example/t";
  const auto reply = [](const std::string& version, const std::string& terms,
                        const std::string& build) {
    return readTermsReply(R"({"version":")" + version + R"(","terms":")" + terms +
                          R"(","privacy":"https://b.example/p","minimumBuild":)" + build + "}");
  };
  EXPECT_EQ(reply("2026-11-01", link, R"({"macos":41})"),
            (TermsReply{"2026-11-01", link, "https://b.example/p", 41}));
  EXPECT_EQ(reply("2026-11-01", link, R"({"macos":"41"})")->minimumMacBuild, 41);
  EXPECT_TRUE(reply("2026-11-01", link, "null"));
  EXPECT_FALSE(reply("2026-11-01x", link, "{}"));
  EXPECT_FALSE(reply("2026-11-01", "javascript:alert(1)", "{}"));
  for (const std::string build : {"41.5", "-1", R"("4 1")", R"("")"}) {
    EXPECT_FALSE(reply("2026-11-01", link, R"({"macos":)" + build + "}")) << build;
  }
}

TEST(PkceTest, KnownAnswers) {
  MemoryCrypto crypto;
  // RFC 7636, appendix B.
  EXPECT_EQ(codeChallenge(crypto, "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"),
            "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
  EXPECT_EQ(sha256Hex(crypto, "abc"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(FormQueryTest, EncodesAndReadsOnlyWhatIsPlain) {
  EXPECT_EQ(formEncoded({{"scope", "openid email"}, {"uri", "a.b:/c?d=ä&"}, {"x", "-._~"}}),
            "scope=openid%20email&uri=a.b%3A%2Fc%3Fd%3D%C3%A4%26&x=-._~");
  EXPECT_EQ(queryField("a:/b?state=s&code=4%2F0+x#f", "code"), "4/0 x");
  for (const char* query : {"?code=1&code=1", "?code=", "?mycode=1", "#?code=1", "?code=%4"}) {
    EXPECT_EQ(queryField("a:/b" + std::string(query), "code"), std::nullopt) << query;
  }
}

TEST(ServiceSettingsTest, OverridesAreFollowedWhereTheyMayBe) {
  const struct {
    bool released;
    std::string built, chosen, used;
    bool problem;
  } cases[] = {
      {false, "https://a.example", "https://b.example", "https://b.example", false},
      {false, "https://a.example", "http://b.example", "", true},
      {true, "https://a.example", "https://b.example", "", true},
      {true, "https://a.example", "http://127.0.0.1:8080", "http://127.0.0.1:8080", false},
      {true, "http://a.example", "", "", true},
  };
  for (const auto& each : cases) {
    MemoryPreferences preferences;
    ASSERT_TRUE(preferences.change({{"service.url", each.chosen},
                                    {"google.clientId", "mine"},
                                    {"google.tokenURL", "https://elsewhere.example/token"}}));
    const auto settings =
        serviceSettings(preferences, {each.built, "built", {}, 1, each.released, {}});
    EXPECT_EQ(settings.serviceURL, each.used) << each.chosen;
    EXPECT_EQ(!settings.problem.empty(), each.problem) << settings.problem;
    EXPECT_EQ(settings.googleClientId, "mine");
    EXPECT_EQ(settings.google.token, GoogleEndpoints().token) << "only this machine may stand in";
  }
}

}  // namespace
}  // namespace brindle
