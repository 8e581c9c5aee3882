#include "service/alert_outbox.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace brindle {
namespace {

constexpr std::string_view nameStart = "alert-";
constexpr std::string_view nameEnding = ".multipart";

bool writeBody(Files& files, const std::string& folder, const std::string& path,
               const AlertOutbox::Compose& compose, std::string& boundary) {
  const auto body = compose();
  if (!body || !files.makeFolder(folder) || !files.writeWhole(path, body->bytes)) return false;
  boundary = body->boundary;
  return true;
}

}  // namespace

std::string alertBodyName(const Uuid& id) {
  return std::string(nameStart) + id.upper() + std::string(nameEnding);
}

std::optional<Uuid> alertBodyId(std::string_view fileName) {
  if (!fileName.starts_with(nameStart) || !fileName.ends_with(nameEnding)) return std::nullopt;
  fileName.remove_prefix(nameStart.size());
  if (fileName.size() < nameEnding.size()) return std::nullopt;
  fileName.remove_suffix(nameEnding.size());
  return Uuid::parse(fileName);
}

const AlertBody* AlertOutbox::find(const Uuid& id) const {
  const auto found = bodies_.find(id);
  return found == bodies_.end() ? nullptr : &found->second;
}

bool AlertOutbox::load() {
  if (loaded_) return true;
  const auto text = files_.read(indexPath());
  if (!text && text.error().kind != FileError::Kind::notFound) return false;
  loaded_ = true;
  const auto read = text ? readAlertIndex(textOf(*text)) : std::map<Uuid, AlertBody>{};
  if (!read) return true;  // files of a damaged list stay for now
  bodies_ = *read;
  std::erase_if(bodies_, [this](const auto& entry) {
    const auto there = files_.exists(path(entry.second));
    return there && !*there;
  });
  removeStrays();
  return true;
}

void AlertOutbox::removeStrays() {
  std::vector<std::string> known;
  for (const auto& [id, body] : bodies_) known.push_back(body.file);
  worker_.run(
      [&files = files_, folder = folder_, known] {
        const auto names = files.list(folder).value_or(std::vector<std::string>{});
        for (const std::string& name : names) {
          if (!alertBodyId(name) || std::ranges::find(known, name) != known.end()) continue;
          (void)files.remove(joinPath(folder, name));  // the next start tries again
        }
      },
      {});
}

void AlertOutbox::write(AlertBody body, Compose compose, std::function<void(bool)> done) {
  if (!load()) {
    return worker_.run([] {}, lifetime_.guard([done = std::move(done)] { done(false); }));
  }
  const auto boundary = std::make_shared<std::string>();
  worker_.run(
      [&files = files_, folder = folder_, to = path(body), compose = std::move(compose), boundary] {
        if (!writeBody(files, folder, to, compose, *boundary)) boundary->clear();
      },
      lifetime_.guard([this, body, boundary, done = std::move(done)]() mutable {
        if (boundary->empty()) return done(false);
        body.boundary = *boundary;
        enter(body, std::move(done));
      }));
}

void AlertOutbox::adopt(const AlertBody& body, std::function<void(bool)> done) {
  enter(body, std::move(done));
}

void AlertOutbox::enter(const AlertBody& body, std::function<void(bool)> done) {
  std::optional<AlertBody> before;
  if (const AlertBody* known = find(body.id)) before = *known;
  bodies_[body.id] = body;
  std::vector<std::string> replaced;
  if (before && before->file != body.file) replaced.push_back(path(*before));
  writeIndex(std::move(replaced), lifetime_.guard([this, body, before,
                                                   done = std::move(done)](bool written) {
    const AlertBody* known = find(body.id);
    if (!written && known && known->file == body.file) {
      bodies_.erase(body.id);
      if (before) bodies_[body.id] = *before;
      worker_.run([&files = files_, path = path(body)] { (void)files.remove(path); }, {});
    }
    done(written);
  }));
}

void AlertOutbox::remove(const Uuid& id) {
  const AlertBody* body = find(id);
  if (!body) return;
  std::vector<std::string> files{path(*body)};
  if (!body->from.empty()) files.push_back(body->from);
  bodies_.erase(id);
  writeIndex(std::move(files), {});
}

void AlertOutbox::withdraw(const Uuid& id) {
  const auto found = bodies_.find(id);
  if (found == bodies_.end()) return;
  found->second.withdrawn = true;
  writeIndex({}, {});
}

void AlertOutbox::writeIndex(std::vector<std::string> removeThen, std::function<void(bool)> done) {
  const auto written = std::make_shared<bool>(false);
  worker_.run(
      [&files = files_, to = indexPath(), text = writeAlertIndex(bodies_),
       gone = std::move(removeThen), written] {
        *written = files.writeWhole(to, viewOf(text)).has_value();
        if (!*written) return;
        for (const std::string& path : gone) (void)files.remove(path);  // a later start does
      },
      [written, done = std::move(done)] {
        if (done) done(*written);
      });
}

}  // namespace brindle
