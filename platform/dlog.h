// The set's log: main buffer, printf formats.
#pragma once

enum { DLOG_DEBUG = 3, DLOG_INFO = 4, DLOG_WARN = 5, DLOG_ERROR = 6 };

extern "C" int dlog_print(int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
