#pragma once

#include <vector>

#include "KURA_MapToDBTable.h"

namespace KURA {

/// The host's home screen: shows the problems that remain unfixed.
class CHomeScreen {
public:
    /// The one object, made by the host and never destroyed while the library may call.
    static CHomeScreen* Instance();

    /// Takes its own copy of the rows; the list may be empty. Called on the engine's thread.
    void m_DiagResCallback(std::vector<MapToDBTable> rows);
};

}  // namespace KURA
