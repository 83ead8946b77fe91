/* How a host reads the model: every station of every device with its signal. On the host's timer thread, after
   checkUpdate1905Information; no pointer may be kept until the next. */
#include <stdio.h>

#include "qo1905.h"

void print_stations(FILE *out);

void print_stations(FILE *out) {
    const struct qo1905_network_topology *network = getNetTopolTable();
    const struct qo1905_device *device;
    const struct qo1905_sta_info *station;
    if (network == NULL) {
        return; /* no table: no dump could be read yet, or the last build failed */
    }
    for (device = network->IEEE1905Device; device != NULL; device = device->next) {
        /* A text that fills its field has no zero byte: bound every read. */
        fprintf(out, "%.*s:\n", (int)sizeof(device->Info.Hostname), device->Info.Hostname);
        for (station = device->STAInfo; station != NULL; station = station->next) {
            const uint8_t *mac = station->STAMac;
            fprintf(out, "  %02x:%02x:%02x:%02x:%02x:%02x %d dBm\n", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5],
                    station->RSSI);
        }
    }
}
