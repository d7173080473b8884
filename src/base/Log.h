// The library's log lines: tag, prefix and priority in one place. Included from .cpp files only.
#pragma once

#include "dlog.h"

namespace KURA::base {

constexpr const char* BaseName(const char* path) {
    const char* name = path;
    for (const char* p = path; *p != '\0'; ++p) {
        if (*p == '/') {
            name = p + 1;
        }
    }
    return name;
}

}  // namespace KURA::base

#define KURA_LOG_PREFIX_ "%s: %s(%d) > [%s:%d] "

#define KURA_LOG_PLAIN_(function, priority, format)                                                         \
    do {                                                                                                    \
        static constexpr const char* kLogFile = ::KURA::base::BaseName(__FILE__);                           \
        dlog_print(priority, "TVKuraHelp", KURA_LOG_PREFIX_ format, kLogFile, function, __LINE__, function, \
                   __LINE__);                                                                               \
    } while (false)

#define KURA_LOG_WITH_(function, priority, format, ...)                                                     \
    do {                                                                                                    \
        static constexpr const char* kLogFile = ::KURA::base::BaseName(__FILE__);                           \
        dlog_print(priority, "TVKuraHelp", KURA_LOG_PREFIX_ format, kLogFile, function, __LINE__, function, \
                   __LINE__, __VA_ARGS__);                                                                  \
    } while (false)

// C++17 does not allow an empty variadic part: a format without values takes KURA_LOG_PLAIN_, a format with
// up to 12 values takes KURA_LOG_WITH_.
#define KURA_LOG_CHOOSE_(a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, chosen, ...) chosen
#define KURA_LOG_FORM_(...)                                                                          \
    KURA_LOG_CHOOSE_(__VA_ARGS__, KURA_LOG_WITH_, KURA_LOG_WITH_, KURA_LOG_WITH_, KURA_LOG_WITH_,    \
                     KURA_LOG_WITH_, KURA_LOG_WITH_, KURA_LOG_WITH_, KURA_LOG_WITH_, KURA_LOG_WITH_, \
                     KURA_LOG_WITH_, KURA_LOG_WITH_, KURA_LOG_WITH_, KURA_LOG_PLAIN_, unused)

/// KURA_LOG_AS(function, priority, format, values...) logs in the name of another function: a step logs in
/// the name of its operation.
#define KURA_LOG_AS(function, priority, ...) KURA_LOG_FORM_(__VA_ARGS__)(function, priority, __VA_ARGS__)

/// KURA_INFO(format, values...) and its like log in the name of the enclosing function.
#define KURA_DEBUG(...) KURA_LOG_AS(__func__, DLOG_DEBUG, __VA_ARGS__)
#define KURA_INFO(...) KURA_LOG_AS(__func__, DLOG_INFO, __VA_ARGS__)
#define KURA_ERROR(...) KURA_LOG_AS(__func__, DLOG_ERROR, __VA_ARGS__)
