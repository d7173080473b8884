// Replaces system calls of the library in the test executable: waits take no time and are counted, a
// partition has the size that a test wants, and looks at files and shell commands are recorded.
#pragma once

#include <sys/statvfs.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace interposed {

/// Every wait so far; with no name of the function that was used for it.
std::vector<std::chrono::nanoseconds> Waits();

/// Runs in place of each wait, with the wait's number from 1. Set it while nothing waits.
void OnWait(std::function<void(int number)> action);

/// Runs before each stat or lstat of the path given, with the number of the look from 1.
void OnStat(const std::string& path, std::function<void(int number)> action);
int StatCount();

/// Runs once, after the path was resolved and before whoever asked does anything with the answer.
void AfterRealpath(const std::string& path, std::function<void()> action);

/// The paths that were unlinked, in order.
std::vector<std::string> Removed();
/// Runs once, in front of the next unlink.
void BeforeRemoval(std::function<void()> action);

/// What statvfs answers from now on; by default the real answer.
void SetPartition(const struct statvfs& status);
void FailStatvfs();
/// The path of the last statvfs.
std::string MeasuredPath();

/// The command lines that went to popen, each with its mode in front: "re du -bs x 2>&1".
std::vector<std::string> Commands();
void FailPopen();
/// No command runs from now on; each prints this text.
void AnswerCommands(const std::string& text);
/// Waits, removals and commands so far, and the memory that they took.
void Forget();

}  // namespace interposed
