#include <csignal>
#include <fstream>

#include "platform/linux/background_transfer_linux.h"
#include "testing/linux_loop.h"
#include "testing/recording_log.h"

// transfer_peer STOP SPOOL COURIER URL BODY TOLD: a program that hands over one upload and waits
// for its result, which it notes in the file TOLD. It is killed after its STOP-th change to the
// disk.
int main(int count, char** words) {
  using namespace brindle;
  if (count != 7) return 64;
  int left = std::stoi(words[1]);
  const std::string told = words[6];
  RecordingLog lines;
  LinuxScheduler loop;
  PosixFiles files(words[2], {}, [&](const FileStep&) {
    if (--left == 0) std::raise(SIGKILL);
  });
  CourierLauncher launcher(loop, files, words[2], words[3], nullptr, Log(lines));
  LinuxBackgroundTransfer transfer(launcher, files, "brindle.alerts", Log(lines));
  bool over = false;
  transfer.start([&](const TransferResult& result) {
    std::ofstream(told, std::ios::app) << result.description << result.answer.status << '\n';
    over = true;
  });
  HttpRequest request;
  request.method = HttpRequest::Method::post;
  request.url = words[4];
  request.bodyFile = words[5];
  if (!transfer.send(request, "peer")) return 1;
  return runUntil(loop, [&] { return over; }) ? 0 : 2;
}
