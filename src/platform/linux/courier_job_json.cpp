#include "base/base64.h"
#include "base/json_fields.h"
#include "base/json_writer.h"
#include "platform/linux/courier_job.h"

namespace brindle {
namespace {

constexpr EnumNames<HttpRequest::Method, 2> methodNames{
    {{{HttpRequest::Method::get, "GET"}, {HttpRequest::Method::post, "POST"}}}};

// Two of them still add up without overflow.
constexpr Duration longestDuration = std::chrono::years(100);

bool readDuration(const Json& json, Duration& out) {
  std::int64_t nanoseconds = 0;
  if (!readJson(json, nanoseconds)) return false;
  if (nanoseconds < 0 || nanoseconds > longestDuration.count()) return false;
  out = Duration(nanoseconds);
  return true;
}

bool readHeaders(const Json& json, std::vector<HttpHeader>& out) {
  return forEachElement(json, [&out](const Json& each) {
    auto& header = out.emplace_back();
    return JsonFields(each)
        .required("name", header.name)
        .required("value", header.value)
        .readable();
  });
}

bool readBody(const Json& json, Bytes& out) {
  const auto text = jsonText(json);
  auto bytes = text ? fromBase64(*text) : std::nullopt;
  if (bytes) out = std::move(*bytes);
  return bytes.has_value();
}

}  // namespace

std::string courierJobText(const CourierJob& job) {
  std::string text;
  JsonWriter out(text);
  out.beginObject()
      .field("description", job.description)
      .field("method", methodNames.of(job.request.method))
      .field("url", job.request.url)
      .key("headers")
      .beginArray();
  for (const auto& [name, value] : job.request.headers) {
    out.beginObject().field("name", name).field("value", value).endObject();
  }
  out.endArray()
      .field("bodyFile", job.request.bodyFile)
      .field("timeout", job.request.timeout.count())
      .field("boot", job.boot)
      .field("handedOver", job.handedOver.count())
      .endObject();
  return text;
}

std::optional<CourierJob> readCourierJob(std::string_view text) {
  const auto json = parseJson(text);
  if (!json) return std::nullopt;
  CourierJob job;
  HttpRequest& request = job.request;
  JsonFields in(*json);
  in.required("description", job.description)
      .required("method", request.method, namedBy(methodNames))
      .required("url", request.url)
      .required("headers", request.headers, readHeaders)
      .required("bodyFile", request.bodyFile)
      .required("timeout", request.timeout, readDuration)
      .required("boot", job.boot)
      .required("handedOver", job.handedOver, readDuration);
  return in.readable() ? std::optional(std::move(job)) : std::nullopt;
}

std::optional<std::string> readCourierDescription(std::string_view text) {
  const auto json = parseJson(text);
  std::string description;
  if (!json || !JsonFields(*json).required("description", description).readable()) {
    return std::nullopt;
  }
  return description;
}

std::string courierResultText(const TransferResult& result) {
  std::string text;
  JsonWriter(text)
      .beginObject()
      .field("description", result.description)
      .field("status", result.answer.status)
      .field("elapsed", result.answer.elapsed.count())
      .field("problem", result.answer.problem)
      .field("body", base64(result.answer.body))
      .endObject();
  return text;
}

std::optional<TransferResult> readCourierResult(std::string_view text) {
  const auto json = parseJson(text);
  if (!json) return std::nullopt;
  TransferResult result;
  std::int64_t status = 0;
  JsonFields in(*json);
  in.required("description", result.description)
      .required("status", status)
      .required("elapsed", result.answer.elapsed, readDuration)
      .required("problem", result.answer.problem)
      .required("body", result.answer.body, readBody);
  if (!in.readable() || status < 0 || status > 999) return std::nullopt;
  result.answer.status = static_cast<int>(status);
  return result;
}

}  // namespace brindle
