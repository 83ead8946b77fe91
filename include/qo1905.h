/* The 1905 module's public interface: the records of its model and its entry points.
 *
 * The records follow the TR-181 object tree Device.IEEE1905.AL. They are plain and of fixed layout, so C and C++ hosts
 * alike may read them. Conventions that hold for all of them:
 *
 * - Lists are singly linked through `next`, the first field of every node; the last node's `next` is null. Nodes come
 *   from calloc(), and what a record points to belongs to it and is freed with it. A host that puts nodes or buffers
 *   in must take them from the same heap.
 * - MAC addresses and IEEE 1905 identifiers are six raw bytes, the most significant first.
 * - Text fields end in a zero byte unless the text fills the whole field: bound every read by the field's size.
 * - Booleans are numbers; 1 is true, everything else false.
 * - Times are seconds since the epoch in 32 bits.
 *
 * The table is rebuilt on the host's timer thread in every cycle (checkUpdate1905Information) and all pointers into it
 * die then. Read it on that thread only; tests/abi/read_table.c shows how. */
#ifndef QO1905_H
#define QO1905_H

#include <pthread.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The module is compiled with everything hidden but what stands in this header. */
#ifdef __GNUC__
#pragma GCC visibility push(default)
#endif

struct json_object;
struct mapd_interface;

/* ---- IEEE 1905.1 media types (MediaType in every record), IEEE 1905.1 table 6-12 ---- */
enum {
    QO1905_MEDIA_FAST_ETHERNET = 0x0000,
    QO1905_MEDIA_GIGABIT_ETHERNET = 0x0001,
    QO1905_MEDIA_80211B_24GHZ = 0x0100,
    QO1905_MEDIA_80211G_24GHZ = 0x0101,
    QO1905_MEDIA_80211A_5GHZ = 0x0102,
    QO1905_MEDIA_80211N_24GHZ = 0x0103,
    QO1905_MEDIA_80211N_5GHZ = 0x0104,
    QO1905_MEDIA_80211AC_5GHZ = 0x0105,
    QO1905_MEDIA_80211AD_60GHZ = 0x0106,
    QO1905_MEDIA_80211AF = 0x0107,
    QO1905_MEDIA_1901_WAVELET = 0x0200,
    QO1905_MEDIA_1901_FFT = 0x0201,
    QO1905_MEDIA_MOCA_V11 = 0x0300
};

/* What functions with a status return: success, or any failure (no memory, missing input). */
enum { QO1905_SUCCESS = 0, QO1905_FAILURE = 16 };

/* ---- Records that both the local AL and every mesh device carry ---- */

/* Management data of one device: the local one in the AL root, a remote one in its IEEE1905Device record. */
struct qo1905_device_info {
    uint8_t EnableReboot;                /* boolean */
    uint8_t EnableInterfacePowerControl; /* boolean */
    char FirmwareVersion[128];           /* as the device reported it */
    char Newfirmwareversion[128];        /* version of a firmware that waits for installation */
    char Newfirmwaredate[128];           /* its date */
    uint8_t Newfirmware;                 /* printed as it is, not interpreted; 0 as built */
    uint8_t NewfirmwareUpgradeState;     /* likewise */
    uint8_t Ap_autoconfig;               /* likewise, for remote devices; 1 as built for them */
    uint8_t DeviceType;                  /* 0 Registrar, anything else Enrollee */
    uint8_t SendSearchMsg;               /* printed as it is, for the local AL only; 0 as built */
    uint8_t SendResponseMsg;             /* likewise */
    char Hostname[128];                  /* host name; "Unknown" while no Agent has ever reported */
    char DeviceIP[128];                  /* IP address: that of the DHCP lease, else the one reported */
    char DeviceMode[32];                 /* "Router" (local), "Agent", or "AP" with an Ethernet backhaul */
    char ReleaseVersion[32];             /* release of the management application */
    char ReleaseVersionOverride[32];     /* if not empty, printed in place of ReleaseVersion */
    char LEDstatus[32];                  /* state of the status LED */
    char Version[32];                    /* of the management application; local: "NA" as built, devices: empty */
    char L2DeviveCtrl[32];               /* version of an application part, decimal text; likewise. The misspelt name is
                                            the one that readers know */
    char WiFiAutoCfg[32];                /* likewise */
    char WiFiOnOff[32];                  /* likewise */
    char FwUpgrade[32];                  /* likewise */
    char LEDOnOff[32];                   /* likewise */
    char Channel24G[16];                 /* channel of the last 2.4 GHz BSS (below 36), as text */
    char Channel5G[16];                  /* channel of the last 5 GHz BSS (36 and above), as text */
    char ChannelReserved[16];            /* never filled */
    uint8_t ResetAfterDistribution;      /* printed as it is, not interpreted; 0 as built */
};

