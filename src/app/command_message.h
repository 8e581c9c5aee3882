#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/result.h"
#include "base/secret_text.h"

namespace brindle {

/// What commands and the running guard say to each other over the control socket: one JSON object
/// (RFC 8259) per line, each with the version "v". A request's secrets follow their line as raw
/// bytes, of the sizes that it announces: they pass no JSON parser, which would leave copies
/// behind.
namespace command_protocol {
inline constexpr int version = 1;
inline constexpr std::size_t longestLine = 8 * 1024;
inline constexpr std::size_t longestSecret = 1024;
inline constexpr std::size_t mostSecrets = 4;
inline constexpr std::size_t longestReply = 64 * 1024 * 1024;
}  // namespace command_protocol

/// One thing asked of the guard.
struct Request {
  struct Secret {
    std::string name;  ///< "pin", "pinRepeat", "answer", "answerRepeat"
    SecretText text;
  };

  std::string command;  ///< "status", "on", …; "try" within a conversation that asked for proof,
                        ///< "agree" within one that asked for agreement
  bool json = false;    ///< the answer is for a program
  std::string target =
      {};  ///< of delete and confirm: an event, "photos" or "all"; of a try: "pin" or "answer"
  std::string value = {};   ///< what the target goes with: an e-mail address, a link, a code
  bool agreed = false;      ///< the person was shown what it means
  bool replacePin = false;  ///< of setup: in place of one whose record can't be read
  std::optional<std::int64_t> alertDelay = {};  ///< seconds
  std::optional<bool> startAtLogin = {};
  std::optional<std::string> question = {};
  std::vector<Secret> secrets = {};

  const SecretText* secret(std::string_view name) const;
};

struct Reply {
  enum class Type {
    proof,  ///< the owner must prove themself first
    tried,  ///< what became of a try that was not right
    ask,    ///< the person must agree first: the text says to what
    done,   ///< the end of the conversation
  };
  Type type = Type::done;
  std::string text;  ///< for the person, or the JSON asked for
  int exitCode = 0;  ///< of done
  bool answerOpen = false;
  std::string question = {};  ///< once the answer is open
};

/// Exit codes of the command line.
namespace exit_code {
inline constexpr int done = 0;
inline constexpr int failed = 1;  ///< it could not be done; the output says why
inline constexpr int usage = 2;
inline constexpr int notRunning = 3;  ///< it needs a running guard and there is none
inline constexpr int noProof = 4;     ///< the owner did not prove themself
inline constexpr int lost = 5;        ///< the running guard could not be talked to
}  // namespace exit_code

/// The line and the secrets after it. The text holds secrets: whoever sends it wipes it.
std::string encodeRequest(const Request& request);
std::string encodeReply(const Reply& reply);
/// Nothing when it is none, or of another version.
std::optional<Reply> decodeReply(std::string_view line);

/// Cuts what a peer sends into requests. Believes nothing: a line or a secret too long, a wrong
/// version or anything unreadable makes it `bad` for good.
class RequestReader {
 public:
  enum class Next { request, more, bad };

  RequestReader();
  ~RequestReader();
  RequestReader(const RequestReader&) = delete;
  RequestReader& operator=(const RequestReader&) = delete;

  void feed(std::string_view bytes);
  Next next(Request& out);

 private:
  struct Header {
    Request request;
    std::vector<std::size_t> sizes;
  };
  static std::optional<Header> readHeader(std::string_view line);
  bool readLine();
  void takeSecrets(Request& out);
  void drop(std::size_t size);

  std::vector<char> buffer_;  // never grows past what was reserved: growing would leave copies
  std::optional<Header> header_;
  bool bad_ = false;
};

}  // namespace brindle
