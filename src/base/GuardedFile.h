// Files that others may tamper with. Anyone may write to the agent's folders, so a path could become a link,
// a FIFO or a device between a check and the open: the open itself follows no link and never blocks, and what
// was opened must be a regular file with one name before it is truncated.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "base/CancellationHeld.h"

namespace KURA::base {

/// Owns an open stream; closed on every path out.
using File = std::unique_ptr<std::FILE, Release<std::fclose>>;

enum class WriteMode {
    kWrite,      ///< as "w"
    kReadWrite,  ///< as "w+"
};

/// The guard: true when path resolves to itself or does not exist yet. With resolved not null, *resolved is
/// where the path leads, empty when it does not resolve. On refusal errno tells why (ELOOP for a path that
/// leads elsewhere).
bool IsPlainPath(const char* path, std::string* resolved = nullptr);

/// Opens for writing, created (0666 less the umask) or truncated. No component of the path may be a link, and
/// what is there must be a regular file with one name. Null with errno set otherwise; nothing is then
/// created, written or truncated. Close-on-exec.
File OpenPlainFile(const char* path, WriteMode mode);

/// IsPlainPath, then OpenPlainFile for writing.
File OpenGuarded(const char* path);

/// Writes text and closes the file. False, errno telling why, without a file or when any of it did not
/// arrive.
bool WriteAndClose(File file, const std::string& text);

/// OpenGuarded, then WriteAndClose.
bool WriteGuarded(const std::string& path, const std::string& text);

/// Removes the file of an absolute path, unless a folder on the way is a link. A failure is ignored.
void RemoveFile(const std::string& path);

/// Opens a regular file for reading under the same conditions. Null with errno set otherwise.
File OpenPlainFileForReading(const char* path);

}  // namespace KURA::base
