// The TV's own services: source and video control, power timers, picture control, the settings service. They
// change nothing and journal each call.
#include <new>
#include <string>

#include "CurrentSet.h"
#include "picture_api.h"
#include "power_api.h"
#include "settings_api.h"
#include "tv_service_api.h"

namespace {

using kuraset::CurrentSet;
using kuraset::Entry;
using kuraset::kFailed;

int Finish(const char* kind, const char* function, Entry entry, int result) {
    Entry whole{{"kind", kind}, {"op", function}};
    whole.update(entry);
    whole["result"] = result;
    CurrentSet::Get().NoteAndMaybeDie(function, whole);
    return result;
}

class SourceControl : public TVServiceAPI::ISourceControl {
public:
    int GetCurrentSource(int* source) override {
        CurrentSet& set = CurrentSet::Get();
        const int current = set.Number("/source", 0);
        const int result = source == nullptr ? kFailed : set.Number("/faults/source/query", 1);
        if (result > 0) {
            *source = current;
        }
        return Finish("source", __func__, {{"source", current}}, result);
    }
};

class VideoControl : public TVServiceAPI::IVideoControl {
public:
    int ResetPictureSize() override {
        return Finish("video", __func__, Entry::object(), CurrentSet::Get().Number("/faults/video/reset", 0));
    }
};

template <typename Control, typename Interface>
int Create(const char* kind, const char* function, TVServiceAPI::EProfile profile, const char* fault,
           Interface** control) {
    int result = control == nullptr ? kFailed : CurrentSet::Get().Number(fault, 0);
    if (result == 0) {
        *control = new (std::nothrow) Control;
        result = *control == nullptr ? kFailed : 0;
    }
    return Finish(kind, function, {{"profile", static_cast<int>(profile)}}, result);
}

}  // namespace

namespace TVServiceAPI {

int CreateSourceControl(EProfile profile, int, ISourceControl** control) {
    return Create<SourceControl>("source", __func__, profile, "/faults/source/create", control);
}

int CreateVideoControl(EProfile profile, int, IVideoControl** control) {
    return Create<VideoControl>("video", __func__, profile, "/faults/video/create", control);
}

}  // namespace TVServiceAPI

namespace EPSystemAPI::nsEPPowerAPI {

int ResetOnOffTimer(EP_SYS_ONOFF onOff, EP_TIMER_ID timer) {
    return Finish("power", __func__,
                  {{"on_off", static_cast<int>(onOff)}, {"timer", static_cast<int>(timer)}},
                  CurrentSet::Get().Number("/faults/power", 0));
}

}  // namespace EPSystemAPI::nsEPPowerAPI

namespace SettingsAPI {

int SetItemValue(std::string item, std::string value, bool notify) {
    Entry entry{{"key", kuraset::Legible(item)}, {"value", kuraset::Legible(value)}};
    entry["notify"] = notify;
    return Finish("setting", "SetItemValue", entry, CurrentSet::Get().Number("/faults/settings_service", 0));
}

}  // namespace SettingsAPI

extern "C" int pixo_reset_picture(int mode) {
    return Finish("picture", __func__, {{"mode", mode}}, CurrentSet::Get().Number("/faults/picture", 0));
}
