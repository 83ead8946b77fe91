/* The multi-AP daemon's client library: the control connection on which its events arrive.
 *
 * Called on the module's receiver thread. Declarations only. A connection is given up by closing its descriptor; the
 * library has no call for that. */
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

/* An event, in host byte order:
 *     bytes 0 to 3    number of the event; 6 is higher-layer data, all others are ignored
 *     bytes 4 to 7    length of what follows, the protocol byte included
 *     byte 8          protocol
 *     from byte 9 on  payload, JSON text
 * Up to 1,024 bytes are read. */

/* Opens a connection to the daemon's control socket `path`; null on failure. */
struct mapd_interface *mapd_interface_ctrl_open(const char *path);

/* Subscribes the connection to the daemon's events; negative on failure. */
int mapd_interface_ctrl_attach(struct mapd_interface *conn);

#ifdef __cplusplus
}
#endif

#endif
