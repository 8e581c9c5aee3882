// Sends any bytes to the guard's socket reader, in pieces. Whatever request comes out is within its
// limits, and written again it is read as the same one.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "app/command_message.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindle;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  decodeReply(bytes);
  RequestReader reader;
  for (std::size_t at = 0; at < size; at += 61) {
    reader.feed(bytes.substr(at, 61));
    for (Request request; reader.next(request) == RequestReader::Next::request;) {
      if (request.secrets.size() > command_protocol::mostSecrets) std::abort();
      const std::string text = encodeRequest(request);
      if (text.find('\n') > command_protocol::longestLine) continue;  // escapes made it longer
      RequestReader second;
      Request again;
      second.feed(text);
      if (second.next(again) != RequestReader::Next::request) std::abort();
      if (encodeRequest(again) != text) std::abort();
    }
  }
  return 0;
}
