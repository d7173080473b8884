// The set's network connection. Every function returns 0 for success.
#pragma once

extern "C" {

typedef void* connection_h;

int connection_create(connection_h* handle);
int connection_profile_check_default_gateway(bool* connected);
int connection_destroy(connection_h handle);
}
