// The command line that both services share: --set DIR, --opt DIR, --tmp DIR, --ready-fd N.
#pragma once

#include <filesystem>
#include <string>

namespace kuraset {

struct ServiceArguments {
    std::filesystem::path set;
    std::filesystem::path opt = "/opt";
    std::filesystem::path tmp = "/tmp";
    int readyDescriptor = -1;

    /// False after a line of usage on standard error.
    bool Parse(int count, char** arguments);

    /// Tells whoever started the service that it works now.
    void Ready();
};

}  // namespace kuraset
