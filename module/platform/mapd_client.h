/* The multi-AP daemon's client library: the control connection on which its events arrive.
 *
 * Declarations only. A connection is given up by closing its descriptor; the library has no call for that. */
#ifndef QO1905_PLATFORM_MAPD_CLIENT_H
#define QO1905_PLATFORM_MAPD_CLIENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A control connection. The provider's own fields follow the first; only the first is read here. */
struct mapd_interface {
    int32_t fd; /* datagram socket on which events arrive, one datagram each */
};

/* Opens a connection to the daemon's control socket `path`; null on failure. */
struct mapd_interface *mapd_interface_ctrl_open(const char *path);

/* Subscribes the connection to the daemon's events; negative on failure. */
int mapd_interface_ctrl_attach(struct mapd_interface *conn);

#ifdef __cplusplus
}
#endif

#endif
