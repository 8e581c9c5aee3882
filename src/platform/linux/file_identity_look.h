#pragma once

#include "base/result.h"
#include "platform/linux/bookmark_record.h"

namespace brindle {

/// Who the file or folder at this very path is; a symbolic link there is not followed. The error is
/// an errno; EINVAL for what is neither a file nor a folder. Needs no right to read it and is no
/// opening to anybody who watches.
Result<FileIdentity, int> lookAtIdentity(const std::string& path);

}  // namespace brindle
