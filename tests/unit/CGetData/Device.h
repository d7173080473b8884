// Gives the tests the device object.
#pragma once

#include "CGetData.h"
#include "Fakes.h"

/// The object, with nothing recorded yet.
inline KURA::CGetData* CleanDevice() {
    KURA::CGetData* device = KURA::CGetData::GetInstance();
    fakes::Set().log.clear();
    fakes::Set().calls.clear();
    fakes::Set().events.clear();
    return device;
}
