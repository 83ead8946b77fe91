// All that a gateway writes, read: model, dump, leases and both lists, separated by bytes 0xff, which no UTF-8 has.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "cli/exports.h"
#include "cli/health.h"
#include "cli/pictures.h"
#include "cli/tables.h"
#include "cli/text.h"
#include "reader/anonymise.h"
#include "reader/events.h"
#include "reader/json_form.h"
#include "reader/model_paths.h"

namespace {

void expect(bool condition) {
    if (!condition) {
        std::abort();
    }
}

reader::Inputs inputs_of(std::string_view bytes) {
    reader::Inputs inputs;
    inputs.source = "fuzz";
    for (reader::Input *input : {&inputs.model, &inputs.dump, &inputs.leases, &inputs.list_24g, &inputs.list_5g}) {
        const std::size_t end = std::min(bytes.find('\xff'), bytes.size());
        input->file = "file";
        input->text = bytes.substr(0, end);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
        if (input->text.empty()) {
            input->problem = reader::Problem{reader::Problem::Kind::kMissing, "file", "none"};
        }
    }
    return inputs;
}

// Everybody there once and in order, and every way has an end.
void expect_order(const reader::Snapshot &snapshot) {
    for (std::size_t i = 1; i < snapshot.devices.size(); ++i) {
        expect(snapshot.devices[i - 1].al_mac < snapshot.devices[i].al_mac);
    }
    for (std::size_t i = 1; i < snapshot.stations.size(); ++i) {
        expect(snapshot.stations[i - 1].mac < snapshot.stations[i].mac);
    }
    for (const reader::Device &device : snapshot.devices) {
        const reader::Device *parent = device.parent ? snapshot.find_device(*device.parent) : nullptr;
        expect(!device.parent || (parent != nullptr && device.hops && parent->hops == *device.hops - 1));
    }
    for (const reader::Station &station : snapshot.stations) {
        expect(snapshot.find_device(station.device) != nullptr);
    }
}

void expect_only_text(const std::string &text) {
    std::string one_line = text;
    for (char &c : one_line) {
        c = c == '\n' || c == '\t' ? ' ' : c;
    }
    expect(cli::visible(one_line) == one_line);
}

void expect_answers(const reader::Snapshot &snapshot) {
    cli::Options options;
    expect_only_text(cli::tree_text(snapshot, options, true));
    expect_only_text(cli::status_text(snapshot, cli::health_of({snapshot}, cli::kWeakSignal), options));
    options.format = cli::Format::kTsv;
    expect_only_text(print(cli::devices_table(snapshot, options), options, {}, "devices"));
    expect_only_text(print(cli::stations_table(snapshot, {}, options), options, {}, "stations"));
    expect_only_text(cli::dot_text(snapshot, options, true));
    (void)cli::prometheus_text(snapshot, {cli::Series::kAll, 1000, cli::kWeakSignal});
    (void)cli::netjson(snapshot, true).dump();
    (void)reader::to_json(snapshot).dump();
    expect(reader::events(snapshot, snapshot).empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    reader::Inputs inputs = inputs_of({reinterpret_cast<const char *>(data), size});
    const reader::Snapshot snapshot = reader::make_snapshot(inputs);
    expect_order(snapshot);
    expect_answers(snapshot);
    std::string reason;
    (void)reader::walk_paths(
        inputs.model.text, [](const std::string &, const nlohmann::json &) {}, reason);
    (void)reader::without_password(inputs.model.text);
    reader::Anonymiser().anonymise(inputs);
    const reader::Snapshot other = reader::make_snapshot(inputs);
    expect_order(other);
    (void)reader::events(snapshot, other);
    return 0;
}
