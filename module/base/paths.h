// Every path and every shell command of the module. A firmware whose paths differ changes them here.
#pragma once

#define QO1905_MAPD_SOCKET "/tmp/mapd_ctrl"
#define QO1905_REST_PID_FILE "/var/run/rest_api_server.pid"
// Wi-Fi driver settings, handed to the platform (model/band.h).
#define QO1905_DAT_FILE_24G "/etc/wireless/mt7603/mt7603.dat"
#define QO1905_DAT_FILE_5G "/etc/wireless/mt7615/mt7615.2.dat"
#define QO1905_MAPD_CLI "mapd_cli " QO1905_MAPD_SOCKET

namespace qo1905 {

// Files read.
inline constexpr char kDumpFile[] = "/tmp/dump.txt";
inline constexpr char kLeaseFile[] = "/var/dnsmasq/dnsmasq.leases";

// Files written.
inline constexpr char kModelFile[] = "/tmp/qo1905.json";
inline constexpr char kChangeLogFile[] = "/tmp/qo1905_log.json";
inline constexpr char kAssocList24G[] = "/tmp/ecnt_agent_assoc_list.24g";
inline constexpr char kAssocList5G[] = "/tmp/ecnt_agent_assoc_list.5g";

// Control socket of the multi-AP daemon.
inline constexpr char kMapdSocket[] = QO1905_MAPD_SOCKET;

// Commands without arguments of ours.
inline constexpr char kDumpCommand[] = QO1905_MAPD_CLI " dump_topology_v1";
inline constexpr char kRebootCommand[] = "reboot";
inline constexpr char kReadRestPidCommand[] = "cat " QO1905_REST_PID_FILE;
inline constexpr char kRemoveRestPidCommand[] = "rm -rf " QO1905_REST_PID_FILE;
inline constexpr char kFindRestServerCommand[] = "ps | grep ohttpd_rest | grep -v \"grep\"";
inline constexpr char kStartRestServerCommand[] = "/etc/rc.d/S81ohttpd_rest";
inline constexpr char kUplinkEssidCommand[] = "iwconfig apclii0 | grep ESSID | cut -d : -f 2 | sed \"s/\\\"//g\"";

// Beginnings of the commands that messages/commands.h completes.
inline constexpr char kKillCommand[] = "kill -9 ";
inline constexpr char kSendCommand[] = QO1905_MAPD_CLI " tx_higher_layer_data ";
inline constexpr char kBlockCommand[] = QO1905_MAPD_CLI " block_acl 2 1 ";
inline constexpr char kUnblockCommand[] = QO1905_MAPD_CLI " block_acl 2 0 0 ";

}  // namespace qo1905
