#include <gtest/gtest.h>

#include "platform/contract/machine_contract.h"
#include "platform/contract/opened_links_contract.h"
#include "platform/contract/push_registration_contract.h"
#include "platform/contract/system_power_contract.h"
#include "platform/contract/web_sign_in_contract.h"
#include "platform/memory/apple_sign_in_memory.h"
#include "platform/memory/machine_memory.h"
#include "platform/memory/opened_links_memory.h"
#include "platform/memory/process_activity_memory.h"
#include "platform/memory/push_registration_memory.h"
#include "platform/memory/system_power_memory.h"
#include "platform/memory/web_sign_in_memory.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

struct Loop {
  VirtualScheduler scheduler;
  bool until(const std::function<bool()>& done) {
    scheduler.run();
    return done();
  }
};

struct MemoryPowerBackend : Loop {
  MemorySystemPower all{scheduler};
  SystemPower& power() { return all; }
  void sleep() { all.announceSleep(); }
  void wake() { all.wake(); }
  bool asleepOrAwakeAgain() const { return all.allowed() == all.announced(); }
  bool waitsForUs() { return all.waitsForSomebody(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, SystemPowerContract, MemoryPowerBackend);

struct MemoryLinksBackend : Loop {
  MemoryOpenedLinks all{scheduler};
  OpenedLinks& links() { return all; }
  void install(const std::string& scheme) { all.setRegistered(scheme); }
  void open(const std::string& link) { all.open(link); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, OpenedLinksContract, MemoryLinksBackend);

struct MemorySignInBackend : Loop {
  MemoryWebSignIn all{scheduler};
  WebSignIn& signIn() { return all; }
  void comeBack(const std::string& query) { all.redirect(query); }
  void breaks() { all.setBroken("no browser"); }
  void loseInterest() { scheduler.advance(std::chrono::minutes(10)); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, WebSignInContract, MemorySignInBackend);

struct MemoryPushBackend : Loop {
  MemoryPushRegistration all{scheduler};
  PushRegistration& push() { return all; }
  void give(const std::string& token) { all.setToken(token); }
  void takeBack() { all.setProblem("gone"); }
  void send(const Bytes& message) { all.receive(message); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, PushRegistrationContract, MemoryPushBackend);

struct MemoryMachineBackend {
  MemoryMachine named;
  MemoryProcessActivity counted;
  Machine& machine() { return named; }
  ProcessActivity& activity() { return counted; }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, MachineContract, MemoryMachineBackend);

}  // namespace
}  // namespace brindle
