#include "reader/snapshot.h"

#include <algorithm>
#include <unordered_map>

#include "reader/dump_file.h"
#include "reader/json.h"
#include "reader/lists.h"
#include "reader/model_file.h"
#include "reader/tree.h"

namespace reader {
namespace {

template <class Item>
const Item *find_sorted(const std::vector<Item> &items, Mac mac, Mac Item::*key) {
    const auto found = std::lower_bound(items.begin(), items.end(), mac,
                                        [=](const Item &item, Mac wanted) { return item.*key < wanted; });
    return found != items.end() && (*found).*key == mac ? &*found : nullptr;
}

// Names of files may be any bytes.
Problem in_utf8(const Problem &problem) { return {problem.kind, valid_utf8(problem.file), valid_utf8(problem.reason)}; }

// What a file holds; without it, `missing` gets the reason.
template <class File>
std::optional<File> parse(const Input &input, std::optional<File> (*parse_text)(const std::string &, std::string &),
                          Missing::Part part, std::vector<Missing> &missing) {
    if (input.problem) {
        missing.push_back({part, in_utf8(*input.problem)});
        return std::nullopt;
    }
    std::string reason;
    std::optional<File> file = parse_text(input.text, reason);
    if (!file) {
        missing.push_back({part, in_utf8({Problem::Kind::kUnreadable, input.file, reason})});
    }
    return file;
}

class Builder {
public:
    explicit Builder(const Inputs &inputs)
        : inputs_(inputs),
          model_(parse(inputs.model, parse_model, Missing::Part::kModel, snapshot_.missing)),
          dump_(parse(inputs.dump, parse_dump, Missing::Part::kDump, snapshot_.missing)) {
        snapshot_.source = valid_utf8(inputs.source);
        snapshot_.anonymous = inputs.anonymous;
        snapshot_.time = model_ ? inputs.model.time : inputs.dump.time;
        snapshot_.read_at = inputs.read_at;
    }

    Snapshot build() {
        add_devices();
        find_owners();
        add_stations();
        add_roles();
        add_tree();
        add_leases();
        add_interface_names();
        return std::move(snapshot_);
    }

private:
    using Places = std::unordered_map<Mac, std::size_t, MacHash>;

    // --- devices ---

    std::optional<Mac> local() const {
        if (model_ && model_->al_mac) {
            return model_->al_mac;
        }
        return dump_ && !dump_->devices.empty() ? std::optional(dump_->devices[0].al_mac) : std::nullopt;
    }

    // A device that is listed twice is there once, as it was told first.
    void add_devices() {
        std::vector<Device> &devices = snapshot_.devices;
        if (const auto mac = local()) {
            devices.push_back(with_mac(*mac));
            devices.back().is_local = true;
            devices.back().interfaces = model_ ? model_->interfaces : std::vector<Interface>();
        }
        if (model_) {
            for (const ModelDevice &told : model_->devices) {
                Device device = with_mac(told.al_mac);
                device.name = told.name;
                device.address = told.address;
                device.firmware = told.firmware;
                device.interfaces = told.interfaces;
                devices.push_back(std::move(device));
            }
        } else if (dump_) {
            for (const DumpDevice &told : dump_->devices) {
                devices.push_back(with_mac(told.al_mac));
            }
        }
        std::stable_sort(devices.begin(), devices.end(),
                         [](const Device &a, const Device &b) { return a.al_mac < b.al_mac; });
        devices.erase(std::unique(devices.begin(), devices.end(),
                                  [](const Device &a, const Device &b) { return a.al_mac == b.al_mac; }),
                      devices.end());
        for (std::size_t i = 0; i < devices.size(); ++i) {
            places_.emplace(devices[i].al_mac, i);
        }
        if (dump_) {
            for (const DumpDevice &told : dump_->devices) {
                add_from_dump(told);
            }
        }
        for (Device &device : devices) {
            order_interfaces(device.interfaces);
        }
    }

    static Device with_mac(Mac mac) { return {mac, false, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}}; }

    void add_from_dump(const DumpDevice &told) {
        const auto place = places_.find(told.al_mac);
        if (place == places_.end()) {
            return;  // not in the model: gone, or not yet there
        }
        Device &device = snapshot_.devices[place->second];
        if (told_.emplace(place->second, &told).second) {
            device.role = told.role;
            device.name = device.name ? device.name : told.name;
            device.interfaces.insert(device.interfaces.end(), told.interfaces.begin(), told.interfaces.end());
        }
    }

    // By MAC, each once: the media type from the model, the use from the dump.
    static void order_interfaces(std::vector<Interface> &interfaces) {
        std::stable_sort(interfaces.begin(), interfaces.end(),
                         [](const Interface &a, const Interface &b) { return a.mac < b.mac; });
        std::vector<Interface> merged;
        for (const Interface &interface : interfaces) {
            if (merged.empty() || merged.back().mac != interface.mac) {
                merged.push_back(interface);
                continue;
            }
            Interface &first = merged.back();
            first.media_type = first.media_type.empty() ? interface.media_type : first.media_type;
            first.band = first.band ? first.band : interface.band;
            first.use = first.use == Interface::Use::kOther ? interface.use : first.use;
        }
        interfaces = std::move(merged);
    }

