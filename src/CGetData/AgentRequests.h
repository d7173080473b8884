// The file protocol of the privileged agent. A request is a trigger file; a data file tells the agent more.
// It is complete and closed before the trigger appears, since the agent acts at once. Others may write to the
// same folders, so an answer may be anything.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

namespace KURA::agent {

/// Whether the agent's acknowledgement is there: a regular file, no link. It need not be readable.
bool IsAcknowledged(const std::string& path);

/// The start of the agent's answer; none when no readable regular file is at path.
std::optional<std::string> ReadAnswer(const std::string& path);

/// As much of the text of an open file as an answer may take.
std::string ReadStart(std::FILE* file);

/// Whether an id can be part of a file name: one with a slash would lead to another folder.
bool IsPartOfFileName(const std::string& id);

void WaitOneSecond();

}  // namespace KURA::agent
