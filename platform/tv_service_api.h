// The TV service: source and video control. The second creation argument is 0; the caller deletes the object.
#pragma once

namespace TVServiceAPI {

enum EProfile { PROFILE_MAIN = 1 };

class ISourceControl {
public:
    virtual ~ISourceControl() = default;

    /// A value greater than 0 for success.
    virtual int GetCurrentSource(int* source) = 0;
};

class IVideoControl {
public:
    virtual ~IVideoControl() = default;
    virtual int ResetPictureSize() = 0;
};

int CreateSourceControl(EProfile profile, int reserved, ISourceControl** control);
int CreateVideoControl(EProfile profile, int reserved, IVideoControl** control);

}  // namespace TVServiceAPI