/* ---- The local IEEE 1905 Abstraction Layer ---- */

/* A link of a local interface (TR-181 Device.IEEE1905.AL.Interface.{i}.Link); never built, only freed. */
struct qo1905_link {
    struct qo1905_link *next;
};

/* A local interface (TR-181 Device.IEEE1905.AL.Interface.{i}). */
struct qo1905_al_interface {
    struct qo1905_al_interface *next;
    uint8_t InterfaceId[6];       /* MAC */
    uint32_t PowerState;          /* 0 On, 1 Power_Save, 2 Off, 3 unsupported */
    uint32_t Status;              /* 0 Up, 1 Down, 3 Dormant, 4 NotPresent, 5 LowerLayerDown, 6 Error */
    uint32_t LastChangeTime;      /* time of the last change of Status; 0 as built */
    uint32_t MediaType;           /* IEEE 1905.1 media type */
    uint8_t ReservedByte;         /* 0 */
    void *ReservedBuffer;         /* owned, null as built */
    uint8_t OUI[3];               /* vendor properties: OUI */
    uint32_t InformationLength;   /* bytes in Information */
    uint8_t *Information;         /* owned vendor information, null as built */
    uint16_t ReservedWords[3];    /* 0 */
    struct qo1905_link *Reserved; /* owned list, null as built */
    void *ReservedPointer;        /* null as built, not owned */
    uint16_t LinkNumberOfEntries; /* links that the data model announces; 0 as built */
    struct qo1905_link *Link;     /* owned list, null as built */
};

/* A counted list that this version never fills; each node is freed with its buffer. */
struct qo1905_reserved_node {
    struct qo1905_reserved_node *next;
    void *Buffer; /* owned */
};
struct qo1905_reserved_list {
    uint32_t NumberOfEntries;          /* 0 */
    struct qo1905_reserved_node *Head; /* owned list, null as built */
};

/* Security settings of the AL (TR-181 Device.IEEE1905.AL.Security). */
struct qo1905_security {
    uint32_t SetupMethod; /* 0 UCPK, 1 PBC, 2 NFCNK */
    char *Password;       /* owned heap text, null as built */
};

/* ---- Mesh devices ---- */

/* An interface of a mesh device (TR-181 ...NetworkTopology.IEEE1905Device.{i}.Interface.{i}). */
struct qo1905_device_interface {
    struct qo1905_device_interface *next;
    uint8_t InterfaceId[6]; /* MAC; the AL MAC for the first, the uplink station's for the second, then BSSIDs */
    uint32_t MediaType;     /* IEEE 1905.1 media type */
    uint32_t ReservedWord;  /* 0 */
    void *ReservedBuffer;   /* owned, null as built */
    uint32_t PowerState;    /* 0 On, 1 Power_Save, 2 Off, 3 unsupported */
};

/* A neighbour that does not speak IEEE 1905 (TR-181 ...IEEE1905Device.{i}.NonIEEE1905Neighbor.{i}). */
struct qo1905_non1905_neighbor {
    struct qo1905_non1905_neighbor *next;
    uint8_t NeighborInterfaceId[6]; /* MAC */
};

/* The non-1905 neighbours behind one interface of a device. */
struct qo1905_non1905_group {
    struct qo1905_non1905_group *next;
    uint8_t LocalInterface[6];                /* MAC of the device's own interface */
    char Name[10];                            /* "ra0", "rai0", ... or "eth" */
    uint8_t Count;                            /* neighbours counted in, modulo 256 */
    struct qo1905_non1905_neighbor *Neighbor; /* owned list; all Ethernet clients hang on the first "eth" group */
};