    // --- stations ---

    void find_owners() {
        for (std::size_t i = 0; i < snapshot_.devices.size(); ++i) {
            owners_.emplace(snapshot_.devices[i].al_mac, i);
            for (const Interface &interface : snapshot_.devices[i].interfaces) {
                owners_.emplace(interface.mac, i);
            }
        }
    }

    // The model has those of all devices but its own; the dump's first element has these.
    void add_stations() {
        if (model_) {
            for (ModelDevice &device : model_->devices) {
                add_all(device.stations);
            }
        }
        if (dump_) {
            for (DumpDevice &device : dump_->devices) {
                const bool is_local = device.al_mac == local();
                snapshot_.knows_local_stations = snapshot_.knows_local_stations || is_local;
                if (!model_ || is_local) {
                    add_all(device.stations);
                }
            }
        }
        order_stations();
    }

    // One that is listed at two devices is where it is heard best; cables come last.
    void order_stations() {
        std::vector<Station> &stations = snapshot_.stations;
        std::stable_sort(stations.begin(), stations.end(), [](const Station &a, const Station &b) {
            return a.mac != b.mac ? a.mac < b.mac : a.is_wired != b.is_wired ? b.is_wired : b.signal < a.signal;
        });
        stations.erase(std::unique(stations.begin(), stations.end(),
                                   [](const Station &a, const Station &b) { return a.mac == b.mac; }),
                       stations.end());
    }

    void add_all(std::vector<Station> &stations) {
        for (Station &station : stations) {
            if (owners_.count(station.mac) == 0) {  // else a mesh device's own interface
                snapshot_.stations.push_back(std::move(station));
            }
        }
    }

    // --- roles and tree ---

    // Without a dump: Agents report to the Controller alone, so whoever knows a name from a report is one.
    void add_roles() {
        const bool knows_names =
            model_ && std::any_of(model_->devices.begin(), model_->devices.end(),
                                  [](const ModelDevice &device) { return device.name.has_value(); });
        if (dump_ || !knows_names) {
            return;
        }
        for (Device &device : snapshot_.devices) {
            device.role = device.is_local ? Role::kController : Role::kAgent;
        }
    }

    std::optional<std::size_t> place_of(std::optional<Mac> mac) const {
        const auto found = mac ? places_.find(*mac) : places_.end();
        return found != places_.end() ? std::optional(found->second) : std::nullopt;
    }

    // The Controller; without one known, the device that wrote the files.
    std::size_t root() const {
        const std::vector<Device> &devices = snapshot_.devices;
        auto found = std::find_if(devices.begin(), devices.end(),
                                  [](const Device &device) { return device.role == Role::kController; });
        if (found == devices.end()) {
            found = std::find_if(devices.begin(), devices.end(), [](const Device &device) { return device.is_local; });
        }
        return static_cast<std::size_t>(found - devices.begin());
    }

    // Whose interface a neighbour list names; one that is nobody's is the local device's, whose interfaces for backhaul
    // stand nowhere in the model.
    std::optional<std::size_t> owner_of(Mac mac) const {
        const auto found = owners_.find(mac);
        return found != owners_.end() ? std::optional(found->second) : place_of(local());
    }

    void add_tree() {
        TreeInput input;
        input.devices = snapshot_.devices.size();
        input.root = root();
        input.told_parent.resize(input.devices);
        input.neighbours.resize(input.devices);
        for (const auto &[place, told] : told_) {
            const auto parent = place_of(told->upstream);
            input.told_parent[place] = parent != place ? parent : std::nullopt;
            for (const DumpLink &link : told->links) {
                add_neighbour(input, place, place_of(link.neighbour));
            }
        }
        if (model_) {
            for (const ModelDevice &device : model_->devices) {
                for (const ModelNeighbour &neighbour : device.neighbours) {
                    add_neighbour(input, *place_of(device.al_mac), owner_of(neighbour.mac));
                }
            }
        }
        const std::vector<TreeNode> tree = make_tree(input);
        for (std::size_t i = 0; i < tree.size(); ++i) {
            Device &device = snapshot_.devices[i];
            device.hops = tree[i].hops;
            if (tree[i].parent) {
                device.parent = snapshot_.devices[*tree[i].parent].al_mac;
            }
        }
        add_links();
        for (Device &device : snapshot_.devices) {
            order_neighbours(device.neighbours);
        }
    }

    static void add_neighbour(TreeInput &input, std::size_t device, std::optional<std::size_t> neighbour) {
        if (neighbour && *neighbour != device) {
            input.neighbours[device].push_back(*neighbour);
        }
    }

