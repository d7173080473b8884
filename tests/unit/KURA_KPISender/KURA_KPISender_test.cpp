#include "KURA_KPISender.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "AddressSpace.h"
#include "Fakes.h"
#include "Machine.h"

using KURA::KURA_KPISender;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

constexpr const char* kChipId = "/proc/vex_chipid_val";
constexpr int kSeries = 0;
constexpr int kSerialNumber = 187;
constexpr const char* kPlatform = "memory/sp-kpi/platform";

void Write(const char* path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

void Send(const char* item) {
    std::string text = item;
    KURA_KPISender::GetInstance()->SendKurahelpKPI(text.data());
}

void Send(const char* item, const char* status) {
    std::string text = item;
    std::string statusText = status;
    KURA_KPISender::GetInstance()->SendKurahelpKPI(text.data(), statusText.data());
}

void Send(const char* item, int count) {
    std::string text = item;
    KURA_KPISender::GetInstance()->SendKurahelpKPI(text.data(), count);
}

/// The description of the last event.
std::string Description() {
    return fakes::Set().usageEvents.empty() ? "" : fakes::Set().usageEvents.back().at(3);
}

/// What stands behind the key in the last description.
std::string Field(const std::string& key) {
    const std::string text = Description();
    const std::size_t start = text.find(key + "=");
    if (start == std::string::npos) {
        return "(none)";
    }
    const std::size_t from = start + key.size() + 1;
    return text.substr(from, text.find_first_of(";}", from) - from);
}

/// Clock and partition that every machine has.
class KPISender : public testing::Test {
protected:
    void SetUp() override {
        machine::g_monotonicSeconds = 88;  // 'X'
        machine::g_partition = machine::Partition{4096, 768000, 307200, 400000};
    }
};

/// A chip-id text and what is made of it; null: it cannot be read.
struct ChipCase {
    const char* name;
    std::string text;
    const char* id;
};

class KPISenderChipId : public testing::TestWithParam<ChipCase> {};

struct SeriesCase {
    const char* name;
    const char* text;
    const char* series;
};

class KPISenderSeries : public testing::TestWithParam<SeriesCase> {};

struct FlashCase {
    const char* name;
    machine::Partition partition;
    const char* total;
    const char* remaining;
};

class KPISenderFlash : public testing::TestWithParam<FlashCase> {};

struct TimeCase {
    const char* name;
    std::int64_t seconds;
    char character;
};

class KPISenderTime : public testing::TestWithParam<TimeCase> {};

template <typename Case>
std::string NameOf(const testing::TestParamInfo<Case>& info) {
    return info.param.name;
}

}  // namespace

TEST_F(KPISender, GathersTheFactsOnceInOrderAndLogsEach) {
    Write(kChipId, "0x1a 0x2b 0x3c 0x4d\n");
    fakes::Set().valueStrings[kSerialNumber] = "SN-0815";
    fakes::Set().valueStrings[kSeries] = "QN90";
    fakes::Set().stringKeys[kPlatform] = "vesta";
    Write("/etc/release", "");
    KURA_KPISender* sender = KURA_KPISender::GetInstance();
    ASSERT_NE(sender, nullptr);
    EXPECT_EQ(KURA_KPISender::GetInstance(), sender);
    EXPECT_THAT(
        fakes::Set().events,
        ElementsAre("log 6 KURA_KPISender: KURA_KPISender", "log 4 m_initialize: m_initialize()",
                    "log 4 m_initialize: m_chipID[0000001A_0000002B_0000003C_0000004D]",
                    "system_info_get_value_string(187)", "log 4 m_initialize: m_serialNumber[SN-0815]",
                    "system_info_get_value_string(0)", "log 4 m_initialize: m_series[NULLQN9]",
                    "log 4 m_initialize: m_imageType[release]", "vconf_get_str(memory/sp-kpi/platform)",
                    "log 4 m_initialize: m_platform[vesta]", "log 4 m_initialize: m_FlashSize[3000, 1200]"));
    for (const fakes::LogLine& line : fakes::Set().log) {
        EXPECT_EQ(line.tag, "TVKuraHelp");
        EXPECT_EQ(line.file, "KURA_KPISender.cpp");
        EXPECT_GT(line.line, 0) << line.text;
    }
    Send("DeviceState", "Good");
    EXPECT_EQ(Description(),
              "{chip_id=0000001A_0000002B_0000003C_0000004D;sn=SN-0815;series=NULLQN9;platform=vesta;"
              "img_type=release;user_time=X;select_item=DeviceState;status=Good;issue_count=0;issue_clear=0;"
              "total_storage=3000;remain_storage=1200;remain_count=0}");
}

