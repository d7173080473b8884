#pragma once

#include <string>

namespace KURA {

/// The host's utilities: what the set shows now and how the host was started.
class CUtils {
public:
    static CUtils* Instance();
    static int GetChannelType();
    static int GetCurrentSourceInfo();

    /// May be null; the text stays the host's own.
    const char* m_pGetLaunchFrom();
    std::string m_GetSwModel();
    void m_SetMultitaskingStatus(int status);
};

}  // namespace KURA
