#include "module/messages/rest_server.h"

#include "module/base/diag.h"
#include "module/base/owned.h"
#include "module/base/paths.h"
#include "module/base/shell.h"
#include "module/messages/commands.h"

namespace qo1905 {
namespace {

constexpr char kName[] = "highLayerDataSend";

// The state the server was put into last; the numbers are those of the trace.
enum AppStatus { kAppUnknown = 0, kAppUp = 1, kAppDown = 2 };
AppStatus APPStatus = kAppUnknown;

// The first line that a command prints, up to 254 bytes. The pipe stays open while the line is acted upon: closing it
// waits for the command's end, and hosts know the order.
class FirstLine {
public:
    FirstLine(const char *command, int trace_line) : pipe_(read_command(command)) {
        if (pipe_ == nullptr) {
            std::printf("%s [%d]: popen fail !!\n", kName, trace_line);
            return;
        }
        has_line_ = std::fgets(line_, kBound, pipe_.get()) != nullptr;
    }
    bool opened() const { return pipe_ != nullptr; }
    bool has_line() const { return has_line_; }
    const char *c_str() const { return line_; }

private:
    static constexpr int kBound = 255;
    Pipe pipe_;
    char line_[256] = {};
    bool has_line_ = false;
};

void kill_process(Text line) {
    KillCommand command;
    if (!build_kill_command(command, line)) {
        std::printf("%s: refused, no process id in %s\n", kName, QO1905_REST_PID_FILE);
        return;
    }
    run_command(command.c_str());
}

}  // namespace

bool stop_rest_server() {
    if (APPStatus == kAppDown) {
        return true;
    }
    APPStatus = kAppDown;
    {
        const FirstLine process_id(kReadRestPidCommand, 2637);
        if (!process_id.opened()) {
            return false;
        }
        if (process_id.has_line()) {
            kill_process(process_id.c_str());
            run_command(kRemoveRestPidCommand);
        }
    }
    trace("%s: APPStatus = %d (1: APP_UP, 2: APP_DOWN), to kill ohttpd_rest process !\n", kName, APPStatus);
    return true;
}

bool start_rest_server() {
    if (APPStatus == kAppUp) {
        return true;
    }
    APPStatus = kAppUp;
    const FirstLine process(kFindRestServerCommand, 2727);
    if (!process.opened()) {
        return false;
    }
    if (process.has_line()) {
        trace("%s: APPStatus = %d (1: APP_UP, 2: APP_DOWN), ohttpd_rest process are running !!\n", kName, APPStatus);
    } else {
        run_command(kStartRestServerCommand);
        trace("%s: APPStatus = %d (1: APP_UP, 2: APP_DOWN), to bring-up ohttpd_rest process !\n", kName, APPStatus);
    }
    return true;
}

}  // namespace qo1905
