#include <poll.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <chrono>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "base/base64.h"
#include "base/json_writer.h"
#include "platform/linux/scheduler_linux.h"
#include "testing/scripted_service_socket.h"

// scripted_alert_service LOG [PORT]: the scripted service as a program. Its first line of output is
// its port. Each request becomes a JSON line in LOG. Commands come on standard input, each answered
// by "ok" or "?" once it holds, and it ends with its input.
//
//   status PATH CODE       every request whose path begins so is answered this
//   delay PATH MS          answered late
//   never PATH             received, never answered
//   hold PATH | release    held until released
//   usual PATH             forgets the script of this path
//   body PATH FILE         answered with what is in the file now
//   session TOKEN EMAIL    what signing in gives
//   vault-key KEYID PUBLICKEY                          the owner has set the vault up
//   vault-code CODE ORGID KEYID PUBLICKEY NAME...      a code that joins this organisation at once
//   vault-code-waits ...                               one whose organisation has to accept first
//   vault-folder PATH      where blobs are kept, each as EVENT/PHOTO.blob
//   down | up              the service cannot be reached | can be again

namespace brindle {
namespace {

class Commands {
 public:
  explicit Commands(ScriptedService& service) : service_(service) {}

  bool obey(const std::string& line) {
    std::istringstream words(line);
    std::string verb, path;
    words >> verb >> path;
    if (verb == "down" || verb == "up") return service_.setReachable(verb == "up"), true;
    if (verb == "release") return service_.releaseAll(), true;
    if (path.empty()) return false;
    if (verb.starts_with("vault-")) return obeyVault(verb, path, words);
    if (verb == "usual") return service_.usual(path), true;
    if (verb == "session") {
      service_.token = path;
      return static_cast<bool>(words >> service_.email);
    }
    ScriptedReply reply = service_.usualReply(path);
    if (verb == "status" && !(words >> reply.status)) return false;
    if (std::string file; verb == "body" && words >> file) {
      std::ifstream in(file, std::ios::binary);
      reply.body.assign(std::istreambuf_iterator<char>(in), {});
      return in ? service_.always(path, reply), true : false;
    }
    if (verb == "never") reply.copies = 0;
    if (int late = 0; words >> late) reply.delay = std::chrono::milliseconds(late);
    reply.held = verb == "hold";
    service_.always(path, reply);
    return verb == "status" || verb == "never" || verb == "hold" || verb == "delay";
  }

 private:
  bool obeyVault(const std::string& verb, const std::string& first, std::istringstream& words) {
    ScriptedVault& vault = service_.vault;
    if (verb == "vault-folder") return vault.folder = first, true;
    if (verb == "vault-key")
      return static_cast<bool>(words >> vault.owner.emplace(first, "").second);
    ScriptedVault::Organisation org{.waits = verb == "vault-code-waits"};
    if (!(words >> org.orgId >> org.keyId >> org.publicKey >> std::ws)) return false;
    std::getline(words, org.name);
    vault.codes[first] = org;
    return org.waits || verb == "vault-code";
  }

  ScriptedService& service_;
};

/// `firstByte` is in nanoseconds of the monotonic clock, as other programs on this machine see it.
std::string lineOf(const ScriptedRequest& request, Duration clockOffset) {
  std::string line;
  JsonWriter json(line);
  json.beginObject().field("method", request.method).field("path", request.path);
  json.field("firstByte", (request.firstByte + clockOffset).count()).key("headers").beginObject();
  for (const auto& [name, value] : request.headers) json.field(name, value);
  json.endObject().field("body", base64(request.body)).endObject();
  return line + "\n";
}

int serve(const std::string& log, std::uint16_t port) {
  LinuxScheduler loop;
  ScriptedService service(loop);
  ScriptedServiceSocket socket(loop, service, port);
  std::ofstream lines(log, std::ios::app);
  if (socket.port() == 0 || !lines) return 1;
  const Duration clockOffset =
      std::chrono::steady_clock::now().time_since_epoch() - loop.awakeTime();
  service.onRequest = [&](const ScriptedRequest& request) {
    lines << lineOf(request, clockOffset) << std::flush;
  };
  Commands commands(service);
  std::string typed;
  const Subscription input = loop.watch(STDIN_FILENO, POLLIN, [&](std::uint32_t) {
    std::array<char, 4096> part;
    const ssize_t count = ::read(STDIN_FILENO, part.data(), part.size());
    if (count <= 0) return loop.stop();
    typed.append(part.data(), static_cast<std::size_t>(count));
    for (std::size_t end; (end = typed.find('\n')) != std::string::npos; typed.erase(0, end + 1)) {
      std::cout << (commands.obey(typed.substr(0, end)) ? "ok" : "?") << std::endl;
    }
  });
  if (!input) return 1;
  std::cout << socket.port() << std::endl;
  loop.run();
  return 0;
}

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv, argv + argc);
  if (words.size() < 2) return 2;
  std::uint16_t port = 0;
  if (words.size() > 2) {
    std::from_chars(words[2].data(), words[2].data() + words[2].size(), port);
  }
  return brindle::serve(words[1], port);
}
