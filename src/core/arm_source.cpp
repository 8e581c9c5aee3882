#include "core/arm_source.h"

namespace brindle {

std::string_view ArmSource::rawValue() const {
  struct Name {
    std::string_view operator()(const Owner&) const { return "owner"; }
    std::string_view operator()(const Schedule&) const { return "schedule"; }
    std::string_view operator()(const Remote&) const { return "remote"; }
    std::string_view operator()(const IPhoneAway&) const { return "iphone-away"; }
  };
  return std::visit(Name{}, by);
}

}  // namespace brindle
