#pragma once

namespace brindle {

/// For smart pointers to the library's objects: the function that frees them.
template <auto free>
struct FreedBy {
  void operator()(auto* owned) const { free(owned); }
};

}  // namespace brindle
