/* The platform configuration library: a walk over the instances of a configuration object.
 *
 * Declarations only. Every text field ends in a zero byte within its size. The module walks on two threads, the timer
 * thread and its own receiver thread, perhaps at the same time: all state of a walk belongs into mcfg_instance. */
#ifndef QO1905_PLATFORM_MCFG_H
#define QO1905_PLATFORM_MCFG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { MCFG_SUCCESS = 0, MCFG_WIFI_SSID = 55188, MCFG_ETHERNET_LINK = 38820 };

/* The place of a walk: 7 bytes, all zero before its first call. */
struct mcfg_instance {
    uint8_t level;
    uint8_t index[6]; /* the provider advances it; index[0] is the instance of the object last returned */
};

/* MCFG_SUCCESS: *object is a heap copy of the next instance, which the caller frees with free().
 * Anything else: no more instances, *object untouched. */
int mcfgFeObjStructGetNext(uint32_t object_id, struct mcfg_instance *instance, void **object);

/* Object 55188: one Wi-Fi interface (TR-181 Device.WiFi.SSID). */
struct mcfg_wifi_ssid {
    int32_t Enable;      /* 1: switched on */
    char Status[32];     /* "Up", "Down", ... */
    char Name[32];       /* "ra0" to "ra3" (2.4 GHz), "rai0" to "rai3" (5 GHz) */
    char MACAddress[32]; /* "02:00:00:00:00:11" */
    char BSSID[32];      /* the text that ends a block_acl command */
};

/* Object 38820: the Ethernet link (TR-181 Device.Ethernet.Link). */
struct mcfg_ethernet_link {
    char Status[32];       /* "Up", "Down", ... */
    char LowerLayers[256]; /* the paths of the objects below, such as Device.Bridging.Bridge.1.Port.1 */
    char MACAddress[32];
};

#ifdef __cplusplus
}
#endif

#endif
