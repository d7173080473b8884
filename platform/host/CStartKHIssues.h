#pragma once

namespace KURA {

/// The host's issue list.
class CStartKHIssues {
public:
    /// The one object, made by the host and never destroyed while the library may call.
    static CStartKHIssues* Instance();
    /// Hides the list.
    void m_HideStartKHIssue();
};

}  // namespace KURA
