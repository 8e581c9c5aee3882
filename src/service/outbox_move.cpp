#include "service/outbox_move.h"

#include <set>

#include "service/alert_watch_sending.h"

namespace brindle {

namespace {

std::vector<std::string> bodiesIn(Files& files, const std::string& folder) {
  auto names = files.list(folder).value_or(std::vector<std::string>());
  std::erase_if(names, [](const std::string& name) { return !name.starts_with("watch-"); });
  return names;
}

}  // namespace

OutboxMove::Copied OutboxMove::copyBody(AlertWatchOutbox::Entry& entry) {
  const std::string& file = entry.op.file;
  if (file.empty() || files_.exists(joinPath(bodies_.folder(), file)).value_or(false)) {
    return Copied::nothingToCopy;
  }
  const auto body = files_.read(joinPath(from_, file));
  if (!body) {
    return body.error().kind == FileError::Kind::notFound ? Copied::nothingToCopy : leave(file);
  }
  if (!writeBodyFile(files_, bodies_.folder(), file, *body)) return leave(file);
  entry.op.copied = true;
  outbox_.changed(entry);
  return Copied::yes;
}

OutboxMove::Copied OutboxMove::leave(const std::string& file) {
  bodies_.liesElsewhere(file, joinPath(from_, file));
  return Copied::no;
}

void OutboxMove::copy() {
  if (done()) return;
  const bool nothingThere = bodiesIn(files_, from_).empty();
  long copied = 0, failed = 0;
  for (auto& each : outbox_.ops()) {
    const Copied how = copyBody(each);
    copied += how == Copied::yes;
    failed += how == Copied::no;
  }
  complete_ = failed == 0;
  if (nothingThere) return;
  if (copied > 0 || complete_) {
    log_.notice("outbox: moved to Application Support, %{public}ld photos copied", copied);
  }
  if (failed > 0) {
    log_.notice(
        "outbox: %{public}ld photos not copied from the temporary folder, tried again next launch",
        failed);
  }
}

void OutboxMove::clear(const std::vector<std::string>& labels) {
  if (done() || !complete_) return;
  std::set<std::string> needed;
  for (const std::string& text : labels) {
    if (const auto label = AlertWatchLabel::parse(text)) needed.insert(label->path);
  }
  long cleared = 0, kept = 0;
  for (const std::string& name : bodiesIn(files_, from_)) {
    const std::string path = joinPath(from_, name);
    if (needed.contains(path)) {
      ++kept;
    } else if (files_.remove(path)) {
      ++cleared;
    }
  }
  if (cleared + kept > 0) {
    log_.notice(
        "outbox: %{public}ld files cleared from the temporary folder, %{public}ld kept for tasks "
        "on their way",
        cleared, kept);
  }
  outbox_.mark("watch.outboxMoved", true);
  outbox_.saveSoon();
}

}  // namespace brindle
