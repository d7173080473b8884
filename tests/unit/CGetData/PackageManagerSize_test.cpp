#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"
#include "PackageBus.h"

using fakes::Set;
using KURA::CGetData;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr const char* kDenied = "org.freedesktop.DBus.Error.AccessDenied";

/// Asks for the total size of "package" over the connection.
int Ask(GDBusConnection* connection, const char* packageId = "package") {
    CGetData* device = CGetData::GetInstance();
    Set().log.clear();
    pkgmgr_client client = {PC_REQUEST, connection};
    return device->getAppSize(&client, packageId, 5001, PKGMGR_SIZE_TOTAL, nullptr, nullptr);
}

void ExpectFiveWaits() {
    EXPECT_THAT(interposed::Waits(), SizeIs(5));
    EXPECT_THAT(interposed::Waits(), Each(std::chrono::nanoseconds(std::chrono::milliseconds(500))));
}

}  // namespace

TEST(PackageManagerSize, AsksTheServiceForOneSize) {
    PackageBus bus;
    bus.ServeSizes(0, 1234, 99);
    EXPECT_EQ(Ask(bus.Connection()), 1234);
    EXPECT_FALSE(PackageBus::HasProxy());
    const std::vector<SizeCall> calls = bus.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].path, "/org/vesta/pkgmgr");
    EXPECT_EQ(calls[0].interface, "org.vesta.pkgmgr");
    EXPECT_EQ(calls[0].member, "getsize_sync");
    EXPECT_EQ(calls[0].signature, "(usi)");
    EXPECT_EQ(calls[0].user, 5001u);
    EXPECT_EQ(calls[0].packageId, "package");
    EXPECT_EQ(calls[0].type, 0);
    EXPECT_THAT(Set().log, IsEmpty());
    EXPECT_THAT(interposed::Waits(), IsEmpty());
}

TEST(PackageManagerSize, ReadsTheReply) {
    constexpr gint64 kMost = std::numeric_limits<gint64>::max();
    const struct {
        int code;
        gint64 size;
        int result;
        const char* line;
    } rows[] = {
        {0, 0, 0, ""},
        {0, 2147483647, 2147483647, ""},
        {0, 2147483648, -2147483647 - 1, ""},
        {0, 3221225472, -1073741824, ""},
        {0, 4294967296 + 16, 16, ""},
        {0, kMost, -1, ""},
        {0, -1, -1, "6 getAppSize: invalid size_info=(-1)"},
        {0, -5000000000, -1, "6 getAppSize: invalid size_info=(-5000000000)"},
        {-7, 100, -7, "6 getAppSize: request result failed: -7"},
        {3, 100, 3, "6 getAppSize: request result failed: 3"},
    };
    PackageBus bus;
    for (const auto& row : rows) {
        bus.ServeSizes(row.code, row.size, 0);
        EXPECT_EQ(Ask(bus.Connection()), row.result) << row.code << " " << row.size;
        if (*row.line == '\0') {
            EXPECT_THAT(Set().log, IsEmpty());
        } else {
            EXPECT_THAT(agent::Log(), ElementsAre(row.line));
        }
    }
    EXPECT_THAT(interposed::Waits(), IsEmpty());
}

TEST(PackageManagerSize, RefusesAReplyOfAnotherType) {
    PackageBus bus;
    for (const char* text : {"(1,)", "('text',)", "(0, 5)", "(0, int64 5, 'more')", "()", "(int64 0, 5)"}) {
        bus.Serve([text](GDBusMessage* message, const SizeCall&) {
            return PackageBus::Reply(message, g_variant_new_parsed(text));
        });
        EXPECT_EQ(Ask(bus.Connection()), -1) << text;
        EXPECT_THAT(agent::Log(), ElementsAre("6 getAppSize: request result failed: -1")) << text;
    }
}

TEST(PackageManagerSize, EndsAtOnceWhenAccessIsDenied) {
    PackageBus bus;
    bus.Serve([](GDBusMessage* message, const SizeCall&) { return PackageBus::Error(message, kDenied); });
    EXPECT_EQ(Ask(bus.Connection()), -5);
    EXPECT_FALSE(PackageBus::HasProxy());
    EXPECT_EQ(bus.CallCount(), 1);
    EXPECT_THAT(interposed::Waits(), IsEmpty());
    EXPECT_THAT(agent::Log(), ElementsAre("6 getAppSize: request failed: -5"));
}

