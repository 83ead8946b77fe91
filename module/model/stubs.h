// The entry points that are exported but not implemented, each with the number its notice prints.
#pragma once

#define QO1905_STUBS(X)                  \
    X(checkIntfTable, 57)                \
    X(getHostNameFromDataModel, 85)      \
    X(getDevMode, 107)                   \
    X(checkWlanPw, 124)                  \
    X(checkIntfInfo, 158)                \
    X(getWlIntfNamebyFreq, 192)          \
    X(setIntfPwrState, 223)              \
    X(setAPAutoConfig, 349)              \
    X(getWIFIChannelbyFreq, 383)         \
    X(getAlMac, 437)                     \
    X(freeIeee1905DevTable, 630)         \
    X(getNon1905DevNeighborNumber, 1894) \
    X(checkDevNeighbor, 2042)
