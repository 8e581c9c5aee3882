#include <gtest/gtest.h>

#include "base/reference_date.h"
#include "platform/memory/crypto_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/random_memory.h"
#include "service/account_replies_json.h"
#include "service/form_query.h"
#include "service/google_sign_in.h"
#include "service/pkce.h"
#include "service/service_settings.h"
#include "service/session_json.h"
#include "service/terms_version.h"

namespace brindle {
namespace {

TEST(TermsVersionTest, TheLaterOneIsRequiredAndTiesGoToTheBuiltIn) {
  const struct {
    std::string builtIn, live, required;
  } cases[] = {
      {"2026-10-07.2", "2026-10-07.3", "2026-10-07.3"},
      {"2026-10-07.2", "2026-10-07", "2026-10-07.2"},
      {"2026-10-07.2", "2026-10-08x", "2026-10-07.2"},
      {"2026-10-07.2", "2026-10-08", "2026-10-08"},
      {"2026-10-07.9", "2026-10-07.10", "2026-10-07.10"},
      {"2026-10-07.2", "2027-01-01.1234567", "2026-10-07.2"},
      {"2026-10-07.2", "2027-01-01.", "2026-10-07.2"},
      {"2026-10-07.2", "2027-1-01", "2026-10-07.2"},
      {"2026-10-07.2", "", "2026-10-07.2"},
      {"2026-10-07.2", "2026-10-07.02", "2026-10-07.2"},
      {"broken", "2026-10-07", "2026-10-07"},
      {"broken", "broken too", "broken"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(laterTermsVersion(each.builtIn, each.live), each.required) << each.live;
  }
  EXPECT_TRUE(coversTerms("2026-10-07.2", "2026-10-07.02"));
  EXPECT_FALSE(coversTerms("2026-10-07.1", "2026-10-07.2"));
  EXPECT_FALSE(coversTerms("2026-10-08x", "2026-10-07.2"));
}

TEST(SessionJsonTest, IsWrittenInOrderAndReadInBothFormsOfTheDate) {
  const std::string golden =
      R"({"token":"t.1","email":"ö@b.example","provider":"Email","termsVersion":"2026-10-07.2",)"
      R"("acceptedAt":825000000.5})";
  const Session session{"t.1", "ö@b.example", "Email", "2026-10-07.2",
                        fromSecondsSince2001(825'000'000.5)};
  EXPECT_EQ(writeSession(session), golden);
  EXPECT_EQ(readSession(golden), session);
  const auto iso =
      readSession(R"({"token":"t","email":"e","acceptedAt":"2027-02-22T14:40:00Z","more":1})");
  EXPECT_EQ(iso->acceptedAt, fromSecondsSince2001(825'000'000));
  // A damaged date is no reason to sign anybody out.
  for (const std::string date : {"1e300", "\"0463-02-21T14:40:00Z\"", "true"}) {
    EXPECT_EQ(readSession(R"({"token":"t","email":"e","acceptedAt":)" + date + "}"),
              (Session{"t", "e", "", "", std::nullopt}));
  }
  for (const std::string_view wrong :
       {"", "[]", R"({"token":"t"})", R"({"email":"e"})", R"({"token":"","email":"e"})",
        R"({"token":"t\r\nX: y","email":"e"})", R"({"token":"ü","email":"e"})",
        R"({"token":"t","email":"e\n"})", R"({"token":7,"email":"e"})"}) {
    EXPECT_FALSE(readSession(wrong)) << wrong;
  }
}

TEST(TermsReplyTest, IsTakenWholeOrNotAtAll) {
  const auto reply = [](const std::string& version, const std::string& link,
                        const std::string& build) {
    return readTermsReply(R"({"version":")" + version + R"(","terms":")" + link +
                          R"(","privacy":"https://b.example/p")" + build + "}");
  };
  const std::string link = "https://b.example/t";
  EXPECT_EQ(reply("2026-11-01", link, R"(,"minimumBuild":{"macos":41})"),
            (TermsReply{"2026-11-01", link, "https://b.example/p", 41}));
  EXPECT_EQ(reply("2026-11-01", link, R"(,"minimumBuild":{"macos":"41"})")->minimumMacBuild, 41);
  EXPECT_EQ(reply("2026-11-01", link, R"(,"minimumBuild":{})")->minimumMacBuild, std::nullopt);
  EXPECT_TRUE(reply("2026-11-01", link, ""));
  EXPECT_FALSE(reply("2026-11-01x", link, ""));
  EXPECT_FALSE(reply("2026-11-01", "javascript:alert(1)", ""));
  for (const std::string_view build :
       {"41.5", "-1", R"("-1")", R"("4 1")", R"("")", "true", "[]"}) {
    EXPECT_FALSE(
        reply("2026-11-01", link, R"(,"minimumBuild":{"macos":)" + std::string(build) + "}"))
        << build;
  }
}

TEST(PkceTest, KnownAnswers) {
  MemoryCrypto crypto;
  MemoryRandom random;
  // RFC 7636, appendix B.
  EXPECT_EQ(codeChallenge(crypto, "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"),
            "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
  EXPECT_EQ(sha256Hex(crypto, "abc"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(randomToken(random)->size(), 43U);
  random.setFailing(true);
  EXPECT_FALSE(randomToken(random));
}

TEST(FormQueryTest, EncodesAndReadsOnlyWhatIsPlain) {
  EXPECT_EQ(formEncoded({{"scope", "openid email"}, {"uri", "a.b:/c?d=ä&"}, {"x", "-._~"}}),
            "scope=openid%20email&uri=a.b%3A%2Fc%3Fd%3D%C3%A4%26&x=-._~");
  const struct {
    std::string_view link;
    std::optional<std::string> code;
  } cases[] = {
      {"a:/b?state=s&code=4%2F0+x#f", "4/0 x"},
      {"a:/b?code=1&code=1", std::nullopt},
      {"a:/b?code=", std::nullopt},
      {"a:/b?code", std::nullopt},
      {"a:/b?mycode=1", std::nullopt},
      {"a:/b#?code=1", std::nullopt},
      {"a:/b?code=%4", std::nullopt},
      {"a:/b?code=%zz", std::nullopt},
      {"a:/b?code=%ff", std::nullopt},
      {"a:/b", std::nullopt},
  };
  for (const auto& each : cases) EXPECT_EQ(queryField(each.link, "code"), each.code) << each.link;
  EXPECT_EQ(reversedClientId("12-ab.apps.googleusercontent.com"),
            "com.googleusercontent.apps.12-ab");
}

TEST(ServiceSettingsTest, OverridesAreFollowedWhereTheyMayBe) {
  const struct {
    bool released;
    std::string built, chosen, used;
    bool problem;
  } cases[] = {
      {false, "", "", "", false},
      {false, "https://a.example", "", "https://a.example", false},
      {false, "https://a.example", "https://b.example", "https://b.example", false},
      {false, "https://a.example", "http://b.example", "", true},
      {true, "https://a.example", "https://b.example", "", true},
      {true, "https://a.example", "http://127.0.0.1:8080", "http://127.0.0.1:8080", false},
      {true, "http://a.example", "", "", true},
  };
  for (const auto& each : cases) {
    MemoryPreferences preferences;
    ASSERT_TRUE(preferences.set("service.url", each.chosen));
    ASSERT_TRUE(preferences.set("google.clientId", "mine"));
    ASSERT_TRUE(preferences.set("google.tokenURL", "https://elsewhere.example/token"));
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
