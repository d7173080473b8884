#pragma once

namespace KURA {

/// The host's issue list.
class CStartKHIssues {
public:
    static CStartKHIssues* Instance();
    void m_HideStartKHIssue();
};

}  // namespace KURA
