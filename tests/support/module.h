// The module as a host sees it: loaded from its file, its exports found by name. The same tests can be linked with the
// rooms instead (tests/support/module_linked.cpp), where allocations can be made to fail.
#pragma once

#include "qo1905.h"

#define QO1905_EXPORTED_FUNCTIONS(X) \
    X(qo1905_init)                   \
    X(checkUpdate1905Information)    \
    X(initALTable)                   \
    X(getAlTable)                    \
    X(getIntfTable)                  \
    X(getSecurityTable)              \
    X(getNetTopolTable)              \
    X(getIeee1905DevTable)           \
    X(getNbrDevInfo)                 \
    X(get1905AgentDevNumber)         \
    X(highLayerDataSend)             \
    X(higherLayerDataRcv)            \
    X(higherLayerDataRcvHandle)      \
    X(RPUpLinkStatusCheck)           \
    X(writeJsonDataModel)            \
    X(writeJsonqo1905log)            \
    X(updateWifiAssocList)           \
    X(checkIntfTable)                \
    X(getHostNameFromDataModel)      \
    X(getDevMode)                    \
    X(checkWlanPw)                   \
    X(checkIntfInfo)                 \
    X(getWlIntfNamebyFreq)           \
    X(setIntfPwrState)               \
    X(setAPAutoConfig)               \
    X(getWIFIChannelbyFreq)          \
    X(getAlMac)                      \
    X(freeIeee1905DevTable)          \
    X(getNon1905DevNeighborNumber)   \
    X(checkDevNeighbor)

#define QO1905_EXPORTED_VARIABLES(X) \
    X(DeviceMode)                    \
    X(intfTable)                     \
    X(WIFI_WIFI_AP_IFNAME)           \
    X(WIFI_WIFI_AP_IFNAME_5G)        \
    X(ctrl_conn)                     \
    X(update_info_lock)

struct Module {
#define QO1905_MEMBER(name) decltype(&::name) name;
    QO1905_EXPORTED_FUNCTIONS(QO1905_MEMBER)
    QO1905_EXPORTED_VARIABLES(QO1905_MEMBER)
#undef QO1905_MEMBER
};

// The module of this process; loaded at the first call.
const Module &module();
