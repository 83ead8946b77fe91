/* The host daemon, lanmon: its timer service, its log level and its list of known devices.
 *
 * Called on the host's timer thread; log_level is read on the receiver thread, too, without a lock.
 * Declarations only; the names are resolved when the daemon loads the module. All integers are in host byte order,
 * every text ends in a zero byte. */
#ifndef QO1905_PLATFORM_LANMON_H
#define QO1905_PLATFORM_LANMON_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct sta_query_record; /* helpers.h */

/* A periodic event of the host's timer service: five words, pointer-sized where one holds a pointer. */
struct qo1905_event {
    int32_t event_id;         /* written by the host on registration; the module writes 0 */
    uint32_t interval;        /* units of the timer service (seconds) between two calls */
    uint32_t first_delay;     /* the same unit, before the first call */
    int32_t (*handler)(void); /* called on the host's timer thread */
    void *argument;           /* 0: the handler takes none */
};

/* Messages of the module's trace appear at 7 and above. Owned and changed by the host. */
extern int log_level;

/* Registers a periodic event and assigns its event_id. Keeps the record for the life of the process. */
void lanmon_timer_event_add(struct qo1905_event *event);

/* One device that the host knows. Each entry is a heap block of its own, which the caller frees. */
struct lanmon_l2_device {
    struct lanmon_l2_device *next;
    char AlMac[18]; /* "02:00:00:00:00:01" */
};

/* The head of a fresh list, or null when no device is known. */
struct lanmon_l2_device *lanmon_db_L2Device_get(void);

/* Is this station an interface of a mesh device? 1: `mac` (size bytes, 65 in this module) now holds that device's
 * AL MAC as text. Anything else: it is an ordinary client, `mac` says nothing. */
int lanmon_db_is_subIntf(const struct sta_query_record *station, char *mac, int size);

#ifdef __cplusplus
}
#endif

#endif