TEST_F(KPISender, NeverRefreshesTheFacts) {
    KURA_KPISender::GetInstance();
    Write(kChipId, "0x1 0x2 0x3 0x4\n");
    Write("/etc/release", "");
    fakes::Set().valueStrings[kSerialNumber] = "late";
    machine::g_partition = machine::Partition{4096, 1, 1, 1};
    fakes::Set().calls.clear();
    Send("item");
    EXPECT_EQ(Field("chip_id"), "NULL");
    EXPECT_EQ(Field("sn"), "NULL");
    EXPECT_EQ(Field("img_type"), "perf");
    EXPECT_EQ(Field("total_storage"), "3000");
    EXPECT_EQ(fakes::Set().calls.size(), 1U) << "the report itself";
}

TEST_F(KPISender, ReportsADeviceThatTellsNothing) {
    machine::g_partitionFails = true;
    Send("CreateErrorList", 0);
    EXPECT_EQ(Description(),
              "{chip_id=NULL;sn=NULL;series=NULL;platform=NULL;img_type=perf;user_time=X;"
              "select_item=CreateErrorList;status=NULL;issue_count=0;issue_clear=0;"
              "total_storage=NULL;remain_storage=NULL;remain_count=0}");
    EXPECT_THAT(fakes::Set().events, testing::Contains("log 4 m_getChipID: ERROR: failed to open chipID!!"));
    EXPECT_THAT(fakes::Set().events,
                testing::Contains("log 4 m_getSerialNumber: ERROR: failed to get serial number!!"));
    EXPECT_THAT(fakes::Set().events, testing::Contains("log 4 m_getSeries: ERROR: failed to get series!!"));
    EXPECT_TRUE(fakes::Set().Logged(4, "m_chipID[NULL]"));
    EXPECT_TRUE(fakes::Set().Logged(4, "m_FlashSize[NULL, NULL]"));
}

TEST_P(KPISenderChipId, ReadsTheFileAsScanfDoes) {
    Write(kChipId, GetParam().text);
    Send("item");
    const bool readable = GetParam().id != nullptr;
    EXPECT_EQ(Field("chip_id"), readable ? GetParam().id : "NULL");
    EXPECT_EQ(
        fakes::Set().Messages("m_getChipID"),
        readable ? std::vector<std::string>{} : std::vector<std::string>{"ERROR: failed to read chipID!!"});
}

INSTANTIATE_TEST_SUITE_P(
    Texts, KPISenderChipId,
    testing::Values(
        ChipCase{"Plain", "0x1a 0x2b 0x3c 0x4d\n", "0000001A_0000002B_0000003C_0000004D"},
        ChipCase{"WithoutALineFeed", "0x1a 0x2b 0x3c 0x4d", "0000001A_0000002B_0000003C_0000004D"},
        ChipCase{"UpperCaseDigits", "0xABCDEF01 0xFFFFFFFF 0x0 0xdeadBEEF",
                 "ABCDEF01_FFFFFFFF_00000000_DEADBEEF"},
        ChipCase{"AnyBlanksBetween", "0x1\t\n0x2  0x3\r\n\v\f0x4", "00000001_00000002_00000003_00000004"},
        ChipCase{"NoBlanksBetween", "0x10x20x30x4", "00000010_00000000_00000000_00000000"},
        ChipCase{"BlanksBehindThePrefix", "0x 1a 0x\n2b 0x3c 0x4d", "0000001A_0000002B_0000003C_0000004D"},
        ChipCase{"ASecondPrefix", "0x0x1a 0x0X2b 0x3c 0x4d", "0000001A_0000002B_0000003C_0000004D"},
        ChipCase{"ALoneSecondPrefixIsZero", "0x0x 0x2b 0x3c 0x4d", "00000000_0000002B_0000003C_0000004D"},
        ChipCase{"Signs", "0x-1 0x+2 0x-0x3 0x-80000000", "FFFFFFFF_00000002_FFFFFFFD_80000000"},
        ChipCase{"LeadingZeros", "0x000000000000000000000001 0x2 0x3 0x4",
                 "00000001_00000002_00000003_00000004"},
        ChipCase{"OneNumber", "0x1a", "0000001A_00000000_00000000_00000000"},
        ChipCase{"ThreeNumbers", "0x1a 0x2b 0x3c\n", "0000001A_0000002B_0000003C_00000000"},
        ChipCase{"StopsAtJunk", "0x1a 0x2b, 0x3c 0x4d", "0000001A_0000002B_00000000_00000000"},
        ChipCase{"StopsWithoutAPrefix", "0x1a 2b 0x3c 0x4d", "0000001A_00000000_00000000_00000000"},
        ChipCase{"StopsAtAZeroByte", std::string("0x1a\0 0x2b", 10), "0000001A_00000000_00000000_00000000"},
        ChipCase{"FiveNumbers", "0x1 0x2 0x3 0x4 0x5", "00000001_00000002_00000003_00000004"},
        ChipCase{"MuchMore", "0x1 0x2 0x3 0x4 " + std::string(1000000, 'f'),
                 "00000001_00000002_00000003_00000004"},
        ChipCase{"Empty", "", nullptr}, ChipCase{"BlankFirst", " 0x1a 0x2b 0x3c 0x4d", nullptr},
        ChipCase{"UpperCasePrefix", "0X1a 0x2b 0x3c 0x4d", nullptr},
        ChipCase{"NoPrefix", "1a 2b 3c 4d", nullptr}, ChipCase{"PrefixOnly", "0x", nullptr},
        ChipCase{"PrefixAndJunk", "0xg", nullptr}, ChipCase{"PrefixAndSign", "0x-", nullptr},
        ChipCase{"TwoSigns", "0x--1", nullptr}, ChipCase{"SignAndBlank", "0x- 1", nullptr},
        ChipCase{"Words", "no chip", nullptr}),
    NameOf<ChipCase>);

