// kura-sandbox: runs a command in a sandbox of its own.
#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "Sandbox.h"

namespace {

constexpr int kUsageError = 64;
constexpr int kNoSandbox = 125;

constexpr const char* kUsage =
    "Usage: kura-sandbox [OPTION]... [--] COMMAND [ARGUMENT]...\n"
    "\n"
    "Runs COMMAND with a private, empty /opt, /home, /tmp and /run; the rest of the machine is read-only.\n"
    "\n"
    "  --library SO        show SO at /usr/lib/libkura_parser.so\n"
    "  --opt DIR           show DIR at /opt and write to it; likewise --home and --tmp\n"
    "  --opt-read-only     refuse writes to /opt\n"
    "  --opt-size BYTES    give a fresh /opt this size\n"
    "  --chip-id FILE      show FILE at /proc/vex_chipid_val\n"
    "  --image-type TYPE   leave only the mark of TYPE, release or debug, in /etc\n"
    "  --writable-system   let COMMAND add files to a private /proc and /etc\n"
    "  --expose DIR        show DIR at its own path also where that is private; repeatable\n"
    "  --expose-rw DIR     the same, and let COMMAND write to it\n"
    "  --bind DIR=PLACE    show DIR at PLACE; --bind-rw to let COMMAND write to it\n"
    "  --env NAME=VALUE    set a variable; repeatable\n"
    "  --fixed-addresses   switch address space randomisation off\n"
    "  --print             print the bwrap command line instead\n"
    "  --help\n"
    "\n"
    "Exit status: that of COMMAND, 125 when there can be no sandbox, 64 for a wrong command line.\n";

enum Option {
    kLibrary = 256,
    kOpt,
    kHome,
    kTmp,
    kOptReadOnly,
    kOptSize,
    kChipId,
    kImageType,
    kWritableSystem,
    kExpose,
    kExposeRw,
    kBind,
    kBindRw,
    kEnv,
    kFixedAddresses,
    kPrint,
    kHelp
};

constexpr option kOptions[] = {{"library", required_argument, nullptr, kLibrary},
                               {"opt", required_argument, nullptr, kOpt},
                               {"home", required_argument, nullptr, kHome},
                               {"tmp", required_argument, nullptr, kTmp},
                               {"opt-read-only", no_argument, nullptr, kOptReadOnly},
                               {"opt-size", required_argument, nullptr, kOptSize},
                               {"chip-id", required_argument, nullptr, kChipId},
                               {"image-type", required_argument, nullptr, kImageType},
                               {"writable-system", no_argument, nullptr, kWritableSystem},
                               {"expose", required_argument, nullptr, kExpose},
                               {"expose-rw", required_argument, nullptr, kExposeRw},
                               {"bind", required_argument, nullptr, kBind},
                               {"bind-rw", required_argument, nullptr, kBindRw},
                               {"env", required_argument, nullptr, kEnv},
                               {"fixed-addresses", no_argument, nullptr, kFixedAddresses},
                               {"print", no_argument, nullptr, kPrint},
                               {"help", no_argument, nullptr, kHelp},
                               {nullptr, 0, nullptr, 0}};

struct CommandLine {
    kurasandbox::SandboxOptions sandbox;
    bool print = false;
    bool help = false;
};

/// Splits "left=right"; false without a left side.
bool Cut(const std::string& text, std::string& left, std::string& right) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        return false;
    }
    left = text.substr(0, equals);
    right = text.substr(equals + 1);
    return true;
}

bool TakeSize(const char* text, kurasandbox::SandboxOptions& sandbox) {
    char* end = nullptr;
    const unsigned long long size = std::strtoull(text, &end, 10);
    if (end == text || *end != '\0' || size == 0) {
        return false;
    }
    sandbox.optSize = size;
    return true;
}

bool TakePair(int option, const char* text, kurasandbox::SandboxOptions& sandbox) {
    std::string left;
    std::string right;
    if (!Cut(text, left, right)) {
        return false;
    }
    if (option == kEnv) {
        sandbox.environment.emplace_back(left, right);
    } else {
        sandbox.binds.push_back({left, right, option == kBindRw});
    }
    return true;
}

/// Applies one option; false for an unknown one or a wrong value.
bool Take(int option, const char* value, CommandLine& line) {
    kurasandbox::SandboxOptions& sandbox = line.sandbox;
    switch (option) {
        case kLibrary:
            sandbox.library = value;
            return true;
        case kOpt:
            sandbox.opt = value;
            return true;
        case kHome:
            sandbox.home = value;
            return true;
        case kTmp:
            sandbox.tmp = value;
            return true;
        case kOptReadOnly:
            sandbox.optReadOnly = true;
            return true;
        case kOptSize:
            return TakeSize(value, sandbox);
        case kChipId:
            sandbox.chipIdFile = value;
            return true;
        case kImageType:
            sandbox.imageType = value;
            return sandbox.imageType == "release" || sandbox.imageType == "debug";
        case kWritableSystem:
            sandbox.writableSystem = true;
            return true;
        case kExpose:
            sandbox.readOnly.emplace_back(value);
            return true;
        case kExposeRw:
            sandbox.readWrite.emplace_back(value);
            return true;
        case kBind:
        case kBindRw:
        case kEnv:
            return TakePair(option, value, sandbox);
        case kFixedAddresses:
            sandbox.fixedAddresses = true;
            return true;
        case kPrint:
            line.print = true;
            return true;
        case kHelp:
            line.help = true;
            return true;
        default:
            return false;
    }
}

/// Reads the command line. When it is wrong, says so on standard error and returns false.
bool Read(int count, char** arguments, CommandLine& line) {
    int option = 0;
    while ((option = getopt_long(count, arguments, "+", kOptions, nullptr)) != -1) {
        if (option == '?') {
            return false;
        }
        if (!Take(option, optarg, line)) {
            std::fprintf(stderr, "kura-sandbox: '%s' is not a value for this option\n", optarg);
            return false;
        }
    }
    line.sandbox.command.assign(arguments + optind, arguments + count);
    if (line.sandbox.command.empty() && !line.help) {
        std::fputs("kura-sandbox: no command given\n", stderr);
        return false;
    }
    return true;
}

}  // namespace

int main(int count, char** arguments) try {
    CommandLine line;
    if (!Read(count, arguments, line)) {
        std::fputs("Try 'kura-sandbox --help'.\n", stderr);
        return kUsageError;
    }
    if (line.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (line.print) {
        for (const std::string& argument : kurasandbox::BuildBubblewrapCommand(line.sandbox)) {
            std::puts(argument.c_str());
        }
        return 0;
    }
    return kurasandbox::RunInSandbox(line.sandbox);
} catch (const std::exception& failure) {
    std::fprintf(stderr, "kura-sandbox: %s\n", failure.what());
    return kNoSandbox;
}
