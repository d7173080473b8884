// Imitates an old kernel, or a system call filter, that refuses openat2.
#pragma once

namespace kernel {

/// From now on openat2 fails with this error in the whole test; 0 lets it through.
void RefuseOpenat2(int error);

}  // namespace kernel
