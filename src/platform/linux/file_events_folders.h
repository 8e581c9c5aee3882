#pragma once

#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/linux/file_events_batch.h"
#include "platform/linux/file_events_kernel.h"
#include "platform/linux/file_events_notes.h"
#include "platform/posix/descriptor.h"

namespace brindle {

/// The watched folders with all folders below them: what the kernel calls them, and where they are
/// now. Files need no entry. What counts is how things are when they are looked at: the kernel's
/// word that something changed is only the reason to look.
class ObservedFolders {
 public:
  struct Parts {
    KernelWatch& kernel;
    FileEventBatch& batch;
    UnobservedPaths& unobserved;
    /// Takes in what waits in the kernel: a long walk is seen by it, and would fill its queue.
    std::function<void()> relieve;
  };
  ObservedFolders(Parts parts, std::vector<std::string> exclusions);
  ObservedFolders(const ObservedFolders&) = delete;
  ObservedFolders& operator=(const ObservedFolders&) = delete;

  /// The folder and everything below it. The error's number when not even itself can be observed.
  int add(const std::string& path);
  void changed(const KernelChange& change);
  /// After all changes that came together: what was moved away and not to elsewhere is let go.
  void settle();
  /// After a loss of events.
  void lookAgain();
  /// Folders below the watched ones whose file system wants another way of observing. One that
  /// comes later changes the root: another way is only found when all is observed anew.
  const std::vector<std::string>& refused() const { return refused_; }
  std::size_t size() const { return folders_.size(); }

 private:
  struct Folder {
    Folder* parent = nullptr;  ///< none: a root, named by its whole path, "/" by nothing
    std::string name;
    std::uint32_t children = 0;
    std::uint32_t round = 0;  ///< in which it was last found
    std::string path() const;
    bool within(const Folder* other) const;
  };
  struct Place {
    Folder* parent;
    std::string name;
    std::string path() const { return parent ? parent->path() + "/" + name : name; }
  };
  enum class Reason {
    setUp,
    appeared,  ///< openings before it was observed were missed
    again      ///< events were lost
  };

  void walk(Place from, Reason reason);
  int visit(const Place& place, Reason reason, std::vector<Place>& below);
  /// Whether the folder is to be looked through.
  bool enter(const FileKey& key, const Place& place, Reason reason);
  void list(Descriptor folder, Folder& in, Reason reason, std::vector<Place>& below);
  void missed(int folder, const std::string& path, const char* name);
  int refuse(const Place& place, int error, Reason reason);
  void awaitRights(const Place& place);
  void lookAtUnread();
  void move(Folder& folder, const Place& place);
  bool hasLeft(const FileKey& key, const Folder& folder);
  void findLeft();
  void prune(const FileKey& key);
  bool excluded(const std::string& path) const;

  Parts parts_;
  std::vector<std::string> exclusions_;
  std::unordered_map<FileKey, Folder> folders_;
  /// May have left: by place where the kernel does not say which folder it was.
  std::set<std::pair<const Folder*, std::string>> left_;
  std::vector<FileKey> adrift_;
  std::vector<std::string> refused_;
  std::vector<std::string> roots_;
  std::set<std::pair<FileKey, std::string>>
      unread_;  ///< may not be read: the folder, the name in it
  bool rightsChanged_ = false;
  std::size_t visited_ = 0;
  std::uint32_t round_ = 0;
};

}  // namespace brindle
