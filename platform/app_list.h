// The installed web-app service.
#pragma once

extern "C" {

typedef struct {
    const char* entry_id;
    const char* title;
    const char* icon_dir;
    const char* app_id;
    const char* package_id;
    int skip;
    int attribute1;
    int attribute2;
    int attribute3;
} was_app_entry;

int was_get_app_count(void);

/// The list stays the service's own until its next was_get_app_list.
int was_get_app_list(int kind, was_app_entry** list, int* count);
}
