#include "module/messages/stations.h"

#include "module/base/diag.h"
#include "module/base/owned.h"
#include "module/base/text.h"
#include "module/model/agents.h"
#include "module/model/band.h"
#include "module/model/list.h"
#include "module/model/mac_index.h"
#include "module/platform/helpers.h"
#include "module/platform/lanmon.h"

namespace qo1905 {
namespace {

constexpr int kNoMemory = 16;

static_assert(sizeof(sta_query_record) == 60);

using AgentIndex = NodeIndex<Agent>;

// A mesh Agent's uplink is seen as a station here, but it is no client.
bool is_mesh_station(const AgentIndex &known, const sta_query_record &station) {
    char text[65] = {};
    if (lanmon_db_is_subIntf(&station, text, sizeof(text)) != 1) {
        return false;
    }
    Mac al_mac = {};
    parse_mac_field(text, al_mac);
    return known.find(al_mac) != nullptr;
}

bool tell_no_memory() {
    std::printf("tmpEcntWifiInfoTable = NULL !!\n");
    return false;
}

// Adds the stations of one interface; false without memory.
bool add_stations_of(const char *interface_name, const AgentIndex &known, sta_query_record &record,
                     ListTail<qo1905_client> &tail, int &count) {
    for (int number = 1; StaInfo(interface_name, number, &record) == 1; ++number) {
        if (is_mesh_station(known, record)) {
            continue;
        }
        auto *client = record_new<qo1905_client>();
        if (client == nullptr) {
            return tell_no_memory();
        }
        parse_mac_field(record.MACAddress, client->Mac);
        client->phyRate = static_cast<std::uint16_t>(record.PhyRate);
        tail.append(client);
        ++count;
        record = {};
    }
    return true;
}

}  // namespace

int getStaPhyrateList(qo1905_client *&stations) {
    const HeapPtr<sta_query_record> record(record_new<sta_query_record>());
    if (record == nullptr) {
        std::printf("apAssocDevObj = NULL !!\n");
        return kNoMemory;
    }
    AgentIndex known;
    if (!known.build(agents, &Agent::AlMac)) {
        (void)tell_no_memory();
        return kNoMemory;
    }
    ListTail<qo1905_client> tail(stations);
    int count = 0;
    for (const Band &band : kBands) {
        for (unsigned i = 0; i < kInterfacesPerBand; ++i) {
            BoundedText<8> name;
            name.append(band.prefix);
            name.append_number(i);
            if (!add_stations_of(name.c_str(), known, *record, tail, count)) {
                return kNoMemory;
            }
        }
    }
    return count;
}

int freeWifiClientTable(qo1905_client *&stations) {
    free_list(stations);
    return 0;
}

}  // namespace qo1905
