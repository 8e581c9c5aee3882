#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "platform/files.h"
#include "platform/posix/descriptor.h"

namespace brindle {

/// Where programs of ours and brindle-courier meet: one folder, in it one folder for each session.
/// The steps are ordered so that a kill between any two of them loses nothing:
/// - a job is there once its file is whole in `todo`;
/// - a result is whole in `done` before its job leaves `todo`, and leaves once it was told;
/// - a job is cancelled by moving it from `todo` to `cancel`, which needs no room on the disk;
///   brindle-courier then drops what it knows of it and removes it.
struct CourierFolders {
  std::string session;

  std::string todo() const { return joinPath(session, "todo"); }
  std::string done() const { return joinPath(session, "done"); }
  std::string cancel() const { return joinPath(session, "cancel"); }
  /// Jobs that cannot be read.
  std::string damaged() const { return joinPath(session, "damaged"); }
};

constexpr std::string_view courierSuffix = ".json";

/// The sessions' folders. Empty when the spool cannot be read.
std::vector<CourierFolders> courierSessions(Files& files, const std::string& spool);
/// Names of the entries; none when there is no such folder.
std::vector<std::string> courierEntries(Files& files, const std::string& folder);
/// Something is left for brindle-courier to do.
bool courierHasWork(Files& files, const std::string& spool);
/// Removes the oldest entries beyond `most`, and beyond `mostBytes` in all. By number and size, not
/// by age: a clock set a year ahead must not cost an answer.
void trimFolder(const std::string& folder, std::size_t most, std::uintmax_t mostBytes);

/// Held by the one brindle-courier of a spool. The system lets it go with the process.
class CourierLock {
 public:
  /// Nothing when another one holds it, or when the file cannot be made.
  static std::optional<CourierLock> take(const std::string& spool);
  /// Looks without taking it for a moment: a brindle-courier that starts just then must not find
  /// it taken.
  static bool held(const std::string& spool);

 private:
  explicit CourierLock(Descriptor file) : file_(std::move(file)) {}
  Descriptor file_;
};

/// A place where tests end the program, once, as a kill would. Nothing in a released program.
void courierStep(std::string_view name);

}  // namespace brindle
