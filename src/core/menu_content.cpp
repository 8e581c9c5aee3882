#include "core/menu_content.h"

namespace brindle {

std::vector<MenuContent::Entry> MenuContent::entries() const {
  const Entry first = armed_ ? Entry{Action::turnOff, "Turn Brindle off…"}
                             : Entry{Action::turnOn, "Turn Brindle on"};
  // The two disabled ones keep their place: an entry that comes and goes moves the ones below it.
  return {first,
          {Action::openFullWindow, "Open full window…"},
          {Action::settings, "Settings"},
          {Action::whatsNew, "What's new", false},
          {Action::reportProblem, "Report a problem…", false},
          {Action::quit, "Quit Brindle…"}};
}

}  // namespace brindle
