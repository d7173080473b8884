// Long answers on a terminal, one screen at a time.
#pragma once

#include <string>

namespace cli {

/// Whether text for people may go through a pager: to a terminal, without --no-pager, in the process that the
/// user started.
bool PagerWanted();

/// Shows a text that is longer than the terminal through $PAGER, or less, and returns when its reader is
/// done. False, with nothing shown, when no pager is wanted or needed, or none could be started.
bool ShownInPager(const std::string& text);

}  // namespace cli