TEST_F(KPISender, FailsToReadAFolderInTheChipFilesPlace) {
    fs::create_directory(kChipId);
    Send("item");
    EXPECT_EQ(Field("chip_id"), "NULL");
    EXPECT_THAT(fakes::Set().Messages("m_getChipID"), ElementsAre("ERROR: failed to read chipID!!"));
}

TEST_F(KPISender, TakesTheSerialNumberAsItIs) {
    fakes::Set().valueStrings[kSerialNumber] = "0A;B=C}";
    Send("item");
    EXPECT_THAT(Description(), HasSubstr(";sn=0A;B=C};series="));
    EXPECT_TRUE(fakes::Set().Logged(4, "m_serialNumber[0A;B=C}]"));
}

TEST_F(KPISender, TakesAnEmptySerialNumber) {
    fakes::Set().valueStrings[kSerialNumber] = "";
    Send("item");
    EXPECT_EQ(Field("sn"), "");
    EXPECT_THAT(fakes::Set().Messages("m_getSerialNumber"), IsEmpty());
}

TEST_F(KPISender, CountsNullTextsAsFailedReads) {
    fakes::Set().nullValueStrings = {kSeries, kSerialNumber};
    Send("item");
    EXPECT_EQ(Field("sn"), "NULL");
    EXPECT_EQ(Field("series"), "NULL");
    EXPECT_THAT(fakes::Set().Messages("m_getSerialNumber"),
                ElementsAre("ERROR: failed to get serial number!!"));
    EXPECT_THAT(fakes::Set().Messages("m_getSeries"), ElementsAre("ERROR: failed to get series!!"));
}

TEST_F(KPISender, LogsEachKindOfReport) {
    const std::function<void()> reports[] = {[] { Send("item"); }, [] { Send("item", "Good"); },
                                             [] { Send("item", 3); }};
    KURA_KPISender::GetInstance();
    for (const auto& report : reports) {
        fakes::Set().log.clear();
        report();
        EXPECT_TRUE(fakes::Set().Logged(4, "SendKurahelp KPI"));
    }
}

