// Every application id that is compiled into the library, once.
#pragma once

namespace KURA::base {

constexpr const char* kCareApp = "com.norvik.TVKuraHelp";  ///< the host itself
constexpr const char* kNetworkSettingApp = "org.vesta.NetworkSetting-Vesta";
constexpr const char* kBroadcastingMenuApp = "com.norvik.tv.broadcastingmenu";
constexpr const char* kHdmiTroubleshootingApp = "com.norvik.tv.hdmi-troubleshooting";
constexpr const char* kTvViewerApp = "org.vesta.tv-viewer";
constexpr const char* kMenuApp = "org.vesta.menu";
constexpr const char* kHotelMenuApp = "org.vesta.ep-hotel-factory";
constexpr const char* kWizardApp = "org.vesta.wizard";
constexpr const char* kPictureTestApp = "org.vesta.picture-test";
constexpr const char* kVideoTestApp = "com.norvik.video-test";
constexpr const char* kSoundTestApp = "org.vesta.sound-test";
constexpr const char* kLobbyHubResetApp = "org.vesta.lobbyhub-reset";
constexpr const char* kLobbyHubConnectionTestApp = "org.vesta.lobbyhub-connection-test";
constexpr const char* kMledInstallationTestApp = "org.vesta.mled-installation-test";

// --- Applications whose data is never cleared ---
constexpr const char* kPrimeVideoApp = "org.vesta.primevideo";
constexpr const char* kYouTubeApp = "9Ur5IzDKqV";
constexpr const char* kNetflixApp = "org.vesta.netflix-app";

}  // namespace KURA::base
