#include "watch/known_openers.h"

#include <algorithm>
#include <array>

namespace brindle {
namespace {

using Name = std::string_view;

constexpr std::array indexers{Name("baloo_file"),         Name("baloo_file_extractor"),
                              Name("localsearch-3"),      Name("localsearch-extractor-3"),
                              Name("recollindex"),        Name("tracker-extract"),
                              Name("tracker-extract-3"),  Name("tracker-miner-fs"),
                              Name("tracker-miner-fs-3"), Name("mds"),
                              Name("mds_stores"),         Name("mdsync"),
                              Name("mdworker"),           Name("mdworker_shared")};

constexpr std::array thumbnailers{Name("evince-thumbnailer"),
                                  Name("ffmpegthumbnailer"),
                                  Name("gdk-pixbuf-thumbnailer"),
                                  Name("gnome-thumbnail-font"),
                                  Name("gsf-office-thumbnailer"),
                                  Name("totem-video-thumbnailer"),
                                  Name("tumblerd"),
                                  Name("com.apple.quicklook.ThumbnailsAgent")};

constexpr std::array backups{Name("borg"), Name("kup-daemon"), Name("restic"), Name("backupd"),
                             Name("backupd-helper")};

constexpr std::array systemFolders{Name("/usr/bin/"),     Name("/usr/lib/"),  Name("/usr/lib64/"),
                                   Name("/usr/libexec/"), Name("/usr/sbin/"), Name("/System/")};

}  // namespace

bool isKnownOpener(std::string_view executable) {
  const auto isBelow = [executable](Name folder) { return executable.starts_with(folder); };
  if (std::ranges::none_of(systemFolders, isBelow)) return false;
  const Name name = executable.substr(executable.rfind('/') + 1);
  const auto has = [name](const auto& names) {
    return std::ranges::find(names, name) != names.end();
  };
  return has(indexers) || has(thumbnailers) || has(backups);
}

}  // namespace brindle
