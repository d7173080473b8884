#include "ServiceArguments.h"

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

#include "set/FileAccess.h"

namespace kuraset {

bool ServiceArguments::Parse(int count, char** arguments) {
    bool understood = count % 2 == 1;
    for (int i = 1; understood && i + 1 < count; i += 2) {
        const std::string name = arguments[i];
        const std::string value = arguments[i + 1];
        if (name == "--set") {
            set = value;
        } else if (name == "--opt") {
            opt = value;
        } else if (name == "--tmp") {
            tmp = value;
        } else if (name == "--ready-fd") {
            readyDescriptor = std::atoi(value.c_str());
        } else {
            understood = false;
        }
    }
    if (!understood || set.empty()) {
        std::fprintf(stderr, "usage: %s --set DIR [--opt DIR] [--tmp DIR] [--ready-fd N]\n", arguments[0]);
        return false;
    }
    return true;
}

void ServiceArguments::Ready() {
    if (readyDescriptor >= 0) {
        WriteAll(readyDescriptor, "ready\n");
        close(readyDescriptor);
        readyDescriptor = -1;
    }
}

}  // namespace kuraset
