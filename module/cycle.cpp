// Module entry and update cycle. The host calls qo1905_init once; from then on its timer thread calls
// checkUpdate1905Information, which refreshes the table from the multi-AP daemon's dump, rewrites the files and sends
// this device's message. The receiver thread that starts here lives in messages/receiver.cpp.

#include "module/base/diag.h"
#include "module/base/owned.h"
#include "module/base/paths.h"
#include "module/base/shell.h"
#include "module/platform/helpers.h"
#include "module/platform/lanmon.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

constexpr std::uint32_t kCycleSeconds = 20;
constexpr int kEasyMeshOn = 1;

void start_receiver() {
    pthread_t receiver;
    if (pthread_create(&receiver, nullptr, higherLayerDataRcv, nullptr) != 0) {
        std::printf("%s : Can not create thread\n", "qo1905_init");
    }
}

void write_files() {
    writeJsonDataModel();
    updateWifiAssocList();
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t qo1905_init() {
    pthread_mutex_init(&update_info_lock, nullptr);
    start_receiver();

    auto *event = record_new<qo1905_event>();  // kept by the host
    if (event == nullptr) {
        return std::printf("%s : no memory for the timer event\n", "qo1905_init");
    }
    event->interval = kCycleSeconds;
    event->first_delay = kCycleSeconds;
    event->handler = checkUpdate1905Information;
    lanmon_timer_event_add(event);
    return std::printf("%-12s : qo1905_event->event_id %d\n", "qo1905_init", event->event_id);
}

int32_t checkUpdate1905Information() {
    constexpr char kName[] = "checkUpdate1905Information";
    if (getEasyMeshStatus() != kEasyMeshOn) {
        return 1;
    }
    trace_at(kName, 3152, "~~~~~~ Update 1905 information! ~~~~~~\n");
    run_command(kDumpCommand);
    if (initALTable() == QO1905_SUCCESS) {
        trace_at(kName, 3163, "Init 1905 information Success\n");
        write_files();
        trace_at(kName, 3166, "Finish to write data into /tmp/qo1905.json\n");
    } else {
        std::printf("Update 1905 information Error!!\n");
    }
    return highLayerDataSend();
}
