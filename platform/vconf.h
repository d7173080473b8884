// The set's settings keys. Every function but vconf_get_str returns 0 for success.
#pragma once

extern "C" {

int vconf_get_int(const char* key, int* value);

/// malloc'd text owned by the caller; null when the key holds nothing.
char* vconf_get_str(const char* key);

int vconf_set_int(const char* key, int value);
int vconf_set_bool(const char* key, int value);
int vconf_set_str(const char* key, const char* value);
}
