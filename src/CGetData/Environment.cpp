// What the host asks before it offers something: consent, network, features, panel and model.
#include <cstddef>
#include <memory>
#include <string>

#include "CGetData.h"
#include "base/CancellationHeld.h"
#include "base/Log.h"
#include "base/SetKeys.h"
#include "connection.h"
#include "home_data_control.h"
#include "host/CUtils.h"
#include "system_info.h"
#include "vconf.h"

namespace KURA {

namespace {

constexpr int kPanelWidth8K = 7680;
constexpr int kPanelHeight8K = 4320;

using Connection = std::unique_ptr<void, base::Release<connection_destroy>>;

/// 0 when it cannot be read.
int ReadFeature(const char* key) {
    int value = 0;
    return system_info_get_custom_int(key, &value) == 0 ? value : 0;
}

}  // namespace

int CGetData::m_CheckTermsCond() {
    int value = 0;
    const int result = vconf_get_int(base::kTermsKey, &value);
    if (result != 0) {
        KURA_ERROR("(ret=%d) get defaultdisclaimeragree failed", result);
        return 0;
    }
    KURA_INFO("(ret=%d, value=%d) get defaultdisclaimeragree success", result, value);
    return value;
}

bool CGetData::m_CheckNetwork() {
    connection_h created = nullptr;
    if (connection_create(&created) != 0) {
        KURA_ERROR("Connection create Failed");
        return false;
    }
    const Connection connection(created);
    bool connected = false;
    if (connection_profile_check_default_gateway(&connected) != 0) {
        KURA_ERROR("Not Connected");
        return false;
    }
    // Kept: the line says that the set could be asked, not what it answered.
    KURA_INFO("Connected");
    return connected;
}

bool CGetData::check_request_support_enable() {
    bool isDeskora = true;
    if (system_info_get_custom_bool(base::kDeskoraFeature, &isDeskora) != 0) {
        KURA_ERROR("Failed to get fms key value for Deskora.. Forcely setting as False..");
        isDeskora = false;
    } else {
        KURA_INFO("isProductNorvik %d", isDeskora ? 1 : 0);
    }
    const bool exists = CHomeDataControlAPI::GetInstance()->IsDisclaimerItemExist("service_request", "TV");
    if (exists && !isDeskora) {
        KURA_INFO("CHECK_REQUEST_SUPPORT_ENABLE");
        return true;
    }
    KURA_INFO("CHECK_REQUEST_SUPPORT_DISABLE");
    return false;
}

bool CGetData::m_GetTypeOfTV() {
    KURA_INFO("get type of TV called");
    const int width = ReadFeature(base::kPanelWidthFeature);
    const int height = ReadFeature(base::kPanelHeightFeature);
    KURA_INFO("panel width  && height is %d ** %d", width, height);
    return width == kPanelWidth8K && height == kPanelHeight8K;
}

bool CGetData::m_CheckForSwModel(std::string model) {
    // Kept: only the last occurrence counts, so a software model that contains model twice does not match.
    const std::size_t found = CUtils::Instance()->m_GetSwModel().rfind(model);
    if (found != std::string::npos) {
        KURA_INFO("at found index is %zu", found);
    }
    return found == 0;
}

}  // namespace KURA
