// Application launching. Every function returns 0 for success.
#pragma once

#define APP_CONTROL_OPERATION_DEFAULT "default"

extern "C" {

typedef struct app_control_s* app_control_h;
typedef void (*app_control_reply_cb)(app_control_h request, app_control_h reply, int result, void* user_data);

int app_control_create(app_control_h* handle);
int app_control_set_operation(app_control_h handle, const char* operation);
int app_control_set_app_id(app_control_h handle, const char* app_id);
int app_control_add_extra_data(app_control_h handle, const char* key, const char* value);
int app_control_send_launch_request(app_control_h handle, app_control_reply_cb callback, void* user_data);
int app_control_destroy(app_control_h handle);
}
