// Sends usage events to the platform's statistics logger.
#pragma once

#include <boost/thread/recursive_mutex.hpp>
#include <string>

#include "KURA_Export.h"

namespace KURA {

/// The sender reads the device's facts once, when it is created. Thread-safe, but each of two reports sent at
/// the same time may carry values of the other. Failures are logged and do not reach the caller; exceptions
/// do, of memory that runs out or of the set's services.
class KURA_API KURA_KPISender {
public:
    /// Created on the first call, never destroyed.
    static KURA_KPISender* GetInstance();
    KURA_KPISender(const KURA_KPISender&) = delete;
    KURA_KPISender& operator=(const KURA_KPISender&) = delete;

    /// Reports what was selected. Texts are copied; null reads as empty. A field that a report does not set
    /// keeps the value that the last report gave it.
    void SendKurahelpKPI(char* selectItem);
    /// The same, with the state of the device.
    void SendKurahelpKPI(char* selectItem, char* status);
    /// The same, with the number of issues.
    void SendKurahelpKPI(char* selectItem, int count);

private:
    KURA_KPISender();

    void m_initialize();
    void m_getChipID();
    void m_getSerialNumber();
    void m_getSeries();
    void m_getImageType();
    void m_getPlatform();
    void m_getFlashSize();
    int m_getTTime();
    void m_report(char* selectItem, std::string KURA_KPISender::*field, const char* value);
    std::string m_getKuraHelpDescription();
    void m_pSet_param_select_type(char* text);
    std::string m_Get_param_select_type();
    void m_sendKPI(const std::string& eventName, const std::string& category, const std::string& description);

    std::string m_param_select_type;
    std::string m_chipID = "NULL";
    std::string m_serialNumber = "NULL";
    std::string m_series = "NULL";
    std::string m_platform = "NULL";
    std::string m_imageType = "NULL";
    std::string m_totalStorage = "NULL";
    std::string m_remainStorage = "NULL";
    std::string m_selectItem = "NULL";
    std::string m_userTime = "NULL";
    std::string m_status = "NULL";
    std::string m_issueCount = "0";
    std::string m_issueClear = "0";
    std::string m_remainCount = "0";

    static KURA_KPISender* m_pInstance;
    static boost::recursive_mutex& m_KDMmutex;  ///< never destroyed
};

}  // namespace KURA
