// The settings service.
#pragma once

#include <string>

namespace SettingsAPI {

int SetItemValue(std::string item, std::string value, bool notify);

}  // namespace SettingsAPI
