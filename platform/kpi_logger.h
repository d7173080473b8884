// The usage-statistics logger.
#pragma once

#include <string>

namespace KPILogFramework {

class CLogger {
public:
    static CLogger* GetInstance();

    /// 1 = sent; anything else is a failure.
    int AddEventLogSync(const std::string& serviceCode, const std::string& eventName,
                        const std::string& category, const std::string& description);
};

}  // namespace KPILogFramework