TEST_P(KPISenderSeries, AppendsUpToTheFirstDigit) {
    fakes::Set().valueStrings[kSeries] = GetParam().text;
    Send("item");
    EXPECT_EQ(Field("series"), GetParam().series);
    EXPECT_THAT(fakes::Set().Messages("m_getSeries"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, KPISenderSeries,
    testing::Values(SeriesCase{"DigitsAtTheEnd", "QN90", "NULLQN9"},
                    SeriesCase{"DigitInTheMiddle", "AB12C", "NULLAB1"},
                    SeriesCase{"NoDigit", "ABC", "NULLABC"}, SeriesCase{"DigitFirst", "9A", "NULL9"},
                    SeriesCase{"Zero", "X0", "NULLX0"},
                    SeriesCase{"NotAscii", "\xc3\xa4-_ \xd9\xa3 7", "NULL\xc3\xa4-_ \xd9\xa3 7"},
                    SeriesCase{"Empty", "", "NULL"}),
    NameOf<SeriesCase>);

TEST_F(KPISender, IsAReleaseImageWhateverElseIsThere) {
    Write("/etc/release", "");
    Write("/etc/debug", "");
    Send("item");
    EXPECT_EQ(Field("img_type"), "release");
}

TEST_F(KPISender, IsADebugImageByItsMark) {
    fs::create_directory("/etc/debug");
    Send("item");
    EXPECT_EQ(Field("img_type"), "debug");
}

TEST_F(KPISender, IsAPerfImageWithoutAMark) {
    // A link that leads nowhere does not count.
    fs::create_symlink("/nowhere", "/etc/release");
    Send("item");
    EXPECT_EQ(Field("img_type"), "perf");
    EXPECT_TRUE(fakes::Set().Logged(4, "m_imageType[perf]"));
}

TEST_F(KPISender, HasNoPlatformForAnEmptyText) {
    fakes::Set().stringKeys[kPlatform] = "";
    Send("item");
    EXPECT_EQ(Field("platform"), "NULL");
    EXPECT_TRUE(fakes::Set().Logged(4, "m_platform[NULL]"));
}

TEST_P(KPISenderFlash, CountsWholeKibibytesOfABlock) {
    machine::g_partition = GetParam().partition;
    Send("item");
    EXPECT_EQ(Field("total_storage"), GetParam().total);
    EXPECT_EQ(Field("remain_storage"), GetParam().remaining);
    EXPECT_TRUE(fakes::Set().Logged(
        4, std::string("m_FlashSize[") + GetParam().total + ", " + GetParam().remaining + "]"));
}

INSTANTIATE_TEST_SUITE_P(
    Partitions, KPISenderFlash,
    testing::Values(FlashCase{"Usual", {4096, 768000, 307200, 400000}, "3000", "1200"},
                    FlashCase{"RoundsDown", {1024, 2047, 1023, 2047}, "1", "0"},
                    FlashCase{"BlockCutToKibibytes", {5119, 1024, 512, 0}, "4", "2"},
                    FlashCase{"BlockBelowAKibibyte", {512, 4000000, 4000000, 0}, "0", "0"},
                    FlashCase{"Nothing", {4096, 0, 0, 0}, "0", "0"},
                    // 2^33 KiB are beyond 32 bits before the last division.
                    FlashCase{"Large", {4096, 2147483648U, 1073741824U, 0}, "8388608", "4194304"}),
    NameOf<FlashCase>);

TEST_F(KPISender, SendsTheLowBitsOfAHugePartition) {
    // 2^32 + 5 MiB and 2^32 MiB
    machine::g_partition = machine::Partition{1048576, 4294967301U, 4294967296U, 0};
    Send("item");
    EXPECT_EQ(Field("total_storage"), "5");
    EXPECT_EQ(Field("remain_storage"), "0");
}

TEST_F(KPISender, KeepsNoStorageWhenThePartitionCannotBeRead) {
    machine::g_partitionFails = true;
    Send("item");
    EXPECT_EQ(Field("total_storage"), "NULL");
    EXPECT_EQ(Field("remain_storage"), "NULL");
}

TEST_P(KPISenderTime, SendsOneCharacter) {
    machine::g_monotonicSeconds = GetParam().seconds;
    Send("item");
    const std::string expected =
        std::string(";user_time=") + std::string(1, GetParam().character) + ";select_item=item;";
    EXPECT_NE(Description().find(expected), std::string::npos) << Description();
}

INSTANTIATE_TEST_SUITE_P(Seconds, KPISenderTime,
                         testing::Values(TimeCase{"ThreeHundred", 300, ','}, TimeCase{"None", 0, '\0'},
                                         TimeCase{"Round", 256, '\0'}, TimeCase{"High", 255, '\xff'},
                                         TimeCase{"Letter", 0x12345658, 'X'}, TimeCase{"Separator", 59, ';'}),
                         NameOf<TimeCase>);

TEST_F(KPISender, SendsAZeroByteWhenTheClockFails) {
    machine::g_clockFails = true;
    Send("item");
    EXPECT_EQ(Field("user_time"), std::string(1, '\0'));
    EXPECT_THAT(fakes::Set().events, testing::Contains("log 6 m_getTTime: GetTTime"));
    EXPECT_THAT(fakes::Set().events, testing::Contains("log 4 m_getTTime: GetTTime Fail"));
}

TEST_F(KPISender, ReportsInOrder) {
    KURA_KPISender::GetInstance();
    const std::string tail =
        ";status=NULL;issue_count=7;issue_clear=0;total_storage=3000;"
        "remain_storage=1200;remain_count=0}";
    const std::string description =
        "{chip_id=NULL;sn=NULL;series=NULL;platform=NULL;img_type=perf;user_time=X;select_item="
        "CreateErrorList" +
        tail;
    fakes::Set().events.clear();
    Send("CreateErrorList", 7);
    EXPECT_THAT(
        fakes::Set().events,
        ElementsAre("log 4 SendKurahelpKPI: SendKurahelp KPI", "log 6 m_getTTime: GetTTime",
                    "log 4 m_sendKPI: eventName[KURAHELP] category[EV003] description[" + description + "]",
                    "AddEventLogSync(23_kurahelp, KURAHELP, EV003, " + description + ")"));
    EXPECT_THAT(fakes::Set().usageEvents,
                ElementsAre(ElementsAre("23_kurahelp", "KURAHELP", "EV003", description)));
}

TEST_F(KPISender, KeepsFieldsThatAReportDoesNotSet) {
    Send("CreateErrorList", 7);
    EXPECT_EQ(Field("issue_count"), "7");
    EXPECT_EQ(Field("status"), "NULL");
    Send("DeviceState", "Good");
    EXPECT_EQ(Field("select_item"), "DeviceState");
    EXPECT_EQ(Field("issue_count"), "7");
    EXPECT_EQ(Field("status"), "Good");
    Send("Other");
    EXPECT_EQ(Field("select_item"), "Other");
    EXPECT_EQ(Field("issue_count"), "7");
    EXPECT_EQ(Field("status"), "Good");
    Send("CreateErrorList", -2147483647 - 1);
    EXPECT_EQ(Field("issue_count"), "-2147483648");
    EXPECT_EQ(Field("status"), "Good");
    EXPECT_EQ(Field("issue_clear"), "0");
    EXPECT_EQ(Field("remain_count"), "0");
}

TEST_F(KPISender, CopiesTheTexts) {
    std::string item = "item";
    std::string status = "status";
    KURA_KPISender::GetInstance()->SendKurahelpKPI(item.data(), status.data());
    item = "gone";
    status = "beyond";
    KURA_KPISender::GetInstance()->SendKurahelpKPI(item.data());
    EXPECT_EQ(Field("select_item"), "gone");
    EXPECT_EQ(Field("status"), "status");
}

TEST_F(KPISender, EscapesNothing) {
    Send("a;b={}\"%s", "\n");
    EXPECT_THAT(Description(), HasSubstr(";select_item=a;b={}\"%s;status=\n;issue_count="));
}

TEST_F(KPISender, ReadsNullTextsAsEmpty) {
    char* none = nullptr;
    KURA_KPISender::GetInstance()->SendKurahelpKPI(none, none);
    EXPECT_EQ(Field("select_item"), "");
    EXPECT_EQ(Field("status"), "");
    KURA_KPISender::GetInstance()->SendKurahelpKPI(none);
    KURA_KPISender::GetInstance()->SendKurahelpKPI(none, 3);
    EXPECT_EQ(Field("select_item"), "");
    EXPECT_EQ(Field("issue_count"), "3");
    EXPECT_EQ(fakes::Set().usageEvents.size(), 3U);
}

// Only 1 is success.
TEST_F(KPISender, LogsTheLoggersFailureAndGoesOn) {
    for (const int result : {0, -5, 2}) {
        fakes::Set().loggerResult = result;
        fakes::Set().events.clear();
        Send("item");
        EXPECT_EQ(fakes::Set().events.back(),
                  "log 4 m_sendKPI: ERROR: could not send event log!! [" + std::to_string(result) + "]");
        EXPECT_EQ(fakes::Set().CountCalls("AddEventLogSync"), 1U);
        fakes::Set().calls.clear();
    }
    fakes::Set().loggerResult = 1;
    fakes::Set().events.clear();
    Send("item");
    EXPECT_THAT(fakes::Set().events.back(), testing::StartsWith("AddEventLogSync("));
}

TEST_F(KPISender, IsMadeAnewAfterItsMakingFailed) {
    fakes::Set().onCall = [](const std::string&) { throw std::runtime_error("no"); };
    EXPECT_THROW(KURA_KPISender::GetInstance(), std::runtime_error);
    fakes::Set().onCall = nullptr;
    Send("item");
    EXPECT_EQ(fakes::Set().usageEvents.size(), 1U);
}

TEST_F(KPISender, ReportsAgainAfterItRanOutOfMemory) {
    KURA_KPISender* sender = KURA_KPISender::GetInstance();
    std::string item(std::size_t{64} << 20, 'x');
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    {
        const fakes::AddressSpaceLimit limit(pages * pageSize + (std::size_t{32} << 20));
        if (!limit.Holds()) {
            GTEST_SKIP() << "the address space has no limit here";
        }
        EXPECT_THROW(sender->SendKurahelpKPI(item.data()), std::bad_alloc);
    }
    Send("item");
    EXPECT_EQ(Field("select_item"), "item");
}
