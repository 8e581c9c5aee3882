#pragma once

#include <optional>
#include <string>

#include "platform/background_transfer.h"

namespace brindle {

/// An upload handed over to brindle-courier.
struct CourierJob {
  std::string description;
  HttpRequest request;    ///< without `body`: it lies in `bodyFile`
  std::string boot;       ///< during which it was handed over
  Duration handedOver{};  ///< awake time of that boot
};

std::string courierJobText(const CourierJob& job);
std::optional<CourierJob> readCourierJob(std::string_view text);
/// Of a job or a result, also of one that cannot be read otherwise.
std::optional<std::string> readCourierDescription(std::string_view text);

std::string courierResultText(const TransferResult& result);
std::optional<TransferResult> readCourierResult(std::string_view text);

}  // namespace brindle
