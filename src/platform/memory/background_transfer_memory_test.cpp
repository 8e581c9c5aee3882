#include "platform/memory/background_transfer_memory.h"

#include "platform/contract/background_transfer_contract.h"
#include "platform/memory/files_memory.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

struct MemoryTransferBackend {
  VirtualScheduler scheduler;
  MemoryFiles files;
  ScriptedService service{scheduler};
  MemoryBackgroundTransfer transfer{scheduler, files, "brindle.alerts"};

  MemoryTransferBackend() { transfer.setServer(service.server()); }
  BackgroundTransfer& launch() { return transfer; }
  void quit() { transfer.detach(); }
  std::string url() const { return "http://127.0.0.1:1"; }
  std::string put(const std::string& name, const Bytes& bytes) {
    EXPECT_TRUE(files.writeWhole("/" + name, bytes));
    return "/" + name;
  }
  bool until(const std::function<bool()>& done) {
    for (int i = 0; i < 100 && !done(); ++i) scheduler.advance(std::chrono::milliseconds(10));
    return done();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, BackgroundTransferContract, MemoryTransferBackend);

}  // namespace
}  // namespace brindle
