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

    /// When the command line is wrong, prints the usage on standard error and returns false.
    bool Parse(int count, char** arguments);

    /// Tells the process that started the service that it is ready.
    void Ready();
};

}  // namespace kuraset