/* A neighbour that speaks IEEE 1905 (TR-181 ...IEEE1905Device.{i}.IEEE1905Neighbor.{i}). */
struct qo1905_1905_neighbor {
    struct qo1905_1905_neighbor *next;
    uint8_t NeighborDeviceId[6]; /* MAC of the neighbour's interface; zero when the dump does not tell it */
    uint32_t IEEE802dot1Bridge;  /* 1: an IEEE 802.1 bridge lies between; 0 as built */
};

/* The IEEE 1905 neighbours behind one interface of a device. */
struct qo1905_1905_group {
    struct qo1905_1905_group *next;
    uint8_t LocalInterface[6];             /* MAC of the device's own interface */
    uint8_t Count;                         /* neighbours counted in, modulo 256 */
    struct qo1905_1905_neighbor *Neighbor; /* owned list; backhaul neighbours hang on their first group */
};

/* A bridging tuple (TR-181 ...IEEE1905Device.{i}.BridgingTuple.{i}); never built, put in by the host. */
struct qo1905_bridging_tuple {
    struct qo1905_bridging_tuple *next;
    uint16_t Count;              /* MACs in InterfaceList */
    uint8_t (*InterfaceList)[6]; /* owned array of MACs; null when Count is 0 */
};

/* A station or Wi-Fi backhaul neighbour seen on a device. */
struct qo1905_sta_info {
    struct qo1905_sta_info *next;
    uint8_t STAMac[6];     /* MAC of the station, or of the neighbour's backhaul interface */
    uint32_t MediaType;    /* IEEE 1905.1 media type */
    uint16_t PhyRate;      /* Mbit/s as the Agent reported it; 0 when it did not */
    int16_t RSSI;          /* dBm */
    uint16_t SignalLevel;  /* on whatever scale the host fills it in; 0 as built */
    char Tx[32];           /* sent traffic, as text of the host's; empty as built */
    char Rx[32];           /* received traffic, likewise */
    uint32_t ReservedWord; /* 0 */
};

/* One mesh device of the topology dump (TR-181 ...NetworkTopology.IEEE1905Device.{i}). */
struct qo1905_device {
    struct qo1905_device *next;
    uint8_t IEEE1905Id[6];                            /* AL MAC */
    struct qo1905_device_info Info;                   /* management data */
    uint8_t InterfaceNumberOfEntries;                 /* 2 plus the BSSs, modulo 256 */
    struct qo1905_device_interface *Interface;        /* owned list */
    uint16_t NonIEEE1905NeighborNumberOfEntries;      /* neighbours, not groups */
    struct qo1905_non1905_group *NonIEEE1905Neighbor; /* owned list of groups */
    uint16_t IEEE1905NeighborNumberOfEntries;         /* neighbours, not groups */
    struct qo1905_1905_group *IEEE1905Neighbor;       /* owned list of groups */
    uint16_t BridgingTupleNumberOfEntries;            /* 0 as built */
    struct qo1905_bridging_tuple *BridgingTuple;      /* owned list, empty as built */
    uint8_t Ap_autoconfig_2_4G;                       /* printed as it is, not interpreted; 0 as built */
    uint8_t Ap_autoconfig_5G;                         /* likewise */
    uint16_t STAInfoNumberOfEntries;                  /* Wi-Fi backhauls plus the last list of stations */
    struct qo1905_sta_info *STAInfo;                  /* owned list */
};

/* One logged change of the neighbourhood (TR-181 ...NetworkTopology.ChangeLog.{i}). */
struct qo1905_change_log_entry {
    uint32_t TimeStamp;             /* when it was noticed */
    uint32_t EventType;             /* 0 NewNeighbor, 1 LostNeighbor */
    uint8_t ReporterDeviceId[6];    /* AL MAC of the device that noticed it */
    uint8_t ReporterInterfaceId[6]; /* MAC of its interface */
    uint32_t NeighborType;          /* 0 IEEE1905, 1 Non-IEEE1905 */
    uint8_t NeighborId[6];          /* MAC of the neighbour */
};

enum { QO1905_CHANGE_LOG_CAPACITY = 256 };

