#pragma once

#include <string>

namespace KURA {

/// The host's utilities: what the set shows now and how the host was started.
class CUtils {
public:
    /// The one object, made by the host and never destroyed while the library may call.
    static CUtils* Instance();
    /// The type of the channel that is showing.
    static int GetChannelType();
    /// The number of the input that is showing.
    static int GetCurrentSourceInfo();

    /// May be null; the text stays the host's own.
    const char* m_pGetLaunchFrom();
    /// The set's software model.
    std::string m_GetSwModel();
    /// 1: another application is about to run beside the host.
    void m_SetMultitaskingStatus(int status);
};

}  // namespace KURA
