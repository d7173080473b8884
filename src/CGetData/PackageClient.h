#pragma once

#include <memory>

#include "base/CancellationHeld.h"
#include "pkgmgr_client.h"

namespace KURA {

/// Owns a client of the package manager; freed on every path out.
using PackageClient = std::unique_ptr<pkgmgr_client, base::Release<pkgmgr_client_free>>;

/// Null when the package manager offers none.
inline PackageClient NewPackageClient() {
    return PackageClient(pkgmgr_client_new(PC_REQUEST));
}

}  // namespace KURA