/* The network as the local AL sees it (TR-181 Device.IEEE1905.AL.NetworkTopology). */
struct qo1905_network_topology {
    uint32_t Enable;                                                      /* 0 false, 1 true */
    uint32_t Status;                                                      /* 0 Incomplete, 1 Available,
                                                                             2 Error_Misconfigured */
    uint16_t MaxChangeLogEntries;                                         /* 0 as built */
    uint16_t ChangeLogNumberOfEntries;                                    /* valid entries; 0 as built */
    int16_t LastChange;                                                   /* number of the newest entry */
    struct qo1905_change_log_entry ChangeLog[QO1905_CHANGE_LOG_CAPACITY]; /* the valid ones stand first */
    uint16_t IEEE1905DeviceNumberOfEntries;                               /* Agents in the dump, modulo 65536 */
    struct qo1905_device *IEEE1905Device;                                 /* owned list */
};

/* The root: the local IEEE 1905 Abstraction Layer (TR-181 Device.IEEE1905.AL). */
struct qo1905_al_table {
    uint8_t IEEE1905Id[6];                   /* AL MAC */
    uint8_t OUI[3];                          /* vendor properties: OUI, always zero */
    uint32_t InformationLength;              /* bytes in Information; 0 */
    uint8_t *Information;                    /* owned vendor information; null */
    struct qo1905_device_info Info;          /* management data of the local device */
    uint32_t Status;                         /* 0 UP, 1 Down, 3 Dormant, 4 NotPresent, 5 LowerLayerDown, 6 Error */
    uint32_t LastChangeTime;                 /* when this table was built */
    uint8_t InterfaceNumberOfEntries;        /* nodes in Interface */
    struct qo1905_al_interface *Interface;   /* owned list */
    struct qo1905_reserved_list Reserved[2]; /* never filled */
    struct qo1905_security Security;         /* security settings */
    struct qo1905_link *ReservedList;        /* owned list, never filled */
    struct qo1905_network_topology NetworkTopology;
};

/* ---- Reports of Agents: how the module keeps them; no entry point hands one out ---- */

/* One station of an Agent's report. */
struct qo1905_client {
    struct qo1905_client *next;
    uint8_t Mac[6];   /* station */
    uint16_t phyRate; /* Mbit/s, the reported number modulo 65536 */
};

/* One report received from an Agent: an entry of the high-layer table. */
struct qo1905_report {
    struct qo1905_report *next;
    uint8_t agentAlMac[6];            /* sender; zero when the report did not tell it */
    uint8_t enableReboot;             /* 1 on receipt */
    uint8_t enableIntfPwrCtrl;        /* 1 on receipt */
    char firmwareversion[128];        /* "FWVersion" */
    char Newfirmwareversion[128];     /* empty on receipt */
    char Newfirmwaredate[128];        /* empty on receipt */
    uint8_t Newfirmware;              /* 0 on receipt */
    uint8_t NewfirmwareUpgradeState;  /* 0 on receipt */
    uint8_t AP_autoconfig;            /* 1 on receipt */
    char hostname[128];               /* "HostName" */
    char deviceIP[128];               /* "DeviceIP" */
    char DeviceMode[32];              /* empty on receipt */
    struct qo1905_client *clientList; /* owned list, in the order of the report */
};

/* ---- Exported variables ---- */

/* Two numbers and a text that the host may use; the module does not touch them. */
struct qo1905_intf_table {
    uint32_t word[2];
    const char *text; /* initially the empty text, a constant: not to be freed */
};

extern char DeviceMode[32];                /* for the host; initially "unknow" */
extern struct qo1905_intf_table intfTable; /* for the host */
extern char WIFI_WIFI_AP_IFNAME[16];       /* for the host: name of the 2.4 GHz access point interface */
extern char WIFI_WIFI_AP_IFNAME_5G[16];    /* for the host: name of the 5 GHz access point interface */
extern struct mapd_interface *ctrl_conn;   /* control connection to the multi-AP daemon; null while it is not open,
                                                 at the start and after a loss. The receiver thread changes it without a
                                                 lock, and closes its descriptor */
extern pthread_mutex_t update_info_lock;   /* guards the reports between receiver thread and timer thread. Both only try
                                                 it: while a host holds it, reports are dropped and none is imported */

/* ---- Module entry and cycle ---- */

