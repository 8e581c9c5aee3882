#include "platform/linux/login_item_linux.h"

#include <string.h>

#include "platform/file_step.h"
#include "platform/linux/desktop_entry.h"

namespace brindle {

namespace {

// systemd.service(5): C-style escapes in quotes, doubled percent signs and dollar signs.
std::string unitQuoted(const std::string& path) {
  std::string out = "\"";
  for (const char c : path) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '%' || c == '$') out += c;
    out += c;
  }
  return out + '"';
}

std::string problem(const char* what, const FileError& error) {
  return std::string(what) + ": " + strerrordesc_np(error.code);
}

// "Hidden" is the desktop's own way to turn an entry off without deleting it.
bool turnedOff(std::string_view entry) {
  return entry.find("\nHidden=true") != entry.npos ||
         entry.find("\nX-GNOME-Autostart-enabled=false") != entry.npos;
}

}  // namespace

LoginItemPlaces LoginItemPlaces::of(Files& files, std::string program) {
  std::string config = homeFolder("XDG_CONFIG_HOME", ".config");
  const std::string runtime = environmentText("XDG_RUNTIME_DIR");
  const bool manager =
      !runtime.empty() && files.exists(joinPath(runtime, "systemd/private")).value_or(false);
  return {std::move(program), std::move(config), manager};
}

std::string LinuxLoginItem::entryPath() const {
  return joinPath(places_.configHome, "autostart/com.corvane.brindle.desktop");
}
std::string LinuxLoginItem::unitPath() const {
  return joinPath(places_.configHome, "systemd/user/brindle-guard.service");
}

LoginItem::Status LinuxLoginItem::status() const {
  const auto entry = files_.read(entryPath());
  if (!entry) {
    return entry.error().kind == FileError::Kind::notFound ? Status::disabled : Status::unknown;
  }
  return turnedOff(textOf(*entry)) ? Status::disabled : Status::enabled;
}

Result<void, std::string> LinuxLoginItem::enable() {
  if (places_.userServiceManager) {
    auto unit =
        write(unitPath(), "[Unit]\nDescription=Brindle without a window\n\n[Service]\nExecStart=" +
                              unitQuoted(places_.program) +
                              " guard --at-login\nRestart=on-failure\n\n[Install]\n"
                              "WantedBy=default.target\n");
    if (!unit) return unit;
  }
  return write(entryPath(), "[Desktop Entry]\nType=Application\nName=Brindle\nExec=" +
                                desktopQuoted(places_.program) + " --at-login\nTerminal=false\n");
}

Result<void, std::string> LinuxLoginItem::disable() {
  const auto unit = erase(unitPath());
  auto entry = erase(entryPath());
  return entry ? unit : entry;
}

Result<void, std::string> LinuxLoginItem::write(const std::string& path, const std::string& text) {
  auto done = files_.makeFolder(folderOf(path));
  if (done) done = files_.writeWhole(path, viewOf(text));
  if (!done)
    return Failure<std::string>(problem("could not be set to start at login", done.error()));
  return {};
}

Result<void, std::string> LinuxLoginItem::erase(const std::string& path) {
  const auto done = files_.remove(path);
  if (done || done.error().kind == FileError::Kind::notFound) return {};
  return Failure<std::string>(problem("could not be kept from starting at login", done.error()));
}

ServiceReport LinuxLoginItem::report() const {
  const char* backend = "XDG autostart";
  switch (status()) {
    case Status::enabled:
      return {"login item", backend, true, "starts at login"};
    case Status::disabled:
    case Status::needsApproval:
      return {"login item", backend, true, "does not start at login"};
    case Status::unknown:
      break;
  }
  return {"login item", backend, false, "the autostart entry cannot be read"};
}

}  // namespace brindle
