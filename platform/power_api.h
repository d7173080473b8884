// The power timers.
#pragma once

namespace EPSystemAPI {

enum EP_SYS_ONOFF : int {};
enum EP_TIMER_ID : int {};

namespace nsEPPowerAPI {

int ResetOnOffTimer(EP_SYS_ONOFF onOff, EP_TIMER_ID timer);

}  // namespace nsEPPowerAPI
}  // namespace EPSystemAPI