/* Starts the receiver thread and registers the update cycle with the host's timer service. Called once, after loading.
 * Returns the length of its last message, which says so where there was no memory or no thread: then there are no
 * cycles, or no reports and commands. */
int32_t qo1905_init(void);

/* One update cycle: dump, table, files, messages. On the host's timer thread. Returns 1 outside EasyMesh operation,
 * otherwise what highLayerDataSend returns. */
int32_t checkUpdate1905Information(void);

/* ---- Building the table (timer thread) ---- */

/* Replaces the table by one built from the topology dump and the platform's configuration objects; pauses for 100 ms
 * first, while the dump settles. QO1905_SUCCESS, or QO1905_FAILURE: without a usable dump the old table stays, without
 * a local interface the new one has no network topology, and with a failed device list there is none. */
int32_t initALTable(void);

/* Counts the Agents of the dump's "topology information" array (borrowed; null or another type counts as empty) and
 * remembers their AL MACs. 0 on any failure; those before it stay remembered. */
int32_t get1905AgentDevNumber(struct json_object *topology);

/* Frees the current table's device list and builds it anew, IEEE1905DeviceNumberOfEntries records, from the same array,
 * the reports of Agents, which it takes over, and the DHCP leases. Returns the status of the last device, or
 * QO1905_FAILURE without memory or table. */
int32_t getIeee1905DevTable(struct json_object *topology);

/* Fills one device record, allocated by the caller with its defaults and empty lists and not null, from element `index`
 * of the array. QO1905_SUCCESS, or QO1905_FAILURE where there is no such element, a BSS without BSSID or no memory;
 * what was built before stays linked to the record. */
int32_t getNbrDevInfo(struct json_object *topology, struct qo1905_device *device, uint16_t index);

/* ---- Accessors (timer thread); all return null while there is no table ---- */
struct qo1905_al_table *getAlTable(void);
struct qo1905_al_interface *getIntfTable(void);
struct qo1905_security *getSecurityTable(void); /* says so on standard output when there is no table */
struct qo1905_network_topology *getNetTopolTable(void);

/* ---- Messages between Controller and Agents ---- */

/* Sends this device's message of the cycle: an Agent's report, or the Controller's enable messages, and puts the REST
 * server into the state of the role. Timer thread. Returns what reading the role returned (1 when it was read), or -1
 * when a value for the message could not be had. */
int32_t highLayerDataSend(void);

/* Body of the receiver thread. Ignores its argument; returns null, and only when attaching fails at the start. */
void *higherLayerDataRcv(void *argument);

/* Interprets one payload: zero-terminated JSON text that another device sent, and its announced length. Receiver
 * thread. QO1905_SUCCESS, or QO1905_FAILURE without memory. */
int32_t higherLayerDataRcvHandle(const char *payload, int32_t length);

/* -1 when the driver tells an empty network name for an Agent's uplink station interface (it is not connected),
 * otherwise 0, also when it tells nothing. Runs a shell command and waits for it; any thread. */
int32_t RPUpLinkStatusCheck(void);

/* ---- Output files (timer thread); all return 0, also when nothing was written ----
 * Each file is opened anew and written at once. One that cannot be opened is skipped silently; without memory for the
 * text the file stays as it was, and standard output says so; a full disk cuts it short until the next cycle. */
int32_t writeJsonDataModel(void);  /* /tmp/qo1905.json */
int32_t writeJsonqo1905log(void);  /* /tmp/qo1905_log.json */
int32_t updateWifiAssocList(void); /* /tmp/ecnt_agent_assoc_list.24g and .5g */

/* ---- Entry points without an implementation: each prints a notice and returns the length of what it printed ---- */
int32_t checkIntfTable(void);
int32_t getHostNameFromDataModel(void);
int32_t getDevMode(void);
int32_t checkWlanPw(void);
int32_t checkIntfInfo(void);
int32_t getWlIntfNamebyFreq(void);
int32_t setIntfPwrState(void);
int32_t setAPAutoConfig(void);
int32_t getWIFIChannelbyFreq(void);
int32_t getAlMac(void);
int32_t freeIeee1905DevTable(void);
int32_t getNon1905DevNeighborNumber(void);
int32_t checkDevNeighbor(void);

#ifdef __GNUC__
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
