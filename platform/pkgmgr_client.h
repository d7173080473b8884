// The package manager's client side.
#pragma once

#include <gio/gio.h>

extern "C" {

typedef enum { PC_REQUEST = 0, PC_OTHER } pkgmgr_client_type;
typedef enum { PKGMGR_SIZE_TOTAL = 0, PKGMGR_SIZE_DATA = 1 } pkgmgr_getsize_type;

typedef struct {
    pkgmgr_client_type pc_type;
    GDBusConnection* connection;
} pkgmgr_client;

typedef void (*pkgmgr_getsize_cb)(pkgmgr_client* client, const char* package_id, int size, void* user_data);

/// Null on failure; released with pkgmgr_client_free.
pkgmgr_client* pkgmgr_client_new(pkgmgr_client_type type);
int pkgmgr_client_free(pkgmgr_client* client);
int pkgmgr_client_clear_user_data(pkgmgr_client* client, const char* package_type, const char* package_name,
                                  int mode);
}
