// Usage reports: the facts of the device, gathered once, and one event a report.
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "Model.h"

namespace model {

namespace {

constexpr const char* kFacts = "m_initialize";

std::string ImageType() {
    struct stat status {};
    if (stat("/etc/release", &status) == 0) {
        return "release";
    }
    return stat("/etc/debug", &status) == 0 ? "debug" : "perf";
}

/// Up to and with the first digit.
std::string SeriesOf(const std::string& text) {
    const std::size_t digit = text.find_first_of("0123456789");
    return "NULL" + (digit == std::string::npos ? text : text.substr(0, digit + 1));
}

}  // namespace

std::string Model::ReadFlashSizes(std::string& total) {
    struct statvfs part {};
    if (statvfs("/opt", &part) != 0) {
        total = "NULL";
        return "NULL";
    }
    const unsigned long long kib = part.f_bsize / 1024;
    total = std::to_string(static_cast<unsigned int>(kib * part.f_blocks / 1024));
    return std::to_string(static_cast<unsigned int>(kib * part.f_bavail / 1024));
}

void Model::MakeSender() {
    if (senderExists) {
        return;
    }
    senderExists = true;
    record.Log(kError, "KURA_KPISender", "KURA_KPISender");
    record.Log(kInfo, kFacts, "m_initialize()");
    std::string chip = "NULL";
    std::ifstream file("/proc/vex_chipid_val");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    unsigned int part[4] = {};
    if (!file.is_open()) {
        record.Log(kInfo, "m_getChipID", "ERROR: failed to open chipID!!");
    } else if (std::sscanf(text.c_str(), "0x%x 0x%x 0x%x 0x%x\n", &part[0], &part[1], &part[2], &part[3]) <
               1) {
        record.Log(kInfo, "m_getChipID", "ERROR: failed to read chipID!!");
    } else {
        char line[64];
        std::snprintf(line, sizeof line, "%08X_%08X_%08X_%08X", part[0], part[1], part[2], part[3]);
        chip = line;
    }
    record.Log(kInfo, kFacts, "m_chipID[%s]", chip.c_str());
    std::string serial = "NULL";
    if (!set.ValueString(187, serial)) {
        record.Log(kInfo, "m_getSerialNumber", "ERROR: failed to get serial number!!");
    }
    record.Log(kInfo, kFacts, "m_serialNumber[%s]", serial.c_str());
    std::string series;
    if (!set.ValueString(0, series)) {
        record.Log(kInfo, "m_getSeries", "ERROR: failed to get series!!");
    }
    series = SeriesOf(series);
    record.Log(kInfo, kFacts, "m_series[%s]", series.c_str());
    const std::string image = ImageType();
    record.Log(kInfo, kFacts, "m_imageType[%s]", image.c_str());
    std::string platform = set.VconfGetStr("memory/sp-kpi/platform");
    platform = platform.empty() ? "NULL" : platform;
    record.Log(kInfo, kFacts, "m_platform[%s]", platform.c_str());
    std::string total;
    const std::string remaining = ReadFlashSizes(total);
    record.Log(kInfo, kFacts, "m_FlashSize[%s, %s]", total.c_str(), remaining.c_str());
    description = "{chip_id=" + chip + ";sn=" + serial + ";series=" + series + ";platform=" + platform +
                  ";img_type=" + image + ";user_time=";
    storage = "total_storage=" + total + ";remain_storage=" + remaining;
}

void Model::Report(const std::string& selectItem, const std::optional<std::string>& newStatus,
                   const std::optional<int>& newCount) {
    MakeSender();
    record.Log(kInfo, "SendKurahelpKPI", "SendKurahelp KPI");
    status = newStatus.value_or(status);
    issueCount = newCount ? std::to_string(*newCount) : issueCount;
    record.Log(kError, "m_getTTime", "GetTTime");
    long long seconds = clockSeconds;
    if (clockFails) {
        record.Log(kInfo, "m_getTTime", "GetTTime Fail");
        seconds = 0;
    }
    const std::string text = description + static_cast<char>(seconds & 0xFF) + ";select_item=" + selectItem +
                             ";status=" + status + ";issue_count=" + issueCount + ";issue_clear=0;" +
                             storage + ";remain_count=0}";
    record.Log(kInfo, "m_sendKPI", "eventName[%s] category[%s] description[%s]", "KURAHELP", "EV003",
               text.c_str());
    const int result = set.AddEvent(text);
    if (result != 1) {
        record.Log(kInfo, "m_sendKPI", "ERROR: could not send event log!! [%d]", result);
    }
}

}  // namespace model
