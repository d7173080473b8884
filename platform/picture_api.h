// The picture control.
#pragma once

extern "C" int pixo_reset_picture(int mode);
