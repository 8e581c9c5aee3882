#include "base/json_fields.h"
#include "base/json_writer.h"
#include "vault/vault_records.h"

namespace brindle {
namespace {

void write(JsonWriter& out, std::span<const Uuid> ids) {
  out.beginArray();
  for (const Uuid& each : ids) out.value(each);
  out.endArray();
}

std::vector<Uuid> read(const Json& json) {
  std::vector<Uuid> ids;
  forEachElement(json, [&ids](const Json& each) {
    if (!readJson(each, ids.emplace_back())) ids.pop_back();
    return true;
  });
  return ids;
}

}  // namespace

std::string idsText(std::span<const Uuid> ids) {
  std::string text;
  JsonWriter out(text);
  write(out, ids);
  return text;
}

std::vector<Uuid> readIds(std::string_view text) {
  const auto json = parseJson(text);
  return json ? read(*json) : std::vector<Uuid>();
}

std::string accountsText(const std::map<Uuid, std::string>& accounts) {
  std::map<std::string, std::vector<Uuid>> events;
  for (const auto& [event, email] : accounts) events[email].push_back(event);
  std::string text;
  JsonWriter out(text);
  out.beginArray();
  for (const auto& [email, its] : events) {
    out.beginObject().field("email", email).key("events");
    write(out, its);
    out.endObject();
  }
  out.endArray();
  return text;
}

std::map<Uuid, std::string> readAccounts(std::string_view text) {
  std::map<Uuid, std::string> accounts;
  const auto json = parseJson(text);
  if (!json) return accounts;
  forEachElement(*json, [&accounts](const Json& each) {
    std::string email;
    JsonFields in(each);
    in.required("email", email);
    const Json* events = in.find("events");
    if (!in.readable() || !events) return true;
    for (const Uuid& event : read(*events)) accounts[event] = email;
    return true;
  });
  return accounts;
}

}  // namespace brindle
