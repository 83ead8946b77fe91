// How much of the model's text a device may take. A neighbour is written once per station of its MAC, so a dump of some
// kilobytes can be made to fill a router's memory. Therefore each device may write 4 KiB, which all that is in every
// device fits into, and eight bytes for every byte that its lists took in the dump. Beyond that it draws on a pool that
// all devices share, and gets at most half of what is left in it: a hostile device is cut, those before and behind it
// are whole.
#pragma once

#include <cstddef>

#include "module/base/mac.h"
#include "module/output/json_writer.h"

namespace qo1905 {

// Bytes of the text that nobody has to pay for, in the whole model.
inline constexpr std::size_t kTextPool = std::size_t{1} << 20U;

// The least that a thing takes in the dump, its comma counted. A MAC whose last byte is not 0 was parsed to its end, so
// its text had eleven characters at least; of any other nothing is known.
struct LeastBytes {
    std::size_t with_mac;
    std::size_t without_mac;
};
inline constexpr LeastBytes kLeastBss = {sizeof(R"({"BSSID":"1:1:1:1:1:1"})"), sizeof(R"({"BSSID":1})")};
inline constexpr LeastBytes kLeastStation = {sizeof(R"({"STA MAC address":"1:1:1:1:1:1","BH STA":"No"})"),
                                             sizeof(R"({"BH STA":"No"})")};
inline constexpr LeastBytes kLeastClient = {sizeof(R"({"Client Address":"1:1:1:1:1:1"})"), sizeof("{}")};
inline constexpr LeastBytes kLeastBackhaul = {sizeof(R"({"neighbor almac addr":1})"), sizeof("{}")};

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
