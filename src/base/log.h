#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace brindle {

/// One argument of a log line, still apart from its text so that a sink can decide what to show.
using LogArg = std::variant<std::int64_t, double, bool, std::string_view>;

/// Where log lines go: the journal, the terminal, os_log, a recorder. Called on the main thread,
/// and from worker threads by the few classes that own one; sinks are safe for both. The format is
/// the literal of the call, its arguments are valid for the call only.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void write(std::string_view format, std::span<const LogArg> args) = 0;
};

namespace logging {

enum class Kind { integer, real, boolean, text };

template <class A>
constexpr Kind kindOf() {
  using T = std::remove_cvref_t<A>;
  if constexpr (std::is_same_v<T, bool>) {
    return Kind::boolean;
  } else if constexpr (std::integral<T>) {
    return Kind::integer;
  } else if constexpr (std::floating_point<T>) {
    return Kind::real;
  } else {
    static_assert(std::is_convertible_v<const T&, std::string_view>,
                  "log arguments are integers, floating-point numbers, booleans or text");
    return Kind::text;
  }
}

/// A directive such as %{public}ld, found in a format.
struct Directive {
  std::size_t begin = 0, end = 0;  // [begin, end) in the format
  Kind kind = Kind::text;
  bool isPublic = false;
};

/// Not constexpr on purpose: reaching it while a format is checked stops the compilation here.
void formatIsWrong(const char* why);

constexpr Directive nextDirective(std::string_view format, std::size_t from) {
  const std::size_t begin = format.find('%', from);
  if (begin == std::string_view::npos) return {format.size(), format.size()};
  std::size_t at = begin + 1;
  const auto takes = [&](std::string_view piece) {
    if (!format.substr(at).starts_with(piece)) return false;
    at += piece.size();
    return true;
  };
  Directive found{begin, begin};
  bool boolean = false;
  if (takes("{public}")) {
    found.isPublic = true;
  } else if (takes("{bool,public}")) {
    found.isPublic = boolean = true;
  } else if (takes("{bool,private}")) {
    boolean = true;
  } else if (!takes("{private}")) {
    formatIsWrong("every argument says whether it is public or private");
  }
  if (takes("ld") || takes("d")) {
    found.kind = boolean ? Kind::boolean : Kind::integer;
  } else if (!boolean && takes("f")) {
    found.kind = Kind::real;
  } else if (!boolean && takes("s")) {
    found.kind = Kind::text;
  } else {
    formatIsWrong("conversions are ld, d, f and s; a boolean takes d");
  }
  found.end = at;
  return found;
}

template <class... A>
consteval void check(std::string_view format) {
  std::size_t at = 0;
  [[maybe_unused]] const auto matches = [&](Kind kind) {
    const Directive found = nextDirective(format, at);
    if (found.begin == format.size()) formatIsWrong("more arguments than directives");
    if (found.kind != kind) formatIsWrong("the directive does not fit its argument");
    at = found.end;
  };
  (matches(kindOf<A>()), ...);
  if (nextDirective(format, at).begin != format.size()) {
    formatIsWrong("fewer arguments than directives");
  }
}

template <class A>
LogArg arg(const A& value) {
  if constexpr (kindOf<A>() == Kind::boolean) {
    return value;
  } else if constexpr (kindOf<A>() == Kind::integer) {
    return static_cast<std::int64_t>(value);
  } else if constexpr (kindOf<A>() == Kind::real) {
    return static_cast<double>(value);
  } else {
    return std::string_view(value);
  }
}

}  // namespace logging

/// A line as designed, in os_log's notation, checked against its arguments by the compiler.
template <class... A>
struct LogFormat {
  template <std::size_t N>
  consteval LogFormat(const char (&literal)[N])
      : text(literal, N - 1) {  // NOLINT: implicit by design
    logging::check<A...>(text);
  }
  std::string_view text;
};

/// What logic writes to. Handed in like any collaborator; the sink outlives it.
class Log {
 public:
  explicit Log(LogSink& sink) : sink_(&sink) {}

  template <class... A>
  void notice(LogFormat<std::type_identity_t<A>...> format, const A&... args) const {
    const std::array<LogArg, sizeof...(A)> all{logging::arg(args)...};
    sink_->write(format.text, all);
  }

 private:
  LogSink* sink_;
};

/// A stretch of a rendered line, public or private as a whole; neighbours of one kind are merged.
struct LogSegment {
  std::string text;
  bool isPublic = true;
};
std::vector<LogSegment> logSegments(std::string_view format, std::span<const LogArg> args);

/// The rendered line: six decimals for %f, words for booleans. Private arguments read "<private>"
/// unless `showPrivate`.
std::string renderLogLine(std::string_view format, std::span<const LogArg> args,
                          bool showPrivate = false);

}  // namespace brindle
