#include "app/harden.h"

#include <sys/resource.h>
#include <sys/stat.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace brindle {

void harden() {
  umask(077);
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
#ifdef __linux__
  prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
#endif
}

}  // namespace brindle
