// The texts that the files print for the model's codes.
#pragma once

#include <cstdint>

#include "module/base/text.h"

namespace qo1905 {

enum class CodeTable : std::uint8_t {
    kAlStatus,
    kInterfaceStatus,  // differs from the AL's in one text
    kPowerState,
    kTopologyStatus,
    kTopologyEnable,  // "true", "false", or "null" for what is neither
    kSetupMethod,
    kEventType,
    kNeighborType,
    kDeviceType,
};

// Every code has a text: that of its row, or what its table prints for all others.
Text code_name(CodeTable table, std::uint32_t code);

// Of an IEEE 1905.1 media type (table 6-12).
Text media_type_name(std::uint32_t code);

bool is_wifi_media_type(std::uint32_t code);

}  // namespace qo1905
