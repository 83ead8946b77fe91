// What a history answers, as the JSON that programs and pages get to see: docs/schema/history.json. What is unknown is
// not there.
#pragma once

#include <nlohmann/json.hpp>

#include "history/past.h"

namespace history {

nlohmann::ordered_json to_json(const HomeRow &home);
nlohmann::ordered_json to_json(const Somebody &somebody);
nlohmann::ordered_json to_json(const Session &session);
nlohmann::ordered_json to_json(const Roam &roam);
nlohmann::ordered_json to_json(const Roamer &roamer);
nlohmann::ordered_json to_json(const Sticky &sticky);
nlohmann::ordered_json to_json(const WeakSpell &spell);
nlohmann::ordered_json to_json(const Gap &gap);
nlohmann::ordered_json to_json(const Happening &happening);
nlohmann::ordered_json to_json(const Counts &counts);
nlohmann::ordered_json to_json(const Point &point);

nlohmann::ordered_json to_json(const Curve &curve);

// "2026-11-22T01:08:40Z"
std::string utc(Number time);

}  // namespace history