    // What a link to the parent is like: the dump tells by device, the model by interface; what the lower end says
    // counts first.
    void add_links() {
        for (const auto &[place, told] : told_) {
            for (const DumpLink &link : told->links) {
                const auto other = place_of(link.neighbour);
                take_link(place, other, link.medium, link.signal, link.rate);
                take_neighbour(place, other, link.medium, link.signal, link.rate);
            }
        }
        if (!model_) {
            return;
        }
        for (const bool lower_end : {true, false}) {
            for (const ModelDevice &told : model_->devices) {
                const std::size_t place = *place_of(told.al_mac);
                for (const ModelNeighbour &neighbour : told.neighbours) {
                    const auto other = owner_of(neighbour.mac);
                    if (lower_end) {
                        take_link(place, other, neighbour.medium, neighbour.signal, neighbour.rate);
                        take_neighbour(place, other, neighbour.medium, neighbour.signal, neighbour.rate);
                    } else if (other) {
                        take_link(*other, place, neighbour.medium, neighbour.signal, neighbour.rate);
                    }
                }
            }
        }
    }

    void take_link(std::size_t lower, std::optional<std::size_t> upper, std::optional<Medium> medium,
                   std::optional<int> signal, std::optional<int> rate) {
        Device &device = snapshot_.devices[lower];
        const bool is_link_up = upper && device.parent && snapshot_.devices[*upper].al_mac == *device.parent;
        if (!is_link_up || !medium || (device.medium && device.medium != medium)) {
            return;
        }
        device.medium = medium;
        device.rate = device.rate ? device.rate : rate;
        if (medium != Medium::kEthernet) {
            device.signal = device.signal ? device.signal : signal;
        }
    }

    void take_neighbour(std::size_t device, std::optional<std::size_t> other, std::optional<Medium> medium,
                        std::optional<int> signal, std::optional<int> rate) {
        if (other && *other != device) {
            const bool is_cable = medium == Medium::kEthernet;
            snapshot_.devices[device].neighbours.push_back(
                {snapshot_.devices[*other].al_mac, medium, is_cable ? std::nullopt : signal, rate});
        }
    }

    // What is known of it first counts; another medium is another link.
    static void add_known(Neighbour &known, const Neighbour &told) {
        if (known.medium && told.medium && known.medium != told.medium) {
            return;
        }
        known.medium = known.medium ? known.medium : told.medium;
        known.signal = known.signal ? known.signal : told.signal;
        known.rate = known.rate ? known.rate : told.rate;
    }

    static void order_neighbours(std::vector<Neighbour> &neighbours) {
        std::stable_sort(neighbours.begin(), neighbours.end(),
                         [](const Neighbour &a, const Neighbour &b) { return a.al_mac < b.al_mac; });
        std::vector<Neighbour> merged;
        for (const Neighbour &told : neighbours) {
            if (merged.empty() || merged.back().al_mac != told.al_mac) {
                merged.push_back(told);
            }
            add_known(merged.back(), told);
        }
        neighbours = std::move(merged);
    }

    // --- names ---

    void add_leases() {
        if (inputs_.leases.problem) {
            snapshot_.missing.push_back({Missing::Part::kLeases, in_utf8(*inputs_.leases.problem)});
            return;
        }
        const Leases leases = parse_leases(inputs_.leases.text);
        for (Station &station : snapshot_.stations) {
            const auto lease = leases.find(station.mac);
            if (lease != leases.end()) {
                station.address = lease->second.address;
                station.name = lease->second.name;
            }
        }
        for (Device &device : snapshot_.devices) {
            const auto lease = leases.find(device.al_mac);
            if (lease != leases.end()) {
                device.address = device.address ? device.address : lease->second.address;
                device.name = device.name ? device.name : lease->second.name;
            }
        }
    }

    void add_interface_names() {
        InterfaceNames names;
        for (const Input *list : {&inputs_.list_24g, &inputs_.list_5g}) {
            if (list->problem) {
                snapshot_.missing.push_back({Missing::Part::kList, in_utf8(*list->problem)});
            } else {
                parse_list(list->text, names);
            }
        }
        for (Station &station : snapshot_.stations) {
            const auto name = names.find(station.mac);
            if (name != names.end()) {
                station.interface_name = name->second;
            }
        }
    }

    const Inputs &inputs_;
    Snapshot snapshot_;
    std::optional<ModelFile> model_;
    std::optional<DumpFile> dump_;
    Places places_;                                             // of devices, by AL MAC
    Places owners_;                                             // of devices, by any MAC of theirs
    std::unordered_map<std::size_t, const DumpDevice *> told_;  // what the dump says, by place
};

}  // namespace

Snapshot make_snapshot(const Inputs &inputs) { return Builder(inputs).build(); }

const Device *Snapshot::find_device(Mac al_mac) const { return find_sorted(devices, al_mac, &Device::al_mac); }

const Station *Snapshot::find_station(Mac mac) const { return find_sorted(stations, mac, &Station::mac); }

const Problem *Snapshot::problem_with(Missing::Part part) const {
    const auto found =
        std::find_if(missing.begin(), missing.end(), [=](const Missing &item) { return item.part == part; });
    return found != missing.end() ? &found->problem : nullptr;
}

const Device *Snapshot::root() const {
    const auto found =
        std::find_if(devices.begin(), devices.end(), [](const Device &device) { return device.hops == 0U; });
    return found != devices.end() ? &*found : nullptr;
}

double Snapshot::age() const { return std::max(0.0, std::chrono::duration<double>(read_at - time).count()); }

}  // namespace reader
