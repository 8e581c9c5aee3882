#include "core/owner_secrets.h"

#include "base/enum_names.h"

namespace brindle {

std::string_view wrongTryName(WrongTry which) {
  static constexpr EnumNames names{std::pair{WrongTry::pin, std::string_view("wrong-pin")},
                                   std::pair{WrongTry::answer, std::string_view("wrong-answer")}};
  return names.of(which);
}

}  // namespace brindle
