#include "cli/check.h"

#include <sstream>

#include "cli/text.h"
#include "reader/source.h"

namespace cli {
namespace {

constexpr const char *kStates[] = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
constexpr int kWarning = 1;
constexpr int kCritical = 2;

Checked unknown(const reader::Problem &problem) {
    return {"MESH UNKNOWN - " + visible(problem.text()) + '\n', kStateUnknown};
}

// The worst that was found, and all that was found.
class Verdict {
public:
    void find(int state, const std::string &what) {
        state_ = std::max(state_, state);
        text_ += (text_.empty() ? "" : ", ") + what;
    }
    int state() const { return state_; }
    const std::string &text() const { return text_; }

private:
    int state_ = 0;
    std::string text_;
};

Verdict judge(const reader::Snapshot &snapshot, const Health &health, const Limits &limits) {
    Verdict verdict;
    if (snapshot.age() > limits.max_age) {
        verdict.find(kCritical, "the model is " + std::to_string(static_cast<long>(snapshot.age())) + " s old");
    }
    if (health.devices < limits.min_devices) {
        verdict.find(kCritical,
                     std::to_string(health.devices) + " of " + std::to_string(limits.min_devices) + " devices");
    }
    if (!health.unreachable.empty()) {
        verdict.find(kWarning, counted(health.unreachable.size(), "device") + " without a known way to the gateway");
    }
    if (!health.weak_links.empty()) {
        verdict.find(kWarning, counted(health.weak_links.size(), "weak link"));
    }
    if (health.weak_stations.size() > limits.max_weak) {
        verdict.find(kWarning, counted(health.weak_stations.size(), "weak station"));
    }
    return verdict;
}

}  // namespace

Checked check(const std::string &name, const Limits &limits) {
    const auto source = reader::open_source(name);
    if (const auto *problem = std::get_if<reader::Problem>(&source)) {
        return unknown(*problem);
    }
    const reader::Snapshot snapshot = reader::make_snapshot(std::get<std::unique_ptr<reader::Source>>(source)->read());
    if (const reader::Problem *problem = snapshot.problem_with(reader::Missing::Part::kModel)) {
        return unknown(*problem);
    }
    const Health health = health_of({snapshot}, limits.weak_below);
    const Verdict verdict = judge(snapshot, health, limits);
    const std::string all_well = counted(health.devices, "device") + ", " +
                                 counted(health.stations - health.wired, "station") + ", " +
                                 std::to_string(health.wired) + " wired";
    std::ostringstream line;
    line << "MESH " << kStates[verdict.state()] << " - " << (verdict.text().empty() ? all_well : verdict.text())
         << " | age=" << static_cast<long>(snapshot.age()) << "s;;" << static_cast<long>(limits.max_age)
         << ";0 devices=" << health.devices << ";;" << limits.min_devices
         << ":;0 stations=" << health.stations - health.wired << ";;;0 wired=" << health.wired
         << ";;;0 weak_stations=" << health.weak_stations.size() << ';' << limits.max_weak
         << ";;0 weak_links=" << health.weak_links.size() << ";0;;0\n";
    return {line.str(), verdict.state()};
}

}  // namespace cli
