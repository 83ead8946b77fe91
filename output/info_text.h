// What the data model prints of a device information block where that is not just the field.
#pragma once

#include "core/text.h"
#include "model/qo1905.h"

namespace qo1905 {

inline std::string_view release_version(const qo1905_device_info &info) {
    return info.ReleaseVersionOverride[0] != '\0' ? field_text(info.ReleaseVersionOverride)
                                                  : field_text(info.ReleaseVersion);
}

inline std::string_view device_type_name(const qo1905_device_info &info) {
    return info.DeviceType == 0 ? "Registrar" : "Enrollee";
}

// The number that a text field begins with, 0 when it begins with none.
template <std::size_t N>
int field_number(const char (&field)[N]) {
    char text[N + 1];
    std::memcpy(text, field, N);
    text[N] = '\0';
    return text_number(text);
}

}  // namespace qo1905
