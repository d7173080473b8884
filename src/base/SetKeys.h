// Every settings and feature key that is compiled into the library, once.
#pragma once

namespace KURA::base {

// --- Settings keys ---
constexpr const char* kProgressKey = "system/watchman/STOperation";  ///< progress marker of a diagnosis
constexpr const char* kDbResetKey = "db/kurahelp/db_reset";          ///< host's databases-were-reset marker
constexpr const char* kTermsKey =
    "db/menu/lobby/homedatacontrol/defaultdisclaimeragree";     ///< 1 = terms accepted
constexpr const char* kPlatformKey = "memory/sp-kpi/platform";  ///< platform name for usage events

// --- Feature keys ---
constexpr const char* kFlashSizeFeature = "com.norvik/featureconf/flash_size";  ///< index into a table of GiB
constexpr const char* kPanelWidthFeature = "com.norvik/featureconf/panel_resolution_width";    ///< pixels
constexpr const char* kPanelHeightFeature = "com.norvik/featureconf/panel_resolution_height";  ///< pixels
constexpr const char* kDeskoraFeature =
    "com.norvik/featureconf/product.deskora_feature_support";  ///< a monitor

// --- Numbers of system_info_get_value_string ---
constexpr int kSeriesInfo = 0;
constexpr int kSerialNumberInfo = 187;

}  // namespace KURA::base
