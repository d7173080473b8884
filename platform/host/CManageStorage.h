#pragma once

namespace KURA {

/// The host's storage-management screen.
class CManageStorage {
public:
    static CManageStorage* Instance();
    void m_CreateManageStorageScreen();
};

}  // namespace KURA
