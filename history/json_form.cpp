#include "history/json_form.h"

#include <cmath>

#include "reader/json.h"
#include "reader/words.h"

namespace history {
namespace {

using Json = nlohmann::ordered_json;

// A file may hold bytes that are no UTF-8.
void put(Json &json, const char *key, const std::optional<std::string> &text) {
    if (text && !text->empty()) {
        json[key] = reader::valid_utf8(*text);
    }
}

template <class Value>
std::enable_if_t<std::is_arithmetic_v<Value>> put(Json &json, const char *key, const std::optional<Value> &value) {
    if (value) {
        json[key] = *value;
    }
}

double in_tenths(double value) {
    constexpr double kTenths = 10;
    return std::round(value * kTenths) / kTenths;
}

Json to_json(const Spot &spot) {
    Json json = Json::object();
    if (spot.device) {
        json["device"] = spot.device->text();
    }
    put(json, "name", spot.device_name);
    put(json, "medium", spot.medium);
    put(json, "interface", spot.interface_name);
    return json;
}

void put_range(Json &json, const char *key, const Range &range) {
    if (range.n != 0) {
        json[key] = {{"n", range.n}, {"min", range.min}, {"mean", in_tenths(range.mean())}, {"max", range.max}};
    }
}

}  // namespace

std::string utc(Number time) { return reader::utc(reader::time_of(time)); }

Json to_json(const HomeRow &home) {
    return {{"source", reader::valid_utf8(home.name)}, {"first", utc(home.first)}, {"last", utc(home.last)}};
}

Json to_json(const Somebody &somebody) {
    Json json = {{"mac", somebody.mac.text()}, {"kind", somebody.is_station ? "station" : "device"}};
    put(json, "name", somebody.name);
    put(json, "address", somebody.address);
    return json;
}

Json to_json(const Session &session) {
    Json json = {{"since", utc(session.since)}};
    if (session.until) {
        json["until"] = utc(*session.until);
    }
    json["link"] = session.link;
    json["at"] = to_json(session.spot);
    json["came"] = word(session.came);
    if (session.went) {
        json["went"] = word(*session.went);
    }
    put(json, "first_signal", session.first_signal);
    put(json, "last_signal", session.last_signal);
    return json;
}

Json to_json(const Roam &roam) {
    Json json = {{"time", utc(roam.time)},
                 {"station", to_json(roam.station)},
                 {"from", to_json(roam.from)},
                 {"to", to_json(roam.to)}};
    put(json, "before", roam.before);
    put(json, "after", roam.after);
    json["bounce"] = roam.is_back;
    return json;
}

Json to_json(const Roamer &roamer) {
    return {{"station", to_json(roamer.station)}, {"roams", roamer.roams}, {"bounces", roamer.backs}};
}

Json to_json(const Sticky &sticky) {
    Json json = {{"station", to_json(sticky.station)},
                 {"at", to_json(sticky.at)},
                 {"signal", in_tenths(sticky.signal)},
                 {"times", sticky.times},
                 {"seconds", sticky.seconds},
                 {"longest", sticky.longest},
                 {"last_since", utc(sticky.last_since)},
                 {"other", to_json(sticky.other)},
                 {"other_signal", sticky.other_signal}};
    if (sticky.best) {
        json["best"] = to_json(*sticky.best);
    }
    put(json, "best_signal", sticky.best_signal);
    return json;
}

Json to_json(const WeakSpell &spell) {
    return {{"since", utc(spell.since)},
            {"until", utc(spell.until)},
            {"link", spell.link},
            {"signal", in_tenths(spell.signal)}};
}

Json to_json(const Gap &gap) {
    Json json = {{"since", utc(gap.since)}};
    if (gap.until) {
        json["until"] = utc(*gap.until);
    }
    json["part"] = gap.part;
    json["cause"] = reader::valid_utf8(gap.cause);
    return json;
}

Json to_json(const Happening &happening) {
    Json json = {{"time", utc(happening.time)}, {"who", to_json(happening.who)}, {"event", happening.kind}};
    put(json, "old", happening.old_value);
    put(json, "new", happening.new_value);
    return json;
}

Json to_json(const Counts &counts) {
    return {{"time", utc(counts.time)},  {"devices", counts.devices}, {"on_2_4ghz", counts.on_2_4ghz},
            {"on_5ghz", counts.on_5ghz}, {"wired", counts.wired},     {"weak", counts.weak}};
}

Json to_json(const Point &point) {
    Json json = {{"time", utc(point.time)}, {"link", point.link}};
    put_range(json, "signal", point.signal);
    put_range(json, "rate", point.rate);
    return json;
}

Json to_json(const Curve &curve) {
    Json points = Json::array();
    for (const Point &point : curve.points) {
        points.push_back(to_json(point));
    }
    return {{"step", curve.step}, {"points", points}};
}

}  // namespace history
