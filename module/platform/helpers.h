/* Helper functions of the platform: role, identity, stations and Wi-Fi switches.
 *
 * Declarations only. Every text buffer is passed with its size in bytes, the closing zero byte included.
 *
 * The module asks from two threads, without a lock between them: its own receiver thread, and the host's timer thread.
 * Both call EasyMeshGetDeviceRole, perhaps at the same time; configWlanEnable is the receiver thread's, all others are
 * the timer thread's. */
#ifndef QO1905_PLATFORM_HELPERS_H
#define QO1905_PLATFORM_HELPERS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* 1: the device runs EasyMesh (multi-AP) operation. Anything else: it does not. */
int getEasyMeshStatus(void);

/* 1 when the role was read: "1" for the Controller, "2" for an Agent. `size` is 8 in this module. */
int EasyMeshGetDeviceRole(char *role, int size);

/* Each fills the buffer with a text and returns 0 on success. MACs are six bytes in hexadecimal with colons. */
int getControllerMac(char *mac, int size);           /* AL MAC of the Controller */
int getFWVersion(char *version, int size);           /* firmware version of this device */
int getHostName(char *name, int size);               /* host name of this device */
int getDeviceIP(char *address, int size);            /* IP address of this device */
int qoUtilIGetBaseMACwithColon(char *mac, int size); /* base MAC of this device, its AL MAC */

/* One associated station: 60 bytes. */
struct sta_query_record {
    char MACAddress[36]; /* text, from byte 0 */
    uint32_t PhyRate;    /* Mbit/s, bytes 36 to 39 */
    char reserved[20];
};

/* Fills `record` with station number `station`, counted from 1, of the Wi-Fi interface `ifname`. Returns 1 while
 * there is such a station. */
int StaInfo(const char *ifname, int station, struct sta_query_record *record);

/* Switches a Wi-Fi interface on (1) or off (0). `instance` is mcfg_instance.index[0] of its configuration object,
 * `dat_path` the driver's settings file, `prefix` the beginning of its interface names. */
int configWlanEnable(int instance, int enable, const char *dat_path, const char *prefix);

#ifdef __cplusplus
}
#endif

#endif
