// How much of the model's text a device may take. Neighbours times stations of one MAC is what the lists inside a
// device can be multiplied to; a dump of some kilobytes that is made for it would fill a router's memory. So a device
// pays for its objects with the bytes that it took in the dump: eight of the text for one, and what is in every device
// free. What that does not pay for comes from a pool that all devices share, of which none gets more than half of what
// is left: a hostile device is cut, those before and behind it are whole.
#pragma once

#include <cstddef>

#include "module/base/mac.h"
#include "module/output/json_writer.h"

namespace qo1905 {

// Bytes of the text that nobody has to pay for, in the whole model.
inline constexpr std::size_t kTextPool = std::size_t{1} << 20U;

// The least that a thing takes in the dump, with and without a MAC to its last byte.
struct LeastBytes {
    std::size_t with_mac;
    std::size_t without_mac;
};
inline constexpr LeastBytes kLeastBss = {sizeof(R"({"BSSID":"1:1:1:1:1:1"})"), sizeof(R"({"BSSID":""})")};
inline constexpr LeastBytes kLeastStation = {sizeof(R"({"STA MAC address":"1:1:1:1:1:1","BH STA":"No"})"),
                                             sizeof(R"({"BH STA":"No"})")};
inline constexpr LeastBytes kLeastClient = {sizeof(R"({"Client Address":"1:1:1:1:1:1"})"), sizeof("{}")};
inline constexpr LeastBytes kLeastBackhaul = {sizeof(R"({"neighbor almac addr":"1"})"), sizeof("{}")};

class DeviceShare {
public:
    // The device's object begins here.
    DeviceShare(const JsonWriter &json, std::size_t &pool)
        : json_(json), pool_(pool), start_(json.size()), own_(kFree), extra_(pool / 2) {}

    // What it took beyond its own is no longer in the pool.
    ~DeviceShare();
    DeviceShare(const DeviceShare &) = delete;
    DeviceShare &operator=(const DeviceShare &) = delete;

    // Something stands in the device's lists that took at least so many bytes.
    void earn(std::size_t bytes) { own_ += kTextPerByte * bytes; }
    void earn(const LeastBytes &least, const Mac &mac);

    // May one more object be written? Once one may not, none may.
    bool allows_object();
    bool is_cut() const { return is_cut_; }

private:
    static constexpr std::size_t kTextPerByte = 8;
    static constexpr std::size_t kFree = 4096;

    const JsonWriter &json_;
    std::size_t &pool_;
    std::size_t start_;
    std::size_t own_;
    std::size_t extra_;
    bool is_cut_ = false;
};

}  // namespace qo1905