TEST(PackageManagerSize, TriesSixTimes) {
    // The second is the code of denied access, but another domain's.
    for (const char* error :
         {"org.freedesktop.DBus.Error.Failed",
          "org.gtk.GDBus.UnmappedGError.Quark._g_2dio_2derror_2dquark.Code9", "org.vesta.Error.Nine"}) {
        PackageBus bus;
        const std::size_t waitsBefore = interposed::Waits().size();
        bus.Serve(
            [error](GDBusMessage* message, const SizeCall&) { return PackageBus::Error(message, error); });
        EXPECT_EQ(Ask(bus.Connection()), -2) << error;
        EXPECT_FALSE(PackageBus::HasProxy());
        EXPECT_EQ(bus.CallCount(), 6);
        EXPECT_EQ(interposed::Waits().size() - waitsBefore, 5u);
        EXPECT_THAT(agent::Log(), ElementsAre("6 getAppSize: request failed: -2"));
    }
    EXPECT_THAT(interposed::Waits(), Each(std::chrono::nanoseconds(std::chrono::milliseconds(500))));
}

TEST(PackageManagerSize, TakesTheAnswerOfTheSixthAttempt) {
    PackageBus bus;
    bus.Serve([&bus](GDBusMessage* message, const SizeCall&) {
        return bus.CallCount() < 6 ? PackageBus::Error(message, "org.freedesktop.DBus.Error.NoReply")
                                   : PackageBus::Reply(message, g_variant_new("(ix)", 0, gint64{8}));
    });
    EXPECT_EQ(Ask(bus.Connection()), 8);
    ExpectFiveWaits();
    EXPECT_THAT(Set().log, IsEmpty());
}

TEST(PackageManagerSize, EndsWhenALaterAttemptIsDenied) {
    PackageBus bus;
    bus.Serve([&bus](GDBusMessage* message, const SizeCall&) {
        return PackageBus::Error(message,
                                 bus.CallCount() < 3 ? "org.freedesktop.DBus.Error.Failed" : kDenied);
    });
    EXPECT_EQ(Ask(bus.Connection()), -5);
    EXPECT_THAT(interposed::Waits(), SizeIs(2));
}

TEST(PackageManagerSize, GivesUpWithoutAService) {
    PackageBus bus;
    EXPECT_EQ(Ask(bus.Connection()), -2);
    EXPECT_FALSE(PackageBus::HasProxy());
    ExpectFiveWaits();
}

TEST(PackageManagerSize, GivesUpWhenTheServiceDiesInMidCall) {
    PackageBus bus;
    bus.Serve([&bus](GDBusMessage*, const SizeCall&) -> GDBusMessage* {
        bus.LeaveBus();
        return nullptr;
    });
    EXPECT_EQ(Ask(bus.Connection()), -2);
    EXPECT_EQ(bus.CallCount(), 1);
    ExpectFiveWaits();
}

TEST(PackageManagerSize, GivesUpOnAServiceThatNeverAnswers) {
    PackageBus bus;
    bus.Serve([](GDBusMessage*, const SizeCall&) { return nullptr; });
    PackageBus::ShortenDefaultTimeout(50);
    EXPECT_EQ(Ask(bus.Connection()), -2);
    EXPECT_EQ(bus.CallCount(), 6);
    ExpectFiveWaits();
    EXPECT_FALSE(PackageBus::HasProxy());
}

TEST(PackageManagerSize, RefusesAnOversizedReply) {
    PackageBus bus;
    const std::string huge(8 * 1024 * 1024, 'x');
    bus.Serve([&](GDBusMessage* message, const SizeCall&) {
        return PackageBus::Reply(message, g_variant_new("(ixs)", 0, gint64{5}, huge.c_str()));
    });
    EXPECT_EQ(Ask(bus.Connection()), -1);
    EXPECT_EQ(bus.CallCount(), 1);
}

TEST(PackageManagerSize, GivesUpOnAClosedConnection) {
    PackageBus bus;
    bus.ServeSizes(0, 1, 1);
    bus.CloseClient();
    EXPECT_EQ(Ask(bus.Connection()), -2);
    EXPECT_EQ(bus.CallCount(), 0);
    ExpectFiveWaits();
}

TEST(PackageManagerSize, GivesUpWithoutAConnection) {
    EXPECT_EQ(Ask(nullptr), -2);
    ExpectFiveWaits();
    EXPECT_THAT(agent::Log(), ElementsAre("6 getAppSize: request failed: -2"));
}

