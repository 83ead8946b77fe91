/* A platform that answers from one record, as quiet and as fast as it can be: for programs that measure the module or
 * feed it, and do not look at how it calls. Every function is weak, so that a program can put its own in the place of
 * one. Beside the platform's imports the stub has the C library's calls that such programs do not want: no pauses, and
 * a shell that runs nothing. */
#ifndef QO1905_STUB_PLATFORM_H
#define QO1905_STUB_PLATFORM_H

#ifdef __cplusplus
extern "C" {
#endif

/* What the platform answers. Texts are borrowed; one that is longer than the buffer it is asked for is cut, and fills a
 * record's field without a zero byte. */
struct stub_platform {
    const char *role; /* "1" Controller, "2" Agent */
    const char *controller_mac;
    const char *firmware_version;
    const char *host_name;
    const char *address;
    const char *base_mac;
    const char *interface_name; /* of the second Wi-Fi interface; the first is "ra0" */
    int interfaces;             /* Wi-Fi interfaces, all up */
    const char *bssid;
    const char *station_mac;  /* of every station; null: each has its own */
    int stations;             /* on each of the eight interfaces */
    const char *known_device; /* null: the host knows none */
};
extern struct stub_platform stub;

#ifdef __cplusplus
}
#endif

#endif
