// The texts that the files print for the model's codes.
#pragma once

#include <cstdint>
#include <string_view>

namespace qo1905 {

// Status of the AL and of its interfaces; they differ in one text.
std::string_view al_status_name(std::uint32_t code);
std::string_view interface_status_name(std::uint32_t code);

std::string_view power_state_name(std::uint32_t code);
std::string_view topology_status_name(std::uint32_t code);

// "true", "false", or "null" for what is neither.
std::string_view topology_enable_word(std::uint32_t code);

std::string_view setup_method_name(std::uint32_t code);
std::string_view event_type_name(std::uint32_t code);
std::string_view neighbor_type_name(std::uint32_t code);

// IEEE 1905.1 media types.
std::string_view media_type_name(std::uint32_t code);
bool is_wifi_media_type(std::uint32_t code);

}  // namespace qo1905
