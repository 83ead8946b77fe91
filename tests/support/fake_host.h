// What the module finds around it in a test: every import of the platform, answered from one record and written down in
// another, and the calls of the C library that a test has to steer: the shell, the clock, pauses, the lock, the socket.
// The functions have the imports' names and stand in the test program, where the module finds them before the C
// library's.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace fake {

struct Ssid {
    std::string name;
    std::string mac;
    std::string status = "Up";
    int instance = 1;
    int enable = 1;
    std::string bssid = "";
};

struct Link {
    std::string status;
    std::string lower_layers;
    std::string mac;
};

struct Station {
    std::string mac;
    unsigned rate;
    std::optional<std::string> mesh_al_mac;
};

using Text = std::optional<std::string>;  // none: the source fails

struct Host {
    // Answers of the platform.
    int easymesh_status = 1;
    int role_result = 1;
    std::string role = "1";
    Text controller_mac = "02:c0:00:00:00:01";
    Text firmware_version = "1.0";
    Text host_name = "agent";
    Text address = "192.168.1.20";
    Text base_mac = "02:0a:00:00:00:01";
    std::vector<Ssid> ssids;
    std::vector<Link> links;
    std::map<std::string, std::vector<Station>> stations;
    int station_result = 1;        // of StaInfo for a station that there is
    int sub_interface_result = 1;  // of lanmon_db_is_subIntf for a mesh station
    std::vector<std::string> known_devices;

    // The shell. A command of `pipes` prints that text, or cannot be opened; all others print nothing.
    std::map<std::string, Text> pipes;
    bool real_shell = false;  // hand commands to the real one instead
    Text dump;                // what the dump command leaves in /tmp/dump.txt; none: nothing

    // The C library.
    std::time_t now = 1700000000;
    void (*on_pause)() = nullptr;     // called in usleep
    void (*on_lock_try)() = nullptr;  // called once, at the next attempt at a lock
    void (*on_command)() = nullptr;   // called in system
    int lock_failures = 0;            // so many attempts at a lock fail from now on
    bool thread_creation_fails = false;
    std::vector<int> receive_errors;  // the next receives fail with these, one each
    std::string failing_call;         // "open", "popen", "system", "write" or "select": of these ...
    int failing_number = 0;           // ... the call with this number from now on fails; 0: none
    bool keeps_record = true;
};
extern Host &host;

// What the timer event's handler should be.
extern int32_t (*cycle_handler)();

// Everything back to the values above, the record empty.
void reset();

// What was called since, in order, such as "system reboot" or "configWlanEnable 1 0 /etc/x.dat ra".
std::vector<std::string> calls();

// The commands among them, run through system.
std::vector<std::string> commands();

// How often a call stands in the record.
int count(const std::string &call);

// Writes a call down; for the fakes that a test makes itself.
void record(const std::string &call);

// Waits until a call stands in the record so many times; false when it does not within ten seconds.
bool wait_for(const std::string &call, int times = 1);

// The lock, on the threads that ask for it: how often one failed to get it eleven times in a row, which is when the
// receiver thread drops a report.
void count_dropped_reports_here();
int dropped_reports();

// Changes the host's record while threads of the module read it.
void change(void (*what)(Host &));

}  // namespace fake
