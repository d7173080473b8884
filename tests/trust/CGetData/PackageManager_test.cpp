// A package manager, or a bus, with every fault that was seen or can be thought of, again and again: the
// answer is the documented one after at most six attempts, and no proxy stays behind.
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"
#include "PackageBus.h"
#include "trust/Trust.h"

namespace {

constexpr int kSilentTimeout = 5;  ///< ms
constexpr std::size_t kAttempts = 6;

struct Fault {
    const char* name;
    int answer;
    std::size_t attempts;  ///< the waits are one fewer
    std::function<void(PackageBus& bus)> prepare;
    bool hasConnection = true;
};

GDBusMessage* Nothing(GDBusMessage*, const SizeCall&) {
    return nullptr;
}

const Fault kFaults[] = {
    {"NoBus", -2, kAttempts, [](PackageBus&) {}, false},
    {"ClosedBus", -2, kAttempts, [](PackageBus& bus) { bus.CloseClient(); }},
    {"NoService", -2, kAttempts, [](PackageBus&) {}},
    {"Denied", -5, 1,
     [](PackageBus& bus) {
         bus.Serve([](GDBusMessage* message, const SizeCall&) {
             return PackageBus::Error(message, "org.freedesktop.DBus.Error.AccessDenied");
         });
     }},
    {"Failing", -2, kAttempts,
     [](PackageBus& bus) {
         bus.Serve([](GDBusMessage* message, const SizeCall&) {
             return PackageBus::Error(message, "org.freedesktop.DBus.Error.Failed");
         });
     }},
    {"Silent", -2, kAttempts,
     [](PackageBus& bus) {
         bus.Serve(Nothing);
         PackageBus::ShortenDefaultTimeout(kSilentTimeout);
     }},
    {"WrongType", -1, 1,
     [](PackageBus& bus) {
         bus.Serve([](GDBusMessage* message, const SizeCall&) {
             return PackageBus::Reply(message, g_variant_new_parsed("('text', [1, 2])"));
         });
     }},
    {"DeadInMidCall", -2, kAttempts,
     [](PackageBus& bus) {
         bus.Serve([&bus](GDBusMessage*, const SizeCall&) -> GDBusMessage* {
             bus.LeaveBus();
             return nullptr;
         });
         PackageBus::ShortenDefaultTimeout(kSilentTimeout);
     }},
    {"Oversized", -1, 1,
     [](PackageBus& bus) {
         bus.Serve([](GDBusMessage* message, const SizeCall&) {
             const std::string huge(std::size_t{1} << 22, 'x');
             return PackageBus::Reply(message, g_variant_new("(ixs)", 0, gint64{5}, huge.c_str()));
         });
     }},
};

class PackageManager : public testing::TestWithParam<Fault> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Faults, PackageManager, testing::ValuesIn(kFaults),
                         [](const auto& test) { return test.param.name; });

TEST_P(PackageManager, IsGivenUpInBoundedTimeAndLeavesNoProxy) {
    trust::Watch();
    fakes::Set().keepRecords = false;
    const Fault& fault = GetParam();
    const std::size_t rounds = trust::Count(3, 100);
    for (std::size_t round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        PackageBus bus;
        fault.prepare(bus);
        pkgmgr_client client = {PC_REQUEST, fault.hasConnection ? bus.Connection() : nullptr};
        const std::size_t waits = interposed::Waits().size();
        EXPECT_EQ(KURA::CGetData::GetInstance()->getAppSize(&client, "package", 5001, PKGMGR_SIZE_TOTAL,
                                                            nullptr, nullptr),
                  fault.answer);
        EXPECT_EQ(interposed::Waits().size() - waits, fault.attempts - 1);
        EXPECT_FALSE(PackageBus::HasProxy());
    }
    trust::Report("D-Bus faults", fault.name, rounds);
}