TEST(PackageManagerSize, ChecksItsParameters) {
    CGetData* device = CGetData::GetInstance();
    const auto ask = [device](pkgmgr_client* client, const char* packageId) {
        Set().log.clear();
        return device->getAppSize(client, packageId, 0, PKGMGR_SIZE_DATA, nullptr, nullptr);
    };
    pkgmgr_client request = {PC_REQUEST, nullptr};
    pkgmgr_client other = {PC_OTHER, nullptr};
    EXPECT_EQ(ask(nullptr, "package"), -3);
    EXPECT_THAT(agent::Log(), ElementsAre("6 getAppSize: invalid parameter"));
    EXPECT_EQ(ask(&request, nullptr), -3);
    EXPECT_THAT(agent::Log(), ElementsAre("6 getAppSize: invalid parameter"));
    EXPECT_EQ(ask(&request, "\xff not UTF-8"), -3);
    EXPECT_THAT(agent::Log(), ElementsAre("6 getAppSize: invalid parameter"));
    EXPECT_EQ(ask(&other, nullptr), -3);
    EXPECT_THAT(agent::Log(), ElementsAre("6 getAppSize: invalid parameter"));
    EXPECT_EQ(ask(&other, "package"), -3);
    EXPECT_THAT(agent::Log(), ElementsAre("6 getAppSize: client->pc_type is not PC_REQUEST"));
    EXPECT_THAT(interposed::Waits(), IsEmpty());
}

TEST(PackageManagerSize, SendsAnyIdAsItIs) {
    PackageBus bus;
    bus.ServeSizes(0, 1, 1);
    const std::vector<std::string> ids = {"", "a b", "$(x)", "\xc3\xa4", std::string(100000, 'x')};
    for (const std::string& id : ids) {
        EXPECT_EQ(Ask(bus.Connection(), id.c_str()), 1);
        EXPECT_EQ(bus.Calls().back().packageId, id);
    }
}

TEST(PackageManagerSize, HandsTheReplyToTheCaller) {
    PackageBus bus;
    bus.ServeSizes(0, 77, 1);
    pkgmgr_client client = {PC_REQUEST, bus.Connection()};
    GVariant* result = nullptr;
    EXPECT_EQ(CGetData::GetInstance()->pkgmgr_client_connection_send_request(
                  &client, "getsize_sync", g_variant_new("(usi)", 1, "package", 0), &result),
              0);
    ASSERT_NE(result, nullptr);
    EXPECT_STREQ(g_variant_get_type_string(result), "(ix)");
    g_variant_unref(result);
}

TEST(PackageManagerSize, LeavesTheCallersOwnParametersToTheCaller) {
    PackageBus bus;
    bus.ServeSizes(0, 77, 1);
    pkgmgr_client client = {PC_REQUEST, bus.Connection()};
    GVariant* params = g_variant_ref_sink(g_variant_new("(usi)", 1, "package", 0));
    GVariant* result = nullptr;
    EXPECT_EQ(CGetData::GetInstance()->pkgmgr_client_connection_send_request(&client, "getsize_sync", params,
                                                                             &result),
              0);
    g_variant_unref(result);
    EXPECT_STREQ(g_variant_get_type_string(params), "(usi)");
    g_variant_unref(params);
}

TEST(PackageManagerSize, CountsWhatCannotBeSentAsNotAnswered) {
    PackageBus bus;
    bus.ServeSizes(0, 77, 1);
    pkgmgr_client client = {PC_REQUEST, bus.Connection()};
    CGetData* device = CGetData::GetInstance();
    GVariant* result = nullptr;
    const auto send = [&](pkgmgr_client* to, const char* method, GVariant* params) {
        return device->pkgmgr_client_connection_send_request(to, method, params, &result);
    };
    EXPECT_EQ(send(nullptr, "getsize_sync", nullptr), -2);
    EXPECT_EQ(send(&client, nullptr, nullptr), -2);
    EXPECT_EQ(send(&client, "not a method", nullptr), -2);
    EXPECT_EQ(send(&client, "getsize_sync", g_variant_new_int32(1)), -2);
    EXPECT_EQ(result, nullptr);
    EXPECT_THAT(interposed::Waits(), SizeIs(20));
    EXPECT_EQ(bus.CallCount(), 0);
    EXPECT_EQ(send(&client, "getsize_sync", nullptr), 0);
    EXPECT_EQ(bus.Calls().at(0).signature, "");
    g_variant_unref(result);
}
