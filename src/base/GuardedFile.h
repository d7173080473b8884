// Opens files that others may tamper with. Anyone may write to the agent's folders, so a path can become a
// link, a FIFO or a device between a check and the open. Therefore the open itself follows no link and never
// blocks, and a file is truncated only once it is known to be a regular file with one name.
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

/// The guard: true when path resolves to itself or does not exist yet. Unless resolved is null, *resolved
/// receives the place where path leads, empty when it does not resolve. On refusal errno tells why (ELOOP for
/// a path that leads elsewhere).
bool IsPlainPath(const char* path, std::string* resolved = nullptr);

/// Opens path for writing; creates it (0666 less the umask) or truncates it. No component of the path may be
/// a link, and an existing file must be a regular file with one name. Otherwise returns null with errno set,
/// and creates, writes and truncates nothing. Close-on-exec.
File OpenPlainFile(const char* path, WriteMode mode);

/// IsPlainPath, then OpenPlainFile for writing.
File OpenGuarded(const char* path);

/// Writes text and closes the file. False when file is null or when text was not written whole; errno tells
/// why.
bool WriteAndClose(File file, const std::string& text);

/// OpenGuarded, then WriteAndClose.
bool WriteGuarded(const std::string& path, const std::string& text);

/// Removes the file at an absolute path, but not through a folder that is a link. A failure is ignored.
void RemoveFile(const std::string& path);

/// Opens a regular file for reading under the same conditions. Null with errno set otherwise.
File OpenPlainFileForReading(const char* path);

}  // namespace KURA::base
