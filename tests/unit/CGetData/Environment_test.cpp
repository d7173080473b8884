#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Device.h"
#include "Fakes.h"

using fakes::Set;
using KURA::CGetData;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char* kTerms = "db/menu/lobby/homedatacontrol/defaultdisclaimeragree";
constexpr const char* kWidth = "com.norvik/featureconf/panel_resolution_width";
constexpr const char* kHeight = "com.norvik/featureconf/panel_resolution_height";
constexpr const char* kDeskora = "com.norvik/featureconf/product.deskora_feature_support";

CGetData* Device() {
    return CleanDevice();
}

}  // namespace

TEST(Environment, ReturnsTheConsentAsStored) {
    CGetData* device = Device();
    for (const int value : {1, 0, -5, 42}) {
        Set().log.clear();
        Set().intKeys[kTerms] = value;
        EXPECT_EQ(device->m_CheckTermsCond(), value);
        EXPECT_THAT(agent::Log(), ElementsAre("4 m_CheckTermsCond: (ret=0, value=" + std::to_string(value) +
                                              ") get defaultdisclaimeragree success"));
    }
}

TEST(Environment, ReadsAMissingConsentAsNone) {
    CGetData* device = Device();
    EXPECT_EQ(device->m_CheckTermsCond(), 0);
    EXPECT_THAT(agent::Log(), ElementsAre("6 m_CheckTermsCond: (ret=-1) get defaultdisclaimeragree failed"));
}

TEST(Environment, AsksForTheGatewayAndLetsTheConnectionGo) {
    const struct {
        int createResult;
        int checkResult;
        bool gateway;
        bool connected;
        const char* line;
    } rows[] = {
        {0, 0, true, true, "4 m_CheckNetwork: Connected"},
        {0, 0, false, false, "4 m_CheckNetwork: Connected"},
        {0, -1, true, false, "6 m_CheckNetwork: Not Connected"},
        {-1, 0, true, false, "6 m_CheckNetwork: Connection create Failed"},
    };
    CGetData* device = Device();
    for (const auto& row : rows) {
        Set().log.clear();
        Set().calls.clear();
        Set().createConnectionResult = row.createResult;
        Set().checkGatewayResult = row.checkResult;
        Set().gatewayConnected = row.gateway;
        EXPECT_EQ(device->m_CheckNetwork(), row.connected) << row.line;
        EXPECT_THAT(agent::Log(), ElementsAre(row.line));
        EXPECT_EQ(Set().liveConnections, 0);
        if (row.createResult == 0) {
            EXPECT_THAT(Set().calls,
                        ElementsAre("connection_create()", "connection_profile_check_default_gateway()",
                                    "connection_destroy()"));
        } else {
            EXPECT_THAT(Set().calls, ElementsAre("connection_create()"));
        }
    }
}

TEST(Environment, OffersTheServiceRequestUnlessTheProductIsAMonitor) {
    const struct {
        int deskora;  // -1: no such feature
        bool consentExists;
        bool offered;
    } rows[] = {{0, true, true},   {1, true, false},  {-1, true, true},
                {0, false, false}, {1, false, false}, {-1, false, false}};
    CGetData* device = Device();
    for (const auto& row : rows) {
        Set().log.clear();
        Set().calls.clear();
        Set().customBools.clear();
        if (row.deskora >= 0) {
            Set().customBools[kDeskora] = row.deskora == 1;
        }
        Set().disclaimerItemExists = row.consentExists;
        EXPECT_EQ(device->check_request_support_enable(), row.offered) << row.deskora << row.consentExists;
        const std::string read =
            row.deskora >= 0
                ? "4 check_request_support_enable: isProductNorvik " + std::to_string(row.deskora)
                : std::string(
                      "6 check_request_support_enable: Failed to get fms key value for Deskora.. "
                      "Forcely setting as False..");
        EXPECT_THAT(agent::Log(),
                    ElementsAre(read, std::string("4 check_request_support_enable: CHECK_REQUEST_SUPPORT_") +
                                          (row.offered ? "ENABLE" : "DISABLE")));
        EXPECT_THAT(Set().calls, ElementsAre("system_info_get_custom_bool(" + std::string(kDeskora) + ")",
                                             "IsDisclaimerItemExist(service_request, TV)"));
    }
}

TEST(Environment, TakesOnlyOnePanelFor8K) {
    const struct {
        int width;
        int height;
        bool is8K;
    } rows[] = {{7680, 4320, true},  {7680, 2160, false}, {3840, 4320, false},
                {4320, 7680, false}, {7681, 4321, false}, {0, 0, false}};
    CGetData* device = Device();
    for (const auto& row : rows) {
        Set().log.clear();
        Set().customInts[kWidth] = row.width;
        Set().customInts[kHeight] = row.height;
        EXPECT_EQ(device->m_GetTypeOfTV(), row.is8K) << row.width << "x" << row.height;
        EXPECT_THAT(agent::Log(),
                    ElementsAre("4 m_GetTypeOfTV: get type of TV called",
                                "4 m_GetTypeOfTV: panel width  && height is " + std::to_string(row.width) +
                                    " ** " + std::to_string(row.height)));
    }
}

TEST(Environment, ReadsAMissingPanelSizeAsZero) {
    CGetData* device = Device();
    Set().customInts[kWidth] = 7680;
    EXPECT_FALSE(device->m_GetTypeOfTV());
    EXPECT_TRUE(Set().Logged(4, "panel width  && height is 7680 ** 0"));
}

TEST(Environment, ComparesTheLastOccurrenceOfAModel) {
    const struct {
        const char* softwareModel;
        const char* model;
        bool matches;
        const char* found;  // empty: no line
    } rows[] = {
        {"QX90-EU", "QX90", true, "0"},  {"QX90-QX90", "QX90", false, "5"},
        {"EU-QX90", "QX90", false, "3"}, {"QX90", "QX90", true, "0"},
        {"QX90", "qx90", false, ""},     {"QX90", "QX90-EU", false, ""},
        {"QX90", "", false, "4"},        {"", "", true, "0"},
        {"", "QX90", false, ""},
    };
    CGetData* device = Device();
    for (const auto& row : rows) {
        Set().log.clear();
        Set().swModel = row.softwareModel;
        EXPECT_EQ(device->m_CheckForSwModel(row.model), row.matches) << row.softwareModel << " " << row.model;
        if (*row.found == '\0') {
            EXPECT_THAT(agent::Log(), IsEmpty());
        } else {
            EXPECT_THAT(agent::Log(),
                        ElementsAre("4 m_CheckForSwModel: at found index is " + std::string(row.found)));
        }
    }
}
