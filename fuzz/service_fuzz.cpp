// The first byte chooses a reader, the rest is what it reads. What could be read and is written
// again reads back as the same.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "service/account_error.h"
#include "service/account_replies_json.h"
#include "service/form_query.h"
#include "service/session_json.h"
#include "service/terms_version.h"

namespace {

using namespace brindle;

void require(bool holds) {
  if (!holds) std::abort();
}

void session(std::string_view text) {
  const auto read = readSession(text);
  if (!read) return;
  const std::string written = writeSession(*read);
  require(readSession(written) == read && writeSession(*readSession(written)) == written);
}

void terms(std::string_view text) {
  const auto read = readTermsReply(text);
  if (!read) return;
  require(parseTermsVersion(read->version).has_value() && httpUrlAllowed(read->terms));
  require(read->minimumMacBuild.value_or(0) >= 0);
}

void error(std::string_view text) {
  const auto at = text.data();
  ServiceAnswer answer{AnswerClass::refused, 400, 0, {at, at + text.size()}, {}};
  require(!accountMessage(accountError(answer), false).empty());
  if (const auto token = readIdToken(text)) require(!token->empty());
}

void link(std::string_view text) {
  const auto code = queryField(text, "code");
  if (code) require(queryField("?" + formEncoded({{"code", *code}}), "code") == code);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr void (*readers[])(std::string_view) = {session, terms, error, link};
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const auto which = static_cast<std::size_t>(data[0] - '0');  // a digit, in the corpus
  readers[which % std::size(readers)](text);
  return 0;
}
