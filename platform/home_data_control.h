// The home data control: which consent items exist.
#pragma once

#include <string>

class CHomeDataControlAPI {
public:
    static CHomeDataControlAPI* GetInstance();
    bool IsDisclaimerItemExist(std::string item, std::string device);
};
