// Facts and feature keys of the set. Every function returns 0 for success.
#pragma once

extern "C" {

/// On success *value is malloc'd text owned by the caller.
int system_info_get_value_string(int key, char** value);
int system_info_get_custom_int(const char* key, int* value);
int system_info_get_custom_bool(const char* key, bool* value);
}
