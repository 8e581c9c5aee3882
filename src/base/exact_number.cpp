#include "base/exact_number.h"

#include <charconv>
#include <version>
#ifndef __cpp_lib_to_chars
#include <locale.h>
#include <stdlib.h>
#ifdef __APPLE__
#include <xlocale.h>
#endif

#include <cmath>
#include <string>
#endif

namespace brindle {

double exactDouble(std::string_view number, double otherwise) {
#ifdef __cpp_lib_to_chars
  double value = 0;
  const char* end = number.data() + number.size();
  const auto [stop, error] = std::from_chars(number.data(), end, value);
  return error == std::errc() && stop == end ? value : otherwise;
#else
  // libc++ 19 reads no floating-point numbers with from_chars, and strtod follows the program's
  // locale.
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  const std::string text(number);
  char* stop = nullptr;
  const double value = strtod_l(text.c_str(), &stop, plain);
  return *stop == 0 && !text.empty() && std::isfinite(value) ? value : otherwise;
#endif
}

}  // namespace brindle
