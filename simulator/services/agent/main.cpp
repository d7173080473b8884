// kura-agentd: the set's privileged agent. Watches the request folder and works until it is told to end.
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "Agent.h"
#include "services/ServiceArguments.h"
#include "set/FileAccess.h"
#include "set/KuraSet.h"

namespace {

/// Hands the agent the new triggers that the kernel reports.
void TakeEvents(int watcher, kuraset::Agent& agent) {
    alignas(inotify_event) std::array<char, 16384> buffer{};
    const ssize_t count = read(watcher, buffer.data(), buffer.size());
    for (ssize_t at = 0; at < count;) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + at, sizeof event);
        const char* name = buffer.data() + at + sizeof event;
        at += static_cast<ssize_t>(sizeof event + event.len);
        if ((event.mask & IN_Q_OVERFLOW) != 0) {
            agent.AcceptAll();
        } else if (event.len > 0) {
            agent.Accept(name);
        }
    }
}

/// Turns SIGTERM and SIGINT into a descriptor to wait for, so that earlier requests are still carried out.
kuraset::Descriptor EndRequests() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return kuraset::Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

/// Works until it is told to end (returns true) or somebody removes the request folders (returns false).
bool Serve(kuraset::ServiceArguments& arguments, int endRequests) {
    const kuraset::SetDirectory set = kuraset::SetDirectory::Open(arguments.set);
    kuraset::Agent agent(set, arguments.opt, arguments.tmp);
    const kuraset::Descriptor watcher(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!watcher || inotify_add_watch(watcher.Number(), agent.RequestPath().c_str(),
                                      IN_CLOSE_WRITE | IN_MOVED_TO | IN_ONLYDIR) < 0) {
        throw kuraset::SetError(kuraset::SetError::Kind::Io,
                                agent.RequestPath().string() + ": cannot watch: " + std::strerror(errno));
    }
    agent.AcceptAll();
    arguments.Ready();

    while (agent.Intact()) {
        std::array<pollfd, 2> watched{{{watcher.Number(), POLLIN, 0}, {endRequests, POLLIN, 0}}};
        poll(watched.data(), watched.size(), agent.Work());
        if ((watched[0].revents & POLLIN) != 0) {
            TakeEvents(watcher.Number(), agent);
        }
        if ((watched[1].revents & POLLIN) != 0) {
            TakeEvents(watcher.Number(), agent);
            agent.Work();
            return true;
        }
    }
    return false;
}

}  // namespace

int main(int count, char** values) {
    kuraset::ServiceArguments arguments;
    if (!arguments.Parse(count, values)) {
        return 64;
    }
    try {
        const kuraset::Descriptor endRequests = EndRequests();
        while (!Serve(arguments, endRequests.Number())) {
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kura-agentd: %s\n", error.what());
        return 1;
    }
}
