// An old kernel, or a filter between, that refuses the one call that follows no link anywhere.
#pragma once

namespace kernel {

/// From now on openat2 fails with this error in the whole test; 0 lets it through.
void RefuseOpenat2(int error);

}  // namespace kernel
