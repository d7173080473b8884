// The usage-statistics logger. The time stamp in a description is one raw byte, which may not be printable,
// so the journal also holds its number.
#include "kpi_logger.h"

#include "CurrentSet.h"

namespace KPILogFramework {

namespace {

constexpr int kSent = 1;

/// The number of the byte behind "user_time=", or -1.
int TimeCharacter(const std::string& description) {
    static const std::string kKey = "user_time=";
    const std::size_t at = description.find(kKey);
    if (at == std::string::npos || at + kKey.size() >= description.size()) {
        return -1;
    }
    return static_cast<unsigned char>(description[at + kKey.size()]);
}

}  // namespace

CLogger* CLogger::GetInstance() {
    static CLogger* const logger = new CLogger;
    return logger;
}

int CLogger::AddEventLogSync(const std::string& serviceCode, const std::string& eventName,
                             const std::string& category, const std::string& description) {
    kuraset::CurrentSet& set = kuraset::CurrentSet::Get();
    const int result = set.Number("/faults/logger", kSent);
    kuraset::Entry entry{{"kind", "event"}, {"service", kuraset::Legible(serviceCode)}};
    entry["name"] = kuraset::Legible(eventName);
    entry["category"] = kuraset::Legible(category);
    entry["description"] = kuraset::Legible(description);
    const int character = TimeCharacter(description);
    if (character >= 0) {
        entry["user_time"] = character;
    }
    entry["result"] = result;
    set.NoteAndMaybeDie("AddEventLogSync", entry, true);
    return result;
}

}  // namespace KPILogFramework
