#pragma once

namespace KURA {

/// The host's storage-management screen.
class CManageStorage {
public:
    /// The one object, made by the host and never destroyed while the library may call.
    static CManageStorage* Instance();
    /// Shows the screen.
    void m_CreateManageStorageScreen();
};

}  // namespace KURA
