// Every statement that writes a history, each of them once.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "history/database.h"
#include "history/samples.h"
#include "history/words.h"
#include "reader/events.h"

namespace history {

// Where somebody is connected.
struct Place {
    std::optional<reader::Mac> device;  // AL MAC of the station's device, or of a device's parent; a root has none
    std::string medium;                 // "2.4 GHz", "5 GHz", "Ethernet"; empty: unknown
    std::string interface;              // of that device: MAC; may be unknown
    std::string interface_name;

    bool operator<(const Place &other) const;
};

// Device and band: what a roam changes. What is unknown of one is not another.
bool is_same_spot(const Place &one, const Place &other);

// What does not change with every moment.
struct Description {
    std::optional<std::string> name;
    std::optional<std::string> address;
    std::string more;  // of devices: JSON, as reader::to_json spells it

    bool operator==(const Description &other) const {
        return name == other.name && address == other.address && more == other.more;
    }
};

struct SourceRow {
    Number id;
    std::string anonymous;
    Number first, last, era;
    bool is_new;
};

// A session is told apart by whose it is and when it began.
struct SessionKey {
    Number node, since, era;
};

// A stretch in which a station was weak at one device.
struct Spell {
    Number since, until;
    Number link;
    Number n, sum;                // samples, and their signals
    std::optional<Number> other;  // device that heard its own stations well meanwhile
    std::optional<Number> other_signal;
};

class Store {
public:
    explicit Store(Database &database);

    SourceRow source(const std::string &name, const std::string &anonymous, Number first);
    void set_last(Number source, Number last, Number era);

    Number node(Number source, bool is_station, reader::Mac mac);
    Number link(Number source, const std::optional<Number> &device, const Place &place);

    std::optional<Description> description_of(Number node);
    void describe(Number node, Number since, Number era, const Description &description);
    void open_session(const SessionKey &key, Number link, Came came, const std::optional<int> &signal);
    void end_session(const SessionKey &key, Number until, Went went, const std::optional<int> &signal);
    void count_roam(Number node, Number time, bool is_back);
    void put_spell(Number node, Number era, const Spell &spell);

    void put_event(Number source, Number era, Number node, const reader::Event &event);
    void open_gap(Number source, Number since, Number era, const std::string &part, const std::optional<Number> &until,
                  const std::string &cause);
    void end_gap(Number source, const std::string &part, Number until);

    struct Counts {
        Number time, devices, on_2_4ghz, on_5ghz, wired, weak;
    };
    void put_counts(Number source, Number era, const Counts &counts);

    void put_tail(Number source, Number era, const std::vector<TailSample> &samples);
    void drop_tail(Number source, Number before);
    void put_hour(Number node, Number era, const std::vector<LinkedSample> &samples);

    Database &database() { return database_; }

private:
    Database &database_;
    Statement find_source_, add_source_, set_last_;
    Statement find_node_, add_node_;
    Statement find_link_, add_link_;
    Statement find_description_, describe_, open_session_, end_session_, count_roam_, put_spell_;
    Statement put_event_, open_gap_, end_gap_, put_counts_;
    Statement put_tail_, drop_tail_, put_chunk_;
};

}  // namespace history
