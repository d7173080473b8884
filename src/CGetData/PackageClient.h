#pragma once

#include <memory>

#include "pkgmgr_client.h"

namespace KURA {

struct PackageClientFreer {
    void operator()(pkgmgr_client* client) const { pkgmgr_client_free(client); }
};

/// Owns a client of the package manager; freed on every path out.
using PackageClient = std::unique_ptr<pkgmgr_client, PackageClientFreer>;

/// Null when the package manager offers none.
inline PackageClient NewPackageClient() {
    return PackageClient(pkgmgr_client_new(PC_REQUEST));
}

}  // namespace KURA
