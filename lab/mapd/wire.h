// The wire between the multi-AP daemon and its clients: datagrams on a Unix socket. Client and daemon are the only ones
// that know it; the module sees nothing but event datagrams.
//
// A request is the words of a command, each ended by a zero byte; the answer is one datagram of text, which begins with
// "OK" or "FAIL". Clients bind an abstract address, so that a daemon in another mount namespace can answer them.
//
//   PING                                        OK EPOCH: changes with every start of the daemon
//   ATTACH                                      OK EPOCH; events are sent to the address it came from
//   dump_topology_v1                            OK, once the dump is written
//   tx_higher_layer_data MAC PROTOCOL LENGTH JSON
//   block_acl WORDS...
//
// An event is a 32-bit id, a 32-bit length and that many bytes, in host byte order. Event 6 is higher-layer data: a
// byte with the protocol number, then the payload.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

inline constexpr std::size_t kMaxDatagram = 65536;
inline constexpr std::int32_t kHigherLayerDataEvent = 6;

std::string encode_request(const std::vector<std::string> &words);
std::vector<std::string> decode_request(std::string_view datagram);
std::string encode_event(std::int32_t id, std::string_view body);
std::string encode_higher_layer_event(std::uint8_t protocol, std::string_view payload);

// A datagram socket with an abstract address of its own, -1 on failure.
int open_client_socket();

// Connects it to a daemon's control socket; false with errno on failure.
bool connect_to(int fd, const std::string &path);

// Sends a request on a connected socket and waits for the answer; empty when there is none in time.
std::string ask(int fd, const std::vector<std::string> &words, int timeout_ms);

}  // namespace lab
