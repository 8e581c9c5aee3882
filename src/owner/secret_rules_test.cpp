#include <gtest/gtest.h>

#include <array>

#include "owner/answer_rules.h"
#include "owner/pin_rules.h"
#include "owner/secret_record.h"
#include "platform/memory/crypto_memory.h"
#include "platform/memory/random_memory.h"
#include "platform/openssl/crypto_openssl.h"

namespace brindle {
namespace {

TEST(PinRulesTest, TellsGuessablePinsFromOthers) {
  const std::string longest(31, '7');
  for (const std::string& easy : std::vector<std::string>{
           "", "471", "12a5", "47 11", "٤٧١١", "7777", "3456", "7654", "4747", "471471", "1122",
           "2580", longest + longest, "471147114711471147114711471147110"}) {
    EXPECT_TRUE(pinTooEasy(easy)) << easy;
  }
  for (const std::string& fine :
       std::vector<std::string>{"4711", "13579", "47147", "8901", "9753", longest + "8"}) {
    EXPECT_FALSE(pinTooEasy(fine)) << fine;
  }
}

TEST(AnswerRulesTest, CaseAccentsAndSpacesMakeNoAnswerWrong) {
  const std::array<std::pair<std::string, std::string>, 12> table{{
      {"  Mrs\tÉlise  O’Brien\n", "mrs elise o’brien"},
      {"Straße", "STRASSE"},
      {"e\u0301toile", "etoile"},          // the accent as a character of its own
      {"Ελλάδα", "ελλαδα"},                // Greek
      {"ΟΔΟΣ", "οδοσ"},                    // both small sigmas are one letter
      {"Ёлка Йод", "елка иод"},            // Cyrillic
      {"\u3000東京\u00a0都 ", "東京 都"},  // wide and no-break spaces
      {"が", "が"},                        // a mark that tells Japanese syllables apart stays
      {"שָׁלוֹם", "שָׁלוֹם"},                    // and so do Hebrew points
      {"İstanbul", "istanbul"},
      {"Việt Nam", "viet nam"},
      {" \n ", ""},
  }};
  for (const auto& [typed, stored] : table) {
    EXPECT_EQ(normalisedAnswer(typed).view(), normalisedAnswer(stored).view()) << typed;
    EXPECT_EQ(normalisedAnswer(typed, "en_GB").view(), normalisedAnswer(typed).view()) << typed;
  }
  EXPECT_EQ(normalisedAnswer(table[0].first).view(), table[0].second);
  EXPECT_NE(normalisedAnswer("が").view(), normalisedAnswer("か").view());
  EXPECT_EQ(normalisedAnswer("IRMAK", "tr_TR").view(), "ırmak");
  EXPECT_EQ(normalisedAnswer(std::string(3000, 'A') + std::string(3000, '\xff')).view().size(),
            12000u);
}

TEST(AnswerRulesTest, LengthsAreCharactersToTheEye) {
  const auto judged = [](std::string question, std::string answer) {
    const SecretText normalised = normalisedAnswer(answer);
    return judgeNewAnswer(trimmedQuestion(question), normalised, normalised);
  };
  EXPECT_EQ(judged("e\u0301e\u0301", "x"), AnswerSaved::noQuestion);
  EXPECT_EQ(judged("Who?", "👩‍👩‍👧"), AnswerSaved::tooShort);
  EXPECT_EQ(trimmedQuestion(" \u2003Who is it? \n"), "Who is it?");
}

Bytes fromHex(std::string_view hex) {
  Bytes bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(
        static_cast<std::uint8_t>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

// Made with another implementation: PIN 4711, salt 00 01 … 0f.
const std::string knownSalt = "000102030405060708090a0b0c0d0e0f";
const std::string knownCurrent =
    "02" + knownSalt + "682c24bad6f287ffb14125e7a473d2ab6a7bc22980ec6e78bd124e44f0be2e80";
const std::string knownOlder =
    knownSalt + "e8e6bb6913b5eb2669aa2a562c3f88a0e908a97e9c08bdb44d94549537ec39f0";

TEST(SecretRecordTest, KnownRecordsMatchTheirSecretOnly) {
  OpensslCrypto crypto;
  EXPECT_EQ(matchRecord(crypto, fromHex(knownCurrent), "4711"), RecordMatch::current);
  EXPECT_EQ(matchRecord(crypto, fromHex(knownCurrent), "4712"), RecordMatch::no);
  EXPECT_EQ(matchRecord(crypto, fromHex(knownOlder), "4711"), RecordMatch::older);
  EXPECT_EQ(matchRecord(crypto, fromHex(knownOlder), "47110"), RecordMatch::no);
  Bytes otherVersion = fromHex(knownCurrent);
  otherVersion[0] = 3;
  Bytes longer = fromHex(knownCurrent);
  longer.push_back(0);
  for (const Bytes& record : {otherVersion, longer, Bytes{}, Bytes(47), Bytes(1, 2)}) {
    EXPECT_EQ(matchRecord(crypto, record, "4711"), RecordMatch::no) << record.size();
  }
}

TEST(SecretRecordTest, EveryRecordHasASaltOfItsOwn) {
  MemoryCrypto crypto;
  MemoryRandom random;
  EXPECT_NE(buildRecord(crypto, random, "4711"), buildRecord(crypto, random, "4711"));
  random.setFailing(true);
  EXPECT_FALSE(buildRecord(crypto, random, "4711"));
}

}  // namespace
}  // namespace brindle
