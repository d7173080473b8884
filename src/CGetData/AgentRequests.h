// The file protocol of the privileged agent. A request is a trigger file; what the agent needs to know stands
// in a data file that is complete and closed before the trigger appears, since the agent acts at once. Others
// may write to the same folders, so the answers are taken like any hostile file.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

namespace KURA::agent {

/// Whether the agent's acknowledgement stands: a regular file, no link to one.
bool IsAcknowledged(const std::string& path);

/// The start of the agent's answer; none when there is no regular file at path that may be read.
std::optional<std::string> ReadAnswer(const std::string& path);

/// As much of the text of an open file as an answer may take.
std::string ReadStart(std::FILE* file);

/// Whether an id can end a file name; one with a slash would lead to another folder.
bool IsPartOfFileName(const std::string& id);

void WaitOneSecond();

}  // namespace KURA::agent
